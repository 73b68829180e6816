#!/usr/bin/env bash
# Every source looks as .clang-format says.
set -euo pipefail
cd "$(dirname "$0")/../.."

folders=()
for folder in platform backup_set catalog tests bench examples fuzz; do
    [[ ! -d $folder ]] || folders+=("$folder")
done
find "${folders[@]}" \( -name '*.h' -o -name '*.cpp' \) -print0 |
    xargs -0 -P "$(nproc)" -n 16 clang-format --dry-run -Werror
