#!/usr/bin/env bash
# Builds the Debian packages as a user's release build (warnings stay warnings,
# installation prefix /usr): dist/vantle_<version>_<arch>.deb (libraries, tool,
# dictionaries, system registry, docs) and dist/vantle-dev_<version>_<arch>.deb
# (headers, pkg-config files, CMake package). Install them with
#   apt-get install ./dist/vantle_*.deb ./dist/vantle-dev_*.deb
set -euo pipefail

cd "$(dirname "$0")/.."
bash scripts/setup.sh

build="${VANTLE_PACKAGE_BUILD_DIR:-build-package}"
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
      -DVANTLE_WERROR=OFF -DVANTLE_BUILD_TESTS=OFF -DVANTLE_BUILD_BENCH=OFF
cmake --build "$build" -j "$(nproc)"
rm -rf dist && mkdir -p dist
(cd "$build" && cpack -G DEB -B "$PWD/../dist/cpack" >/dev/null)
mv dist/cpack/*.deb dist/
rm -rf dist/cpack
ls -1 dist/*.deb
