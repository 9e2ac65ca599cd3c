#!/usr/bin/env bash
# Checks the SDK as an integrator receives it. Builds the project (Release, no tests
# or benchmarks, warnings as errors) in a scratch folder, installs it into a fresh
# prefix and then moves that prefix elsewhere: everything below runs from the moved
# prefix, with the build folder gone, an empty HOME and no KESTO_* variables, so
# the component has to be found through the registry the installation ships.
#
#   - no installed file names the prefix it was installed to;
#   - examples/embed builds with find_package(Vantle) and runs with its default
#     dictionary, the installed bundled one;
#   - the same source builds with a plain compiler line from
#     `pkg-config --cflags --libs vantleassist` and runs on the dictionary named on
#     its command line;
#   - both print exactly examples/embed/expected-output.txt and leave nothing in HOME but the index cache,
#     and the first frees every string and reference (valgrind, when installed);
#   - the pkg-config files point into the moved prefix;
#   - `vantle-assist demo` runs from the moved prefix and reaches the component
#     through the registry.
#
# Exits non-zero on the first failure. VANTLE_CHECK_JOBS sets the build's
# parallelism (default 2); CXX the compiler of the plain build (default c++);
# VANTLE_CHECK_CONFIGURE_ARGS adds arguments to the project's configuration, e.g.
# -DCMAKE_INSTALL_PREFIX=/usr for the layout of a system package (lib/<multiarch>).
set -euo pipefail

cd "$(dirname "$0")/.."
source_dir=$PWD
jobs=${VANTLE_CHECK_JOBS:-2}
cxx=${CXX:-c++}

scratch=$(mktemp -d "${TMPDIR:-/tmp}/vantle-check-install.XXXXXX")
trap 'rm -rf "$scratch"' EXIT
checked=()

fail() {
  echo "check-install: FAILED: $*" >&2
  exit 1
}
step() { echo "== $*"; }
pass() {
  echo "   ok: $*"
  checked+=("$*")
}
# Runs a program as a user with nothing set up: an empty HOME, no XDG or KESTO_*
# variables, no library path.
run_clean() {
  env -i PATH=/usr/bin:/bin HOME="$home" LANG=C.UTF-8 "$@"
}

step "building the project (Release, tests and benchmarks off)"
build=$scratch/build
read -r -a extra_args <<<"${VANTLE_CHECK_CONFIGURE_ARGS:-}"
cmake -S "$source_dir" -B "$build" -DCMAKE_BUILD_TYPE=Release -DVANTLE_WERROR=ON \
  -DVANTLE_BUILD_TESTS=OFF -DVANTLE_BUILD_BENCH=OFF "${extra_args[@]}" >"$scratch/configure.log" ||
  { cat "$scratch/configure.log"; fail "configuring the project"; }
cmake --build "$build" -j "$jobs" >"$scratch/build.log" 2>&1 ||
  { tail -50 "$scratch/build.log"; fail "building the project"; }

step "installing into a fresh prefix, then moving it"
installed=$scratch/installed-here
prefix=$scratch/moved/to/elsewhere
cmake --install "$build" --prefix "$installed" >"$scratch/install.log" ||
  { cat "$scratch/install.log"; fail "installing"; }
mkdir -p "$(dirname "$prefix")"
mv "$installed" "$prefix"
rm -rf "$build"
pass "installed, moved to another path; the build folder is gone"

naming=$(grep -rlF "$installed" "$prefix" || true)
[ -z "$naming" ] || fail "these installed files name the prefix they were installed to:
$naming"
pass "no installed file names its original prefix"

dictionary=$prefix/share/vantle/dictionaries/shop.json
[ -f "$dictionary" ] || fail "the bundled dictionary is not at $dictionary"
for header in kesto/com.h kesto/owned.h kesto/tnode.h vantle/assist.h vantle/vantle.h; do
  [ -f "$prefix/include/$header" ] || fail "the header $header is not installed"
done
pass "headers and the bundled dictionary in place"

