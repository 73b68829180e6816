#!/usr/bin/env bash
# A program that uses the package through CMake's find_package builds and runs.
set -euo pipefail
source_dir=$(dirname "$0")/consumer

rm -rf "$WORK"
"$CMAKE" -S "$source_dir" -B "$WORK" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_PREFIX_PATH="$PREFIX"
"$CMAKE" --build "$WORK"
"$WORK/consumer"
