#!/usr/bin/env bash
# Builds everything and runs the whole test suite: the normal (GCC) build, the
# AddressSanitizer + UndefinedBehaviorSanitizer (Clang) build with the fuzz
# corpora replayed, the ThreadSanitizer build of the thread tests, and the
# optimised build of the main job (with the benchmarks) running the main job.
# Prints "N passed, N failed" at the end.
set -uo pipefail
cd "$(dirname "$0")/.."
bash scripts/bootstrap.sh || exit 1
[ -x scripts/fetch-test-data.sh ] && { bash scripts/fetch-test-data.sh || exit 1; }

jobs=$(nproc)
passed=0
failed=0
summary=""

run_preset() {
  local preset=$1
  echo "=== $preset: configure and build"
  if ! cmake --preset "$preset" >build/"$preset".log 2>&1 \
     || ! cmake --build --preset "$preset" -j "$jobs" >>build/"$preset".log 2>&1; then
    tail -n 80 build/"$preset".log
    failed=$((failed + 1))
    summary+="$preset: build failed"$'\n'
    return
  fi
  if grep -E 'warning:' build/"$preset".log; then
    echo "$preset: the build has warnings"
    failed=$((failed + 1))
    summary+="$preset: warnings"$'\n'
  fi
  echo "=== $preset: test"
  local out
  out=$(ctest --preset "$preset" 2>&1)
  local rc=$?
  echo "$out" | tail -n 40
  local p f
  p=$(echo "$out" | sed -n 's/.*tests passed, \([0-9]*\) tests failed out of \([0-9]*\).*/\2 \1/p' | awk '{print $1-$2}')
  f=$(echo "$out" | sed -n 's/.*tests passed, \([0-9]*\) tests failed out of.*/\1/p')
  passed=$((passed + ${p:-0}))
  if [ $rc -ne 0 ]; then
    failed=$((failed + ${f:-1}))
    [ "${f:-0}" -eq 0 ] && failed=$((failed + 1))
  fi
  summary+="$preset: ${p:-0} passed, ${f:-0} failed"$'\n'
}

# The release build is the one scripts/run-main.sh makes: it must build
# warning-free and its tool must print the sample catalogue's report.
run_main_job() {
  echo "=== release: configure and build, main job"
  if ! cmake --preset release >build/release.log 2>&1 \
     || ! cmake --build --preset release -j "$jobs" >>build/release.log 2>&1; then
    tail -n 80 build/release.log
    failed=$((failed + 1))
    summary+="release: build failed"$'\n'
    return
  fi
  if grep -E 'warning:' build/release.log; then
    echo "release: the build has warnings"
    failed=$((failed + 1))
    summary+="release: warnings"$'\n'
  fi
  if ./build/release/tools/kelp/kelp catalogue report samples/catalogue.xml >build/main-job.txt \
     && grep -q '^totals' build/main-job.txt \
     && ./build/release/tools/kelp/kelp basket price --catalogue samples/catalogue.xml \
          samples/basket.xml >build/main-job-quote.txt \
     && grep -q '^due ' build/main-job-quote.txt; then
    passed=$((passed + 1))
    summary+="release: main job passed"$'\n'
  else
    failed=$((failed + 1))
    summary+="release: main job failed"$'\n'
  fi
}

mkdir -p build
run_preset dev
run_preset asan
run_preset tsan
run_main_job
echo "=== summary"
printf '%s' "$summary"
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
