#!/usr/bin/env bash
# The whole way of a backup, with what scripts/demo has built: a catalog service runs, an agent backs a directory up and
# records its sets there while it works, an operator looks at them, a file comes back. What is claimed on the way is
# checked; the first failure ends it.
#
#   examples/demo.sh BUILD_DIR PREFIX [--dir DIR] [--database URL]
#     BUILD_DIR       holds examples/file_agent
#     PREFIX          holds bin/backup-set
#     --dir DIR       where to work (default: BUILD_DIR/demo, made anew); must be empty or not there
#     --database URL  a catalog of your own (default: SQLite in that directory)
set -euo pipefail

usage() {
    sed -n '/^#   examples/,/^set/{/^# \{0,1\}/s///p}' "$0" >&2
    exit 2
}

fail() {
    echo "demo: $*" >&2
    exit 1
}

[[ $# -ge 2 ]] || usage
build=$(realpath "$1") prefix=$(realpath "$2")
shift 2
dir='' database=''
while [[ $# -gt 0 ]]; do
    [[ $# -ge 2 ]] || usage
    case $1 in
    --dir) dir=$2 ;;
    --database) database=$2 ;;
    *) usage ;;
    esac
    shift 2
done

checkout=$(realpath "$(dirname "$0")/..")
agent=$build/examples/file_agent
catalog=$prefix/bin/backup-set
[[ -x $agent ]] || fail "there is no $agent"
[[ -x $catalog ]] || fail "there is no $catalog"

if [[ -z $dir ]]; then
    dir=$build/demo
    rm -rf "$dir"
fi
mkdir -p "$dir"
dir=$(realpath "$dir")
[[ -z $(ls -A "$dir") ]] || fail "$dir is not empty"
cd "$dir"
database_url=${database:-sqlite:$dir/catalog.db}
unset BACKUP_SET_DATABASE BACKUP_SET_SERVER

service=''
end_service() {
    [[ -z $service ]] || kill -KILL "$service" 2>/dev/null || true
}
trap end_service EXIT

step=0
say() { # heading, explanation...
    step=$((step + 1))
    printf '\n%d. %s\n' "$step" "$1"
    shift
    [[ $# -eq 0 ]] || printf '   %s\n' "$@"
    echo
}

# Shows a command as one would type it, then runs it; what it prints is indented.
run() {
    local words
    words=$(printf ' %q' "${1##*/}" "${@:2}")
    printf '   $%s\n' "$words"
    "$@" 2>&1 | sed 's/^/     /' || fail "that command failed"
}

holds() { # claim, command...
    "${@:2}" || fail "not so: $1"
    printf '   ok: %s\n' "$1"
}

same() { [[ $1 == "$2" ]]; }

uuid_of() { # document: it is one line, as agents write it
    sed -n '1s/^{"catalog_module":"[a-z_]*","uuid":"\([0-9a-f-]*\)".*/\1/p' "$1"
}

sha256_of() { sha256sum "$1" | cut -d ' ' -f 1; }

count_of() { # operation, protocol: how often the service did it, as it counts
    curl -fsS "$rest/metrics" \
        | sed -n "s/^backup_set_requests_total{protocol=\"$2\",operation=\"$1\",outcome=\"done\"} //p" | grep . || echo 0
}

say "A directory to protect" "A copy of this checkout, with some names that are no trouble to a file system."
mkdir source
tar -C "$checkout" -cf - --exclude=./build --exclude='./build-*' --exclude=./.git . | tar -C source -xf -
mkdir source/empty source/numbers
for i in 1 2 3 4 5 6 7 8; do
    seq "$i" 200000 >source/numbers/$i
done
ln -s README.md source/link
echo "Grüße aus Köln" >"$(printf 'source/latin-1 \374.txt')"
printf '   %s\n' "$(find source -type f | wc -l) files in $dir/source"

say "A catalog service" "On a port of its own. It answers a commit when it is durable in its queue, and applies it then."
printf '   $ backup-set serve --database %q --listen 127.0.0.1:0 --queue-commits &\n' "$database_url"
"$catalog" serve --database "$database_url" --listen 127.0.0.1:0 --queue-commits 2>service.log &
service=$!
for ((i = 0; i < 600; ++i)); do
    ! grep -q 'listening on' service.log || break
    kill -0 "$service" 2>/dev/null || break
    sleep 0.1
done
address=$(sed -n 's/.*listening on //p' service.log)
sed 's/^/     /' service.log
[[ -n $address ]] || fail "the service did not start"
rest=http://$address
export BACKUP_SET_SERVER=ws://$address # for the commands below
run curl -fsS "$rest/health"
echo

say "The agent backs it up" "Tar segments and an index with checksums go into a pool. By JSON-RPC the set is made known" \
    "first, its pieces follow in batches, and then it is completed and committed; the agent waits until" \
    "it is part of the catalog."
run "$agent" backup source --pool pool --segment-size 1 --document full.json --server "$address"
full=$(uuid_of full.json)
run ls -l "pool/$full"
segments=$(find "pool/$full" -name 'segment-*' | wc -l)
holds "$segments segments came as pieces in batches of eight" \
    same "$(count_of add_piece rpc)" "$(((segments + 7) / 8))"
holds "one set was initialized, completed and committed" same \
    "$(count_of initialize rpc) $(count_of complete rpc) $(count_of commit rpc)" "1 1 1"
curl -fsS "$rest/kx/r/v2/sets/$full" >recorded.json
holds "the catalog has the set" grep -qF "$full" recorded.json

say "The next night, with a parent" "Only what has changed since the parent's index is stored again."
sleep 1 # times have seconds
echo "One more line." >>source/README.md
run "$agent" backup source --pool pool --parent "$full" --since-index "pool/$full/index.jsonl" \
    --document incremental.json --server "$address"
incremental=$(uuid_of incremental.json)
run ls -l "pool/$incremental"
changed=$(grep -c "\"object\":\"$incremental/" "pool/$incremental/index.jsonl" || true)
holds "one entry is stored anew, all others are found in the first set" same "$changed" 1

say "An Oracle set, by REST" "The service answers when the commit is in its queue. The command line prints a uuid when the" \
    "set is part of the catalog. Recording again changes nothing."
oracle=6c3a1e77-0d5f-4e9a-8f0b-2b7f4c9d1a01
run curl -fsS --json "@$checkout/examples/documents/oracle.json" --output answer.json "$rest/kx/r/v2/sets"
sed 's/^/     /' answer.json
echo
[[ -n $database ]] || holds "the commit was queued" grep -qF '"queued":true' answer.json
run "$catalog" record --server "$rest" "$checkout/examples/documents/oracle.json"
run curl -fsS "$rest/kx/r/v2/sets/exists?uuid=$oracle"
echo
run "$catalog" record --server "$rest" "$checkout/examples/documents/oracle.json" full.json incremental.json
run "$catalog" --database "$database_url" queue list
sed "s/FINPROD/another/" "$checkout/examples/documents/oracle.json" >other.json
exit=0
message=$("$catalog" record other.json 2>&1) || exit=$?
printf '     %s\n' "$message"
holds "another set under a uuid that is taken is refused" same "$exit" 4

say "What there is"
run "$catalog" list
recorded=$("$catalog" list --format ndjson --limit 0 | wc -l)
[[ -n $database ]] || holds "three sets, none twice" same "$recorded" 3

say "Sets of every kind of source" "One sample of each, recorded and listed."
"$catalog" record "$checkout"/examples/documents/*.json >samples.txt
run "$catalog" list --limit 12
kinds=$("$catalog" types --format json | grep -o '"id"' | wc -l)
holds "each kind of source has a sample, and each was recorded" same "$(sort -u samples.txt | wc -l)" "$kinds"

say "One set, whole"
run "$catalog" show "$incremental"
"$catalog" show "$oracle" --format json >shown.json
"$catalog" show "$oracle" --format json --server "$rest" >shown-by-rest.json
"$catalog" show "$oracle" --format json --database "$database_url" >shown-here.json
holds "by JSON-RPC, by REST and from the database it is the same" cmp shown.json shown-here.json
holds "by JSON-RPC, by REST and from the database it is the same" cmp shown-by-rest.json shown-here.json

say "Other views" "The newest set of the resource, what it depends on, its copies, and all copies in the pool."
resource=$(sed -n 's/.*"resource_uuid":"\([0-9a-f-]*\)".*/\1/p' incremental.json)
files_pool=$(<pool/pool-uuid)
select_view() { # view, parameters: the answer goes to a file of the view's name too
    curl -fsS "$rest/kx/r/v2/sets/select?module=backup_set&view=$1&$2" >"$1.json"
    printf '   $ curl %q\n     %s\n' "$rest/kx/r/v2/sets/select?module=backup_set&view=$1&$2" "$(cut -c 1-400 "$1.json")"
}
select_view latest "resource=$resource"
holds "the newest is the second set" grep -qF "\"uuid\":\"$incremental\"" latest.json
select_view chain "uuid=$incremental"
holds "it depends on the first, which comes before it" grep -q "$full.*$incremental" chain.json
holds "nothing is missing" grep -qF '"missing":[]' chain.json
select_view storages "uuid=$incremental"
holds "it has one copy, in the demo's pool" same "$(grep -o '"pool_uuid"' storages.json | wc -l)" 1
select_view pool "pool=$files_pool"
holds "both sets are in that pool" same "$(grep -o "$full\|$incremental" pool.json | sort -u | wc -l)" 2

say "Where to read it from" "The Oracle set's first copy is offline, its replica is not."
run "$catalog" choose-copy "$oracle" --explain
pool_of_oracle=$("$catalog" choose-copy "$oracle")
holds "the replica's pool is chosen" same "$pool_of_oracle" 9b1de3a4-12c7-4f7e-8a6e-5d20c4f1b702
run "$catalog" choose-copy "$incremental" --explain
pool_of_files=$("$catalog" choose-copy "$incremental")
holds "the files are in the pool of this demo" same "$pool_of_files" "$files_pool"

say "Files come back" "By the second set's index: one file of that set, one that it took over from its parent."
strange=$(printf 'latin-1 \374.txt')
mkdir restored
for file in README.md "$strange"; do
    run "$agent" restore "$file" --pool pool --set "$incremental" --to "restored/$file"
    holds "its checksum is that of the file" same "$(sha256_of "restored/$file")" "$(sha256_of "source/$file")"
done

say "Damage is noticed" "A copy of the pool in which some bytes were changed."
cp -r pool damaged
LC_ALL=C sed -i 's/Grüße aus Köln/Gruesse aus Koeln/' "damaged/$full"/segment-*.tar
restored_damage() { "$agent" restore "$strange" --pool damaged --set "$incremental" --to restored/damaged 2>&1; }
if message=$(restored_damage); then
    fail "the damaged file was restored"
fi
printf '     %s\n' "$message"
holds "nothing was restored from it" test ! -e restored/damaged
rm -r damaged

say "The service stops" "SIGTERM: what has come is answered, then it ends."
"$catalog" list --limit 0 --format json >by-service.json
kill -TERM "$service"
exit=0
wait "$service" || exit=$?
service=''
sed 's/^/     /' service.log
holds "it ended well" same "$exit" 0
unset BACKUP_SET_SERVER
"$catalog" --database "$database_url" list --limit 0 --format json >by-database.json
holds "all that it told is in the database" cmp by-service.json by-database.json

say "Everything lies in $dir" \
    "source/                          what was backed up" \
    "pool/                            segments and indexes, a directory for each set" \
    "full.json, incremental.json      the documents of the agent's sets" \
    "restored/                        the files that came back" \
    "service.log                      what the service said"
printf '   Look around with\n     %s --database %q list\n' "$catalog" "$database_url"
