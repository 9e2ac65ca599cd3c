#!/usr/bin/env bash
# Builds everything (libraries, tool, tests, benchmarks) in every build type with
# GCC 12 and clang 14, warnings as errors, to prove that a user's build of any type
# never meets a compiler warning. Only builds; scripts/test.sh runs the tests.
#
#   bash scripts/check-build-types.sh [TYPE...]     (default: all four types)
set -euo pipefail

cd "$(dirname "$0")/.."
types=("$@")
[ ${#types[@]} -eq 0 ] && types=(Debug Release RelWithDebInfo MinSizeRel)
scratch="${VANTLE_BUILD_TYPES_DIR:-$(mktemp -d)}"
trap 'rm -rf "$scratch"' EXIT

failed=()
for compiler in gcc clang; do
    case $compiler in
        gcc) cc=gcc cxx=g++ ;;
        clang) cc=clang-14 cxx=clang++-14 ;;
    esac
    for type in "${types[@]}"; do
        dir="$scratch/$compiler-$type"
        log="$scratch/$compiler-$type.log"
        if cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE="$type" -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" \
                 -DVANTLE_WERROR=ON >"$log" 2>&1 && cmake --build "$dir" -j "$(nproc)" >>"$log" 2>&1; then
            echo "$compiler $type: built without a warning"
        else
            echo "$compiler $type: FAILED; the end of its log:" >&2
            grep -E 'error|warning' "$log" | head -n 20 >&2 || tail -n 20 "$log" >&2
            failed+=("$compiler $type")
        fi
        rm -rf "$dir"
    done
done
if [ ${#failed[@]} -ne 0 ]; then
    echo "check-build-types.sh: FAILED: ${failed[*]}" >&2
    exit 1
fi
echo "check-build-types.sh: every build type builds clean with GCC and clang"
