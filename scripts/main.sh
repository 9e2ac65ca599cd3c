#!/usr/bin/env bash
# The main job: builds the libraries and the host tool (build/), then shows the
# assistant answering the queries an editor would ask, on the bundled dictionary.
set -euo pipefail

cd "$(dirname "$0")/.."
bash scripts/setup.sh

cmake -S . -B build -DVANTLE_WERROR=ON -DVANTLE_SANITIZE=OFF
cmake --build build -j "$(nproc)"
exec build/bin/vantle-assist demo
