#!/usr/bin/env bash
# A PostgreSQL server for tests, from the system's package, reached through a unix socket only.
#
#   postgresql_server.sh start DIR [--no-fsync]   makes a fresh server; a server that already runs for DIR is left alone
#   postgresql_server.sh stop DIR                 stops it and removes its files; fine if there is none
#   postgresql_server.sh url DIR                  prints the URL of its database `postgres`; fails where no server is
#                                                 installed
#
# DIR names the server: each DIR has one of its own. The server's log is DIR/server.log. Data and socket stand in a
# directory with a short name among the temporary files, because the name of a socket is limited to 107 bytes and
# because the server's user may have no access to DIR. Root gives the server to the user `postgres`, or else `nobody`.
set -euo pipefail

fail() {
    echo "postgresql_server.sh: $*" >&2
    exit 1
}

[[ $# -ge 2 ]] || fail "usage: postgresql_server.sh start|stop|url DIR [--no-fsync]"
action=$1
dir=$(realpath --canonicalize-missing "$2")
fsync=on
[[ ${3-} != --no-fsync ]] || fsync=off

# One name for one DIR and user, so that `stop` and `url` find what `start` made.
base=/tmp/backup-set-pg-$(id -u)-$(sha256sum <<<"$dir" | cut -c1-12)
data=$base/data

as_server_user() {
    if [[ $(id -u) -eq 0 ]]; then
        (cd "$base" && runuser -u "$server_user" -- "$@")
    else
        (cd "$base" && "$@")
    fi
}

server_user() {
    if [[ $(id -u) -ne 0 ]]; then
        id -un
    elif getent passwd postgres >/dev/null; then
        echo postgres
    else
        echo nobody
    fi
}

# Prints the pid of our server if it runs: the pid in its file must belong to a process that serves our data directory,
# for the number may have gone to somebody else since.
running_pid() {
    local pid
    pid=$(head -n 1 "$data/postmaster.pid" 2>/dev/null) || return 1
    [[ $pid =~ ^[0-9]+$ ]] || return 1
    { tr '\0' '\n' <"/proc/$pid/cmdline"; } 2>/dev/null | grep -qxF -- "$data" || return 1
    echo "$pid"
}

# The newest installed server's programs.
find_programs() {
    local found
    found=$(printf '%s\n' /usr/lib/postgresql/*/bin/postgres | sort -V | tail -n 1)
    if [[ ! -x $found ]]; then
        found=$(command -v postgres) || fail "no PostgreSQL server is installed (see scripts/setup)"
    fi
    dirname "$found"
}

stop_server() {
    local pid
    if pid=$(running_pid); then
        local signal
        for signal in INT QUIT; do # fast, then immediate shutdown
            kill -s "$signal" "$pid" 2>/dev/null || true
            local turn
            for ((turn = 0; turn < 300; ++turn)); do
                [[ -d /proc/$pid ]] || break 2
                sleep 0.1
            done
        done
        [[ ! -d /proc/$pid ]] || fail "the server with pid $pid does not stop"
    fi
    rm -rf "$base"
}

start_server() {
    if running_pid >/dev/null; then
        return
    fi
    rm -rf "$base" # what a killed run left behind
    local programs
    programs=$(find_programs)
    server_user=$(server_user)
    mkdir -m 0700 "$base" # fails where somebody else took the name
    if [[ $(id -u) -eq 0 ]]; then
        chown "$server_user": "$base"
    fi
    local log=$dir/server.log
    if ! as_server_user "$programs/initdb" --pgdata="$data" --username=postgres --auth=trust --no-sync \
        --encoding=UTF8 --locale=C.UTF-8 >"$log" 2>&1; then
        cat "$log" >&2
        fail "initdb failed"
    fi
    local options="-c listen_addresses='' -c unix_socket_directories='$base' -c fsync=$fsync -c shared_buffers=32MB"
    if ! as_server_user "$programs/pg_ctl" --pgdata="$data" --wait --timeout=120 --options="$options" start \
        </dev/null >>"$log" 2>&1; then
        cat "$log" >&2
        fail "the server does not start"
    fi
}

case $action in
start | stop)
    mkdir -p "$dir"
    exec 9>"$dir/lock" # one action at a time
    flock 9
    "${action}_server" 9>&-
    ;;
url)
    find_programs >/dev/null
    echo "postgresql:///postgres?host=$base&user=postgres"
    ;;
*)
    fail "unknown action: $action"
    ;;
esac
