#!/usr/bin/env bash
# A fuzz campaign: builds the libFuzzer targets (the "fuzz" preset: clang,
# AddressSanitizer and UndefinedBehaviorSanitizer), runs every target for the
# given minutes (default 10) starting from its seed corpus fuzz/corpus/NAME,
# merges the inputs it found into that corpus (-merge=1: only inputs that
# reach code the corpus did not reach are added), and appends one line per
# target to fuzz/RUNS.md.
#
#   scripts/fuzz.sh [MINUTES] [TARGET...]     e.g. scripts/fuzz.sh 0.5 sax dom
#
# Inputs that crash, leak or hang are findings: they are kept under
# build/fuzz-findings/NAME/ (never in the seed corpus) and the script ends
# with status 1 once every target has run. A target stops at its first
# finding.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
minutes=${1:-10}
shift || true
seconds=$(awk -v m="$minutes" 'BEGIN { s = int(m * 60 + 0.5); print (s < 1 ? 1 : s) }')
build="$root/build/fuzz"
runs="$root/fuzz/RUNS.md"
findings_root="$root/build/fuzz-findings"

cd "$root"
cmake --preset fuzz >/dev/null
nice cmake --build --preset fuzz -j2

targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  for src in fuzz/*_fuzz.cpp; do
    name=$(basename "$src" _fuzz.cpp)
    targets+=("$name")
  done
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0
for name in "${targets[@]}"; do
  bin="$build/fuzz/kelp_fuzz_$name"
  corpus="$root/fuzz/corpus/$name"
  [ -x "$bin" ] || { echo "fuzz: no target $name" >&2; exit 2; }
  mkdir -p "$corpus" "$work/$name/new" "$work/$name/findings"
  log="$work/$name/log"
  before=$(find "$corpus" -type f | wc -l)
  echo "fuzz: $name for $seconds s"
  # New inputs go into the first folder; the seed corpus is only read. The
  # outer timeout is a guard should the target itself hang on exit.
  timeout $((seconds + 300)) nice "$bin" -max_total_time="$seconds" -timeout=10 \
    -print_final_stats=1 -artifact_prefix="$work/$name/findings/" \
    "$work/$name/new" "$corpus" >"$log" 2>&1 || true
  execs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
  execs=${execs:-0}
  found=$(find "$work/$name/findings" -type f | wc -l)
  "$bin" -merge=1 "$corpus" "$work/$name/new" >>"$log" 2>&1 || true
  after=$(find "$corpus" -type f | wc -l)
  new=$((after - before))
  printf '| %s | %s | %s | %s | %s | %s |\n' "$(date -u +%Y-%m-%dT%H:%MZ)" "$name" "$minutes" \
    "$execs" "$new" "$found" >>"$runs"
  echo "fuzz: $name: $execs executions, $new inputs added to the corpus, $found findings"
  if [ "$found" -gt 0 ]; then
    status=1
    mkdir -p "$findings_root/$name"
    cp "$work/$name/findings/"* "$findings_root/$name/"
    echo "fuzz: $name: findings under ${findings_root#"$root"/}/$name/" >&2
    tail -n 40 "$log" >&2
  fi
done
exit "$status"
