#!/usr/bin/env bash
# The libraries export exactly their contract, read from where it is written down:
#   - every declaration marked KESTO_EXPORT (runtime) or VANTLE_EXPORT (component)
#     in the headers, and every member that a marked class declares without a body;
#   - every plain name of the library's linker version script, and at least one
#     export for each of its patterns;
# and nothing else, bar the vtables and typeinfo of marked classes and the
# __odr_asan markers that AddressSanitizer adds. Names are compared demangled and
# without parameters, so overloads count once.
#   checkExports.sh SOURCE_DIR libkestocom.so libvantleassist.so
set -u
[ $# -eq 3 ] || { echo "usage: $0 SOURCE_DIR libkestocom.so libvantleassist.so" >&2; exit 2; }
source_dir=$1 failures=0

# Prints "NAME", "Class::member" and "class Class" for each marked declaration.
declared() {  # MARK HEADER...
  local mark=$1; shift
  sed -e 's://.*::' -e '/^[[:space:]]*#/d' "$@" | tr '\n' ' ' | awk -v mark="$mark" '
    function name(s) {
      gsub(/(public|protected|private):|\[[^]]*\]/, " ", s)
      if (s ~ /=[ \t]*(0|default|delete)[ \t]*$/) return ""
      if (match(s, /(operator[^ \t(]+|~?[A-Za-z_][A-Za-z_0-9]*)[ \t]*\(/)) return substr(s, RSTART, RLENGTH - 1)
      return match(s, /[A-Za-z_][A-Za-z_0-9]*[ \t]*$/) ? substr(s, RSTART, RLENGTH) : ""
    }
    function emit(n) { gsub(/[ \t]/, "", n); if (n != "") print n }
    { for (i = 1; i <= length($0); i++) {
        c = substr($0, i, 1)
        if (c == "{") {
          if (cls == "" && match(s, "class[ \t]+" mark "[ \t]+[A-Za-z_0-9]+")) {
            cls = substr(s, RSTART, RLENGTH); sub(".*[ \t]", "", cls); body = depth + 1; print "class " cls
          }
          depth++; s = ""
        } else if (c == "}") {
          if (--depth < body) { cls = ""; body = -1 }
          s = ""
        } else if (c == ";") {
          if (cls != "" && depth == body && (s ~ /\(/ || s ~ /(^|[ \t])static[ \t]/)) { n = name(s); if (n != "") emit(cls "::" n) }
          else if (cls == "" && s ~ mark) emit(name(s))
          s = ""
        } else s = s c
      } }'
}

# check LIBRARY VERSION_SCRIPT MARK HEADER...
check() {
  local library=$1 map=$2 mark=$3; shift 3
  local exports expected globs glob problems
  exports=$(nm -D --defined-only -C "$library" | sed -E 's/^[0-9a-fA-F]* +[A-Za-z] +//; /^__odr_asan/d')
  expected=$( { declared "$mark" "$@"
                sed -n '/global:/,/local:/p' "$map" | tr -d ' \t;' | grep -E '^[A-Za-z_][A-Za-z_0-9]*$' | grep -vx global; } |
              sort -u)
  globs=$(sed -n '/global:/,/local:/p' "$map" | tr -d ' \t;' | grep -F '*' | grep -v :)
  problems=$(
    comm -3 <(grep -v '^class ' <<<"$expected" | sort -u) \
            <(grep -Ev '^(vtable|typeinfo|typeinfo name|VTT) for ' <<<"$exports" | sed -E 's/\[abi:[a-z0-9]+\]//g; s/\(.*//' | sort -u) |
      sed -E 's/^\t/UNEXPECTED: /; t; s/^/MISSING: /'
    sed -nE 's/^(vtable|typeinfo|typeinfo name|VTT) for ([A-Za-z_0-9]+).*/\2/p' <<<"$exports" | sort -u |
      comm -23 - <(sed -n 's/^class //p' <<<"$expected" | sort -u) | sed 's/^/UNEXPECTED: type data of /'
    while IFS= read -r glob; do
      [ -z "$glob" ] || grep -q . <<<"$(while IFS= read -r n; do [[ $n == $glob ]] && echo "$n"; done <<<"$exports")" ||
        echo "MISSING: anything for the pattern $glob of $(basename "$map")"
    done <<<"$globs")
  if [ -z "$(grep -v '^class ' <<<"$expected")" ]; then problems="MISSING: no marked declaration found under $mark"; fi
  if [ -n "$problems" ]; then
    sed "s|^|$(basename "$library"): |" <<<"$problems"
    failures=$((failures + 1))
  else
    echo "ok: $(basename "$library") exports exactly its contract ($(wc -l <<<"$expected") names)"
  fi
}

check "$2" "$source_dir/cmake/kestocom.map" KESTO_EXPORT "$source_dir"/include/kesto/*.h
check "$3" "$source_dir/cmake/vantleassist.map" VANTLE_EXPORT "$source_dir"/include/vantle/*.h \
  $(find "$source_dir/component" -name '*.h' | sort)
exit $((failures != 0))
