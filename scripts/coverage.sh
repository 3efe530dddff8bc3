#!/usr/bin/env bash
# Measures how much of the code the test suite runs: builds the project with
# GCC's --coverage (Debug, its own build tree build/coverage), runs the whole
# test suite through CTest, then prints gcovr's line and function coverage of
# the library (util/, xml/, layout/), the platform, the host glue and the tool.
# Tests, benchmarks, fuzz drivers and generated files are not counted.
#
#   scripts/coverage.sh [CTEST-ARGUMENTS...]   e.g. scripts/coverage.sh -L unit
#
# KELP_COVERAGE_JOBS sets the build and test parallelism (default 2).
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
build="$root/build/coverage"
jobs=${KELP_COVERAGE_JOBS:-2}

command -v gcovr >/dev/null || { echo "coverage: gcovr is missing (scripts/bootstrap.sh)" >&2; exit 1; }

cmake -S "$root" -B "$build" -G Ninja \
  -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=g++ -DCMAKE_C_COMPILER=gcc \
  -DCMAKE_CXX_FLAGS=--coverage -DCMAKE_C_FLAGS=--coverage \
  -DCMAKE_EXE_LINKER_FLAGS=--coverage -DCMAKE_SHARED_LINKER_FLAGS=--coverage \
  -DCMAKE_INSTALL_PREFIX="$build/stage" >/dev/null
cmake --build "$build" -j"$jobs"

# Counts from an earlier run would add up with this one's.
find "$build" -name '*.gcda' -delete
# A failing test still leaves its counts; the figures are printed either way
# and the script's status says whether the suite passed.
status=0
(cd "$build" && ctest -j"$jobs" --output-on-failure "$@") || status=$?

filters=()
for dir in util xml layout platform host tools; do
  filters+=(--filter "$root/$dir/")
done
cd "$root"
gcovr --root "$root" "${filters[@]}" --exclude-unreachable-branches \
  --gcov-ignore-parse-errors --print-summary --txt "$build/coverage.txt" "$build" \
  | grep -E '^(lines|functions):'
echo "coverage: per-file figures in ${build#"$root"/}/coverage.txt"
exit "$status"
