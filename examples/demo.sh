#!/usr/bin/env bash
# The whole way of a backup, with what scripts/demo has built: an agent backs a directory up, the catalog records its
# sets, an operator looks at them, a file comes back. What is claimed on the way is checked; the first failure ends it.
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
export BACKUP_SET_DATABASE=${database:-sqlite:$dir/catalog.db}

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

say "A directory to protect" "A copy of this checkout, with some names that are no trouble to a file system."
mkdir source
tar -C "$checkout" -cf - --exclude=./build --exclude='./build-*' --exclude=./.git . | tar -C source -xf -
mkdir source/empty
ln -s README.md source/link
echo "Grüße aus Köln" >"$(printf 'source/latin-1 \374.txt')"
printf '   %s\n' "$(find source -type f | wc -l) files in $dir/source"

say "The agent backs it up" "Tar segments and an index with checksums go into a pool, the document of the set into a file."
run "$agent" backup source --pool pool --segment-size 1 --document full.json
full=$(uuid_of full.json)
run ls -l "pool/$full"

say "The next night, with a parent" "Only what has changed since the parent's index is stored again."
sleep 1 # times have seconds
echo "One more line." >>source/README.md
run "$agent" backup source --pool pool --parent "$full" --since-index "pool/$full/index.jsonl" --document incremental.json
incremental=$(uuid_of incremental.json)
run ls -l "pool/$incremental"
changed=$(grep -c "\"object\":\"$incremental/" "pool/$incremental/index.jsonl" || true)
holds "one entry is stored anew, all others are found in the first set" same "$changed" 1

say "The catalog records both, and an Oracle set" "A uuid is printed when its set is durable. Recording again changes nothing."
run "$catalog" record full.json incremental.json "$checkout/examples/documents/oracle.json"
oracle=6c3a1e77-0d5f-4e9a-8f0b-2b7f4c9d1a01
run "$catalog" record full.json

say "What there is"
run "$catalog" list
recorded=$("$catalog" list --format ndjson | wc -l)
[[ -n $database ]] || holds "three sets, none twice" same "$recorded" 3

say "Sets of every kind of source" "One sample of each, recorded and listed."
"$catalog" record "$checkout"/examples/documents/*.json >samples.txt
run "$catalog" list --limit 12
kinds=$("$catalog" types --format json | grep -o '"id"' | wc -l)
holds "each kind of source has a sample, and each was recorded" same "$(sort -u samples.txt | wc -l)" "$kinds"

say "One set, whole"
run "$catalog" show "$incremental"
"$catalog" show "$incremental" --format json >shown.json
holds "it is the agent's document, byte for byte" cmp shown.json incremental.json
holds "its parent is the first set" grep -qF "\"parents\":[\"$full\"]" shown.json

say "Where to read it from" "The Oracle set's first copy is offline, its replica is not."
run "$catalog" choose-copy "$oracle" --explain
pool_of_oracle=$("$catalog" choose-copy "$oracle")
holds "the replica's pool is chosen" same "$pool_of_oracle" 9b1de3a4-12c7-4f7e-8a6e-5d20c4f1b702
run "$catalog" choose-copy "$incremental" --explain
pool_of_files=$("$catalog" choose-copy "$incremental")
holds "the files are in the pool of this demo" same "$pool_of_files" "$(<pool/pool-uuid)"

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

say "Everything lies in $dir" \
    "source/                          what was backed up" \
    "pool/                            segments and indexes, a directory for each set" \
    "full.json, incremental.json      the documents that were recorded" \
    "restored/                        the files that came back"
[[ -n $database ]] && where="--database '$database'" || where="--database 'sqlite:$dir/catalog.db'"
printf '   Look around with\n     %s %s list\n' "$catalog" "$where"
