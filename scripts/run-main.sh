#!/usr/bin/env bash
# Builds everything (release) and runs the main job: the kelp tool.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/bootstrap.sh
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)"
./build/release/tools/kelp/kelp --version
