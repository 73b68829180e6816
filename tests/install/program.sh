#!/usr/bin/env bash
# The installed program finds its libraries beside itself.
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
