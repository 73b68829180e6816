#!/usr/bin/env bash
# A program that uses the package through pkg-config builds and runs.
set -euo pipefail
source_dir=$(dirname "$0")/consumer
export PKG_CONFIG_PATH=$PREFIX/$LIBDIR/pkgconfig

rm -rf "$WORK"
mkdir -p "$WORK"
read -ra flags <<<"$CXXFLAGS $(pkg-config --cflags --libs backup_set)"
"$CXX" -std=c++20 -Wall -Wextra -Werror "$source_dir/main.cpp" -o "$WORK/consumer" "${flags[@]}" \
    -Wl,-rpath,"$PREFIX/$LIBDIR"
"$WORK/consumer"
