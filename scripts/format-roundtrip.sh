#!/bin/sh
# Formats every XML file under a directory tree with `kelp xml format` and
# compares the canonical form (`kelp xml canon`) of each original with that
# of its copy: exactly with --indent 0, and with white-space-only text
# between tags left out for the default layout (which replaces that text).
# usage: scripts/format-roundtrip.sh KELP [DIR]   (DIR defaults to /usr/share)
set -u
kelp=$1
dir=${2:-/usr/share}
tmp=$(mktemp -d) || exit 1
trap 'rm -rf "$tmp"' EXIT
# White-space-only text between two tags, as the canonical form writes it.
strip() { sed -E 's/>(&#9;|&#10;|&#13;| )+</></g' "$1"; }
files=0 xml=0 exact=0 laid=0
find "$dir" -type f \( -name '*.xml' -o -name '*.svg' -o -name '*.xsl' -o -name '*.xslt' \
  -o -name '*.xsd' -o -name '*.xhtml' -o -name '*.rng' -o -name '*.ui' -o -name '*.policy' \
  -o -name '*.its' -o -name '*.loc' \) 2>/dev/null | sort > "$tmp/list"
while IFS= read -r f; do
  files=$((files + 1))
  "$kelp" xml canon "$f" > "$tmp/c0" 2>/dev/null || continue
  xml=$((xml + 1))
  if "$kelp" xml format --indent 0 "$f" > "$tmp/f1" 2>"$tmp/e1" &&
     "$kelp" xml canon "$tmp/f1" > "$tmp/c1" 2>/dev/null && cmp -s "$tmp/c0" "$tmp/c1"; then
    exact=$((exact + 1))
  else
    echo "differs (--indent 0): $f"
  fi
  if "$kelp" xml format "$f" > "$tmp/f2" 2>/dev/null &&
     "$kelp" xml canon "$tmp/f2" > "$tmp/c2" 2>/dev/null &&
     [ "$(strip "$tmp/c0")" = "$(strip "$tmp/c2")" ]; then
    laid=$((laid + 1))
  else
    echo "differs (layout): $f"
  fi
done < "$tmp/list"
echo "files $files, read as XML $xml, canonical form kept: $exact exactly (--indent 0), $laid apart from white space between tags (default layout)"
[ "$exact" -eq "$xml" ] && [ "$laid" -eq "$xml" ]
