#!/usr/bin/env bash
# public_headers_alone.sh INCLUDE_DIR GENERATED_DIR: compiles each public header on
# its own, with every compiler and standard a host may use. Fails on the first
# header that does not build or warns.
set -euo pipefail
include_dir=$1
generated_dir=$2
compilers=(g++ clang++-14)
failed=0
checked=0
for compiler in "${compilers[@]}"; do
    if ! command -v "$compiler" >/dev/null; then
        echo "missing compiler: $compiler" >&2
        exit 1
    fi
    for standard in c++17 c++20; do
        for header in "$include_dir"/kesto/*.h "$include_dir"/vantle/*.h "$generated_dir"/vantle/*.h; do
            name=${header#"$include_dir"/}
            name=${name#"$generated_dir"/}
            if ! echo "#include \"$name\"" | "$compiler" -std="$standard" -Wall -Wextra -Werror -pedantic \
                    -fsyntax-only -I"$include_dir" -I"$generated_dir" -x c++ - 2>/tmp/header-$$.log; then
                echo "FAILED: $name with $compiler -std=$standard" >&2
                cat /tmp/header-$$.log >&2
                failed=1
            fi
            checked=$((checked + 1))
        done
    done
done
rm -f /tmp/header-$$.log
[ "$failed" -eq 0 ] && echo "$checked header builds, each header alone, no warning"
exit "$failed"
