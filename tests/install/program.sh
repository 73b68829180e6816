#!/usr/bin/env bash
# The installed program finds its libraries beside itself, and its manual page and completion come along.
set -euo pipefail
unset LD_LIBRARY_PATH

for library in backup_platform backup_set; do
    if ! ldd "$PREFIX/bin/backup-set" | grep -qF "lib$library.so.0 => $PREFIX/"; then
        echo "backup-set does not take lib$library.so.0 from its own prefix:" >&2
        ldd "$PREFIX/bin/backup-set" >&2
        exit 1
    fi
done
"$PREFIX/bin/backup-set" --help >/dev/null
grep -q '^\.TH' "$PREFIX/share/man/man1/backup-set.1"
bash -n "$PREFIX/share/bash-completion/completions/backup-set"
