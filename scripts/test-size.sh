#!/usr/bin/env bash
# Prints how large the tests are against the code they test: the lines of the
# test suite, the lines of the code and their ratio (the aim is at most 0.35).
#
# Counted are the .cpp and .h files tracked by git, every line of them
# (comments and blank lines too, as both sides carry them alike):
#   tests: everything under tests/ (the test programs and tests/support/);
#   code:  the library (util/, xml/, layout/, include/), the platform
#          (platform/), the host glue (host/) and the tool (tools/).
# Benchmarks, fuzz drivers and generated or fetched files count on neither side.
set -euo pipefail

cd "$(dirname "$0")/.."

count() {
  git ls-files -z -- "$@" | grep -z -E '\.(cpp|h)$' | xargs -0 -r cat | wc -l
}

tests=$(count tests/)
code=$(count util/ xml/ layout/ platform/ host/ tools/ include/)
ratio=$(awk -v t="$tests" -v c="$code" 'BEGIN { printf "%.2f", (c ? t / c : 0) }')
printf 'test lines: %d\ncode lines: %d\nratio:      %s\n' "$tests" "$code" "$ratio"