expected=$source_dir/examples/embed/expected-output.txt
home=$scratch/home
# Runs the example with a clean environment and compares what it prints.
check_example() {
  local what=$1
  shift
  rm -rf "$home" && mkdir "$home"
  run_clean "$@" >"$scratch/actual.txt" 2>"$scratch/errors.txt" ||
    { cat "$scratch/errors.txt"; fail "the example built with $what exits with an error"; }
  diff -u "$expected" "$scratch/actual.txt" || fail "the example built with $what prints something else"
  if [ -s "$scratch/errors.txt" ]; then
    cat "$scratch/errors.txt"
    fail "the example built with $what writes to stderr"
  fi
  # Nothing in HOME but the runtime's index cache of the dictionary
  # ($XDG_CACHE_HOME/kesto, by default under HOME): no registry, no other file.
  local written
  written=$(cd "$home" && find . -mindepth 1 ! -path ./.cache ! -path ./.cache/kesto ! -path './.cache/kesto/*')
  [ -z "$written" ] || fail "the example built with $what wrote into HOME: $written"
  pass "the example built with $what prints expected-output.txt and leaves nothing in HOME but the index cache"
}

step "building examples/embed with find_package(Vantle)"
cmake -S "$source_dir/examples/embed" -B "$scratch/embed-cmake" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_FLAGS=-Werror >"$scratch/embed-configure.log" ||
  { cat "$scratch/embed-configure.log"; fail "configuring the example against the package"; }
cmake --build "$scratch/embed-cmake" >"$scratch/embed-build.log" 2>&1 ||
  { cat "$scratch/embed-build.log"; fail "building the example against the package"; }
check_example "find_package(Vantle)" "$scratch/embed-cmake/embed"
if command -v valgrind >/dev/null; then
  rm -rf "$home" && mkdir "$home"
  run_clean valgrind --quiet --leak-check=full --errors-for-leak-kinds=definite,indirect,possible \
    --error-exitcode=99 "$scratch/embed-cmake/embed" >/dev/null 2>"$scratch/valgrind.txt" ||
    { cat "$scratch/valgrind.txt"; fail "valgrind finds leaks or memory errors in the example"; }
  pass "the example frees every string and reference (valgrind)"
else
  echo "   skipped: the leak check (valgrind is not installed)"
fi

step "building examples/embed with pkg-config"
pc_file=$(find "$prefix" -path '*/pkgconfig/vantleassist.pc' -print -quit)
[ -n "$pc_file" ] || fail "vantleassist.pc is not installed"
pc_dir=$(dirname "$pc_file")
flags=$(PKG_CONFIG_PATH=$pc_dir pkg-config --cflags --libs vantleassist) ||
  fail "pkg-config does not know vantleassist"
libdir=$(PKG_CONFIG_PATH=$pc_dir pkg-config --variable=libdir vantleassist)
for pc in kestocom vantleassist; do
  for variable in libdir includedir; do
    place=$(PKG_CONFIG_PATH=$pc_dir pkg-config --variable=$variable $pc)
    case $(realpath -m "$place") in
      "$prefix"/*) ;;
      *) fail "$pc.pc is not relocatable: its $variable is $place, outside the moved prefix $prefix" ;;
    esac
  done
done
libdir=$(realpath -m "$libdir")
pass "the pkg-config files point into the moved prefix (libdir: ${libdir#"$prefix"/})"
# shellcheck disable=SC2086  # the flags are words
"$cxx" -std=c++17 -Wall -Wextra -Werror "$source_dir/examples/embed/main.cpp" $flags \
  -Wl,-rpath,"$libdir" -o "$scratch/embed-pkgconfig" ||
  fail "building the example from pkg-config's flags: $flags"
check_example "pkg-config" "$scratch/embed-pkgconfig" "$dictionary"

step "running vantle-assist demo from the moved prefix"
rm -rf "$home" && mkdir "$home"
run_clean "$prefix/bin/vantle-assist" demo >"$scratch/demo.txt" 2>&1 ||
  { cat "$scratch/demo.txt"; fail "vantle-assist demo"; }
# The tool names how it reached the service on its first line.
first_line=$(head -1 "$scratch/demo.txt")
[[ $first_line == *"service: registered class"* ]] ||
  fail "vantle-assist demo did not create the service through the registry: $first_line"
grep -q "Shop.ExpressOrder" "$scratch/demo.txt" || fail "vantle-assist demo does not answer from the bundled dictionary"
pass "vantle-assist demo answers, the service created through the shipped registry"

echo "check-install: all passed:"
printf '  - %s\n' "${checked[@]}"
