#!/usr/bin/env bash
# Mutation audit: puts each mutant of a fixed list into a scratch copy of the tree,
# rebuilds incrementally and runs the tests. A mutant that no test notices marks
# behaviour the suite does not pin down.
#   bash scripts/mutation-audit.sh [--tree DIR] [--list FILE] [--only ID...] [--report FILE]
# --tree defaults to the repository holding this script, --list to mutants.txt beside
# it, --report to <tree>/build-mutants/mutation-report.md. Run it under nice -n 10.
# The audited tree is only read: mutants go into <tree>/build-mutants/src, so that
# nobody building in the tree meanwhile compiles one. Exit status 0 whatever
# survives, 2 when the unmutated copy does not build or pass, 3 when the copy could
# not be put back byte for byte.
set -uo pipefail

here=$(cd "$(dirname "$0")" && pwd)
helper=(python3 "$here/mutation_audit.py")
tree=$(cd "$here/.." && pwd) list=$here/mutants.txt report= only=()
while [ $# -gt 0 ]; do
  case $1 in
    --tree) tree=$(cd "$2" && pwd) || exit 64; shift 2 ;;
    --list) list=$(realpath "$2") || exit 64; shift 2 ;;
    --report) report=$(realpath -m "$2"); shift 2 ;;
    --only) shift; while [ $# -gt 0 ] && [[ $1 != --* ]]; do only+=("$1"); shift; done ;;
    *) sed -n '5p' "$0" >&2; exit 64 ;;
  esac
done

work=$tree/build-mutants
src=$work/src build=$work/build save=$work/saved logs=$work/logs
report=${report:-$work/mutation-report.md}
mkdir -p "$logs" "$work/home"
mutants=$("${helper[@]}" ids "$list" "${only[@]}") || exit 64
digest() { (cd "$src" && find . -type f -print0 | sort -z | xargs -0 sha256sum | sha256sum); }

# From here on a mutated file in the copy is put back, however the script ends.
trap '"${helper[@]}" restore "$save" || exit 3' EXIT
trap 'exit 130' INT TERM
"${helper[@]}" restore "$save" || exit 3  # left over from an interrupted run
"${helper[@]}" sync "$tree" "$src"
before=$(digest)

# Unoptimised, without debug information, linked by lld: the rebuild after each
# mutant is what the audit costs. A changed runtime library is picked up when the
# tests load it, so nothing is relinked against it.
if [ ! -f "$build/CMakeCache.txt" ]; then
  generator=() linker=()
  command -v ninja > /dev/null && generator=(-G Ninja)
  command -v ld.lld > /dev/null && linker=(-DCMAKE_{EXE,SHARED,MODULE}_LINKER_FLAGS=-fuse-ld=lld)
  cmake -S "$src" -B "$build" "${generator[@]}" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0 \
    -DVANTLE_WERROR=OFF -DVANTLE_BUILD_BENCH=OFF -DCMAKE_LINK_DEPENDS_NO_SHARED=ON "${linker[@]}" \
    > "$logs/configure.log" 2>&1 || { echo "mutation-audit: configure failed, see $logs/configure.log" >&2; exit 2; }
fi

build_copy() { cmake --build "$build" -j 2 < /dev/null > "$1" 2>&1; }

# Every test but the fuzz runs; one past 60 s (a mutant that loops) counts as
# failed. HOME points into the scratch area, so that no mutant of the registry's
# path rules can reach the user's own registry.
run_tests() {
  HOME=$work/home ctest --test-dir "$build" -j 2 --timeout 60 -LE fuzz --output-on-failure < /dev/null > "$1" 2>&1
}

first_failure() {
  awk '/The following tests FAILED:/ { listed = 1; next }
       listed && NF { sub(/^[ \t]*[0-9]+ - /, ""); print; found = 1; exit }
       END { if (!found) print "(ctest failed, no test named)" }' "$1"
}

start=$SECONDS
build_copy "$logs/unmutated.build.log" || { echo "mutation-audit: the unmutated copy does not build" >&2; exit 2; }
run_tests "$logs/unmutated.test.log" ||
  { echo "mutation-audit: the unmutated suite fails: $(first_failure "$logs/unmutated.test.log")" >&2; exit 2; }

printf '# Mutation audit\n\nTree `%s`, mutants from `%s`, started %s.\nLogs of each mutant: `%s`.\n\n%s\n%s\n' \
  "$tree" "$list" "$(date '+%Y-%m-%d %H:%M')" "$logs" "| id | file | status | first failing test |" "| --- | --- | --- | --- |" \
  > "$report"
row() { echo "| $1 | $2 | $3 | $4 |" | tee -a "$report"; }

killed=0 survived=0 stillborn=0 inapplicable=0
while IFS=$'\t' read -r -u 3 id base; do
  IFS=$'\t' read -r state where <<< "$("${helper[@]}" apply "$list" "$id" "$src" "$save")"
  if [ "$state" != applied ]; then
    inapplicable=$((inapplicable + 1)); row "$id" "$base" not-applicable "($where)"
    continue
  fi
  if ! build_copy "$logs/$id.build.log"; then
    stillborn=$((stillborn + 1)); row "$id" "$where" stillborn ""
  elif run_tests "$logs/$id.test.log"; then
    survived=$((survived + 1)); row "$id" "$where" survived ""
  else
    killed=$((killed + 1)); row "$id" "$where" killed "$(first_failure "$logs/$id.test.log")"
  fi
  "${helper[@]}" restore "$save" || exit 3
done 3<<< "$mutants"

if [ "$(digest)" != "$before" ]; then
  echo "mutation-audit: the scratch copy is not byte for byte what it was before the mutants" >&2
  exit 3
fi

applicable=$((killed + survived))
percent=$((applicable > 0 ? (100 * killed + applicable / 2) / applicable : 0))
{
  echo
  echo "killed $killed of $applicable applicable ($percent%)"
  echo
  echo "survived $survived, stillborn $stillborn (did not build), not applicable $inapplicable;" \
    "$(((SECONDS - start + 30) / 60)) min. Applicable means built and tested."
} | tee -a "$report"
