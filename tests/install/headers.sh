#!/usr/bin/env bash
# Every installed header compiles as the only one of a source, without a warning.
set -euo pipefail
source_dir=$(dirname "$0")/headers

"$CMAKE" -S "$source_dir" -B "$WORK" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_PREFIX_PATH="$PREFIX" \
    -DINCLUDE_DIR="$PREFIX/include"
"$CMAKE" --build "$WORK" --parallel "$(nproc)"
