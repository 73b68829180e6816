#!/usr/bin/env bash
# postgresql_server_test.sh WORK: what tests/support/postgresql_server.sh promises, on a server of its own.
set -euo pipefail
work=$1
server=$(dirname "$0")/postgresql_server.sh

fail() {
    echo "FAILED: $*" >&2
    exit 1
}
pid_of() { head -n 1 "$data/postmaster.pid"; }
answers() { psql --no-psqlrc --quiet --tuples-only --no-align --command "$1" "$("$server" url "$work")"; }

url=$("$server" url "$work")
data=${url#*host=}
data=${data%%&*}/data
trap '"$server" stop "$work"' EXIT

"$server" stop "$work" # nothing there yet, or left by a run that was killed
"$server" start "$work"
[[ $(answers "SELECT current_user || ' ' || current_setting('fsync')") == "postgres on" ]] || fail "no fresh server with fsync"
first=$(pid_of)
"$server" start "$work"
[[ $(pid_of) == "$first" ]] || fail "a second start did not leave the running server alone"

# A server that was killed leaves its files and its pid behind.
kill -s KILL "$first"
while [[ -d /proc/$first ]]; do sleep 0.1; done
"$server" start "$work" --no-fsync
[[ $(pid_of) != "$first" ]] || fail "no new server after the first was killed"
[[ $(answers "SHOW fsync") == off ]] || fail "--no-fsync is not heard"

# A pid that has gone to another process is not ours to stop.
second=$(pid_of)
sleep 600 &
other=$!
trap 'kill "$other"; "$server" stop "$work"' EXIT
kill -s INT "$second"
while [[ -d /proc/$second ]]; do sleep 0.1; done
echo "$other" >"$data/postmaster.pid"
"$server" stop "$work"
[[ -d /proc/$other ]] || fail "stop killed another's process"
[[ ! -e ${data%/data} ]] || fail "stop left files behind"
