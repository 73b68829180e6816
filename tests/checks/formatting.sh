#!/usr/bin/env bash
# Every source looks as .clang-format says.
set -euo pipefail
cd "$(dirname "$0")/../.."

find platform backup_set catalog tests bench examples fuzz \( -name '*.h' -o -name '*.cpp' \) -print0 2>/dev/null |
    xargs -0 -P "$(nproc)" -n 16 clang-format --dry-run -Werror
