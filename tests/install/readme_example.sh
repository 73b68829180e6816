#!/usr/bin/env bash
# The first C++ example of README.md compiles as it stands there, and runs.
set -euo pipefail
tree=$(dirname "$0")/../..
export PKG_CONFIG_PATH=$PREFIX/$LIBDIR/pkgconfig

rm -rf "$WORK"
mkdir -p "$WORK"
awk '/^```cpp$/ { inside = 1; next } /^```$/ && inside { exit } inside' "$tree/README.md" >"$WORK/example.cpp"
if [[ ! -s $WORK/example.cpp ]]; then
    echo "README.md shows no C++ example" >&2
    exit 1
fi
read -ra flags <<<"$CXXFLAGS $(pkg-config --cflags --libs backup_set)"
"$CXX" -std=c++20 -Wall -Wextra -Werror "$WORK/example.cpp" -o "$WORK/example" "${flags[@]}" \
    -Wl,-rpath,"$PREFIX/$LIBDIR"
cd "$WORK"
./example
