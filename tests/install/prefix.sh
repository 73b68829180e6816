#!/usr/bin/env bash
# prefix.sh CMAKE BUILD_DIR PREFIX: installs into another place first and moves that to PREFIX, because what is installed
# must not know where it was put.
set -euo pipefail
cmake=$1 build=$2 prefix=$3

rm -rf "$prefix" "$prefix.first"
"$cmake" --install "$build" --prefix "$prefix.first" >/dev/null
if grep -rlF --include='*.pc' --include='*.cmake' -e "$prefix.first" -e "$build" "$prefix.first"; then
    echo "these files name the place where they were built or put" >&2
    exit 1
fi
mv "$prefix.first" "$prefix"

if private=$(find "$prefix" -path '*/detail/*' -o -name '*_impl.h') && [[ -n $private ]]; then
    echo "private headers were installed: $private" >&2
    exit 1
fi
