#!/usr/bin/env bash
# Builds everything (release) and runs the main job: the kelp tool's
# catalogue report on the sample catalogue shipped in samples/, then the
# quote of the sample basket against it.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/bootstrap.sh
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)"
./build/release/tools/kelp/kelp catalogue report samples/catalogue.xml
echo
./build/release/tools/kelp/kelp basket price --catalogue samples/catalogue.xml samples/basket.xml
