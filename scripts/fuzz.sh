#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs each for a bounded time.
#
#   bash scripts/fuzz.sh [SECONDS] [TARGET...]
#
# SECONDS per target (default 60; 0 only builds the targets and replays each one's
# seeds once, the CTest label "fuzz"); TARGETs default to every fuzz_* target. Each run
# starts from the committed seeds in fuzz/corpus/<target>/ (read only) and keeps
# what it learns in a scratch corpus. Exits non-zero when any target finds a crash,
# a leak, a timeout or a broken promise; the input that did it is kept in
# $VANTLE_FUZZ_OUT (default fuzz-out/) for `build-fuzz/fuzz/<target> <file>` to replay.
#
# Environment: VANTLE_FUZZ_BUILD_DIR (default build-fuzz), VANTLE_FUZZ_JOBS (targets
# run at once, default 1) and VANTLE_FUZZ_OUT. Needs clang-14.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
seconds="${1:-60}"
shift || true
build="${VANTLE_FUZZ_BUILD_DIR:-$root/build-fuzz}"
out="${VANTLE_FUZZ_OUT:-$root/fuzz-out}"
jobs="${VANTLE_FUZZ_JOBS:-1}"

if ! [[ "$seconds" =~ ^[0-9]+$ ]]; then
    echo "fuzz.sh: SECONDS must be a whole number, not '$seconds'" >&2
    exit 2
fi
for tool in clang-14 clang++-14; do
    if ! command -v "$tool" >/dev/null; then
        echo "fuzz.sh: $tool is needed to build the fuzz targets (Debian package clang-14)" >&2
        exit 2
    fi
done

mkdir -p "$out"
if ! { cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
           -DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14 \
           -DVANTLE_BUILD_FUZZ=ON -DVANTLE_BUILD_TESTS=OFF -DVANTLE_BUILD_BENCH=OFF -DVANTLE_WERROR=ON &&
       cmake --build "$build" -j2; } >"$out/build.log" 2>&1; then
    echo "fuzz.sh: the fuzz build failed; the end of $out/build.log:" >&2
    tail -n 30 "$out/build.log" >&2
    exit 1
fi

# Every committed seed must still pass through its target without a finding.
if ! ctest --test-dir "$build" -L fuzz --output-on-failure -j "$jobs" >"$out/seeds.log" 2>&1; then
    echo "fuzz.sh: a seed input fails its target; the end of $out/seeds.log:" >&2
    tail -n 30 "$out/seeds.log" >&2
    exit 1
fi
if [ "$seconds" -eq 0 ]; then
    echo "fuzz.sh: every target built and passed its seeds"
    exit 0
fi

if [ "$#" -eq 0 ]; then
    set -- $(cd "$build/fuzz" && ls fuzz_* | sort)
fi

scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT

run_target() {
    local target="$1"
    local exe="$build/fuzz/$target"
    local log="$out/$target.log"
    local extra=()
    local corpus="$scratch/$target"
    local args=(-max_total_time="$seconds" -timeout=20 -rss_limit_mb=2048 -print_final_stats=1
                -artifact_prefix="$out/$target-")
    [ -f "$root/fuzz/$target.dict" ] && args+=(-dict="$root/fuzz/$target.dict")
    # Extra libFuzzer flags of a target, one line (e.g. slow targets that want long
    # inputs from the start).
    [ -f "$root/fuzz/$target.options" ] && read -r -a extra < "$root/fuzz/$target.options" && args+=("${extra[@]}")
    mkdir -p "$corpus"
    if [ ! -x "$exe" ]; then
        echo "$target: no such fuzz target in $build/fuzz" >&2
        return 1
    fi
    local seeds=()
    [ -d "$root/fuzz/corpus/$target" ] && seeds+=("$root/fuzz/corpus/$target")
    if "$exe" "${args[@]}" "$corpus" "${seeds[@]}" >"$log" 2>&1; then
        local runs
        runs="$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)"
        echo "$target: no findings in ${seconds}s, ${runs:-?} executions"
    else
        echo "$target: FINDING (log $log)" >&2
        grep -E 'ERROR|broken promise|leaked|SUMMARY|Test unit written' "$log" | head -8 >&2 || true
        return 1
    fi
}

failed=0
running=0
pids=()
for target in "$@"; do
    run_target "$target" &
    pids+=($!)
    running=$((running + 1))
    if [ "$running" -ge "$jobs" ]; then
        wait -n || failed=1
        running=$((running - 1))
    fi
done
while [ "$running" -gt 0 ]; do
    wait -n || failed=1
    running=$((running - 1))
done

if [ "$failed" -ne 0 ]; then
    echo "fuzz.sh: at least one target has a finding" >&2
    exit 1
fi
echo "fuzz.sh: every target ran ${seconds}s without a finding"
