#!/usr/bin/env bash
# The installed program finds its libraries beside itself, and its manual page and completion come along.
set -euo pipefail
unset LD_LIBRARY_PATH

libraries=$(ldd "$PREFIX/bin/backup-set")
for library in backup_platform backup_set; do
    if ! grep -qF "lib$library.so.0 => $PREFIX/" <<<"$libraries"; then
        echo "backup-set does not take lib$library.so.0 from its own prefix:" >&2
        echo "$libraries" >&2
        exit 1
    fi
done
help=$("$PREFIX/bin/backup-set" --help)
for command in record serve access-key queue; do
    if ! grep -q "^  $command " <<<"$help" \
        || ! grep -q "^\.SS ${command/-/\\\\-} " "$PREFIX/share/man/man1/backup-set.1"; then
        echo "the help or the manual page does not tell of $command" >&2
        exit 1
    fi
done
bash -n "$PREFIX/share/bash-completion/completions/backup-set"
