#!/usr/bin/env bash
# Checks libkelp's SONAME and that every exported symbol belongs to one of the
# library's namespaces (no standard-library template instances, no platform
# symbols).
set -euo pipefail
lib=$1
soname=$(readelf -d "$lib" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
if [ "$soname" != "libkelp.so.0" ]; then
  echo "SONAME is '$soname', expected libkelp.so.0"; exit 1
fi
allowed='^(typeinfo for |typeinfo name for |vtable for |non-virtual thunk to |virtual thunk to )?qor::quv::(util|types|basket|xml|layout)::'
bad=$(nm -D --defined-only -C "$lib" | cut -d' ' -f3- | grep -v '^KELP_0$' | grep -Ev "$allowed" || true)
count=$(nm -D --defined-only "$lib" | wc -l)
if [ -n "$bad" ]; then
  echo "symbols outside the library's namespaces:"; echo "$bad" | head -50; exit 1
fi
if [ "$count" -lt 2 ]; then echo "no symbols exported"; exit 1; fi
echo "SONAME $soname, $count exported symbols, all in qor::quv"
