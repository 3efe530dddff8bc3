#!/usr/bin/env bash
# The README's tour of the kelp tool, run as written: every "    $ command"
# line of the section "The kelp tool" runs in bash, in a fresh folder that
# holds the source tree's samples/, with the built kelp first on PATH; its
# standard output and standard error together must be the lines the README
# shows below it (a line "..." stands for any lines left out).
#   readme_tour.sh README.md SAMPLES_DIR KELP_DIR LOCALE_DIR
set -uo pipefail
readme=$1 samples=$2 kelp_dir=$3 locale_dir=$4

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
ln -s "$samples" "$work/samples"
mkdir "$work/home"

commands=() expected=()
in_section=0 current=-1 pending_blank=0
while IFS= read -r line; do
  case $line in
    "## The kelp tool"*) in_section=1; continue ;;
    "## "*) in_section=0; continue ;;
  esac
  [ $in_section = 1 ] || continue
  if [[ $line == "    \$ "* ]]; then
    current=${#commands[@]}
    commands+=("${line#    \$ }")
    expected+=("")
    pending_blank=0
  elif [[ $line == "    "* && $current -ge 0 ]]; then
    # A blank line inside a block belongs to the output before it.
    [ $pending_blank = 1 ] && expected[current]+=$'\n'
    pending_blank=0
    expected[current]+="${line#    }"$'\n'
  elif [[ -z $line && $current -ge 0 ]]; then
    pending_blank=1
  else
    current=-1
  fi
done <"$readme"

if [ ${#commands[@]} -lt 10 ]; then
  echo "found only ${#commands[@]} commands in the README's tour"; exit 1
fi

# The expected text as a bash pattern: literal lines, "..." as any lines.
pattern_of() {
  local text=$1 pattern= l
  while IFS= read -r l; do
    if [ "$l" = "..." ]; then
      pattern+='*'
    else
      l=${l//\\/\\\\}; l=${l//\*/\\*}; l=${l//\?/\\?}; l=${l//\[/\\[}
      pattern+="$l"$'\n'
    fi
  done <<<"${text%$'\n'}"
  [ -z "$text" ] && pattern=
  printf '%s' "$pattern"
}

failed=0
for i in "${!commands[@]}"; do
  got=$(cd "$work" && env -u LC_ALL -u LANGUAGE -u KELP_REGISTRY_DIR -u KELP_LOG \
          HOME="$work/home" LANG=C.UTF-8 KELP_LOCALEDIR="$locale_dir" \
          PATH="$kelp_dir:$PATH" bash -c "${commands[i]}" 2>&1; printf x)
  got=${got%x}
  # The README cannot show that the last line lacks its line feed.
  [[ -n $got && $got != *$'\n' ]] && got+=$'\n'
  pattern=$(pattern_of "${expected[i]}"; printf x)
  pattern=${pattern%x}
  # shellcheck disable=SC2053
  if [[ $got != $pattern ]]; then
    echo "README command: ${commands[i]}"
    echo "--- README shows:"; printf '%s' "${expected[i]}"
    echo "--- it printed:"; printf '%s' "$got"
    failed=1
  fi
done
[ $failed = 0 ] && echo "${#commands[@]} README commands print what the README shows"
exit $failed
