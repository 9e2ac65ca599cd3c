#!/usr/bin/env bash
# Builds and runs every test twice: a plain build with warnings as errors (build/),
# then a build under AddressSanitizer, UndefinedBehaviorSanitizer and LeakSanitizer
# (build-asan/), where any sanitizer report fails the test that caused it; then the
# SDK installed into a moved prefix and, as root, the Debian packages installed with
# apt-get, each with the example host built against them both ways; last the fuzz
# targets (build-fuzz/): each replays its seeds, then, when VANTLE_FUZZ_SECONDS
# is above 0 (CI sets 60), fuzzes for that long.
# Exits non-zero if anything fails. VANTLE_TEST_JOBS runs tests in parallel.
set -euo pipefail

cd "$(dirname "$0")/.."
bash scripts/setup.sh

build_jobs=$(nproc)
test_jobs=${VANTLE_TEST_JOBS:-1}
failed=()

echo "== plain build (build/)"
cmake -S . -B build -DVANTLE_WERROR=ON -DVANTLE_SANITIZE=OFF
cmake --build build -j "$build_jobs"
if ! (cd build && ctest --output-on-failure -j "$test_jobs"); then
  failed+=("plain tests")
fi

echo "== sanitizer build (build-asan/)"
cmake -S . -B build-asan -DVANTLE_WERROR=ON -DVANTLE_SANITIZE=ON
cmake --build build-asan -j "$build_jobs"
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
if ! (cd build-asan && ctest --output-on-failure -j "$test_jobs"); then
  failed+=("sanitizer tests")
fi

echo "== the installed SDK (scripts/check-install.sh)"
bash scripts/check-install.sh || failed+=("install check")

echo "== the Debian packages (scripts/check-packages.sh)"
if [ "$(id -u)" -eq 0 ]; then
  bash scripts/check-packages.sh || failed+=("package check")
else
  echo "skipped: installing packages needs root"
fi

echo "== fuzz targets (build-fuzz/)"
bash scripts/fuzz.sh "${VANTLE_FUZZ_SECONDS:-0}" || failed+=("fuzz targets")

if [ ${#failed[@]} -ne 0 ]; then
  echo "test.sh: FAILED: ${failed[*]}" >&2
  exit 1
fi
echo "test.sh: all tests passed, plain and under the sanitizers"
