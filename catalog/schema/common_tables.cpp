#include "catalog/schema/common_tables.h"

namespace catalog {
namespace {

using enum Column_Kind;
using enum Column_Source;

/// Bytes that an indexed text may have: PostgreSQL cannot index much longer ones.
constexpr std::size_t longest_indexed = 2000;

/// Bytes that the name of a state may have.
constexpr std::size_t longest_state = 16;

constexpr Column set_uuid{.name = "set_uuid", .kind = UUID, .meaning = "the set", .source = STORE, .required = true};

constexpr Column start_time{.name = "backup_start_time",
                            .kind = TIME,
                            .meaning = "as in backup_set, for the index",
                            .source = STORE,
                            .required = true};

constexpr Column catalog_schema_columns[] = {
    {.name = "version", .kind = INTEGER, .meaning = "version of the schema", .source = STORE, .required = true},
};

constexpr Column backup_set_columns[] = {
    {.name = "uuid", .kind = UUID, .meaning = "identity of the set", .required = true},
    {"name", TEXT, "display name"},
    {"job_instance_uuid", UUID, "the job that made the set"},
    {"definition_uuid", UUID, "the backup definition"},
    {"uid", TEXT, "owning user, a uuid or not"},
    {"host_uuid", UUID, "host that the data came from"},
    {"resource_uuid", UUID, "protected resource"},
    {.name = "minor_resource_id", .kind = TEXT, .meaning = "part of the resource", .longest = longest_indexed},
    {"minor_resource_name", TEXT, "name of that part"},
    {"agent", TEXT, "agent that made the set"},
    {"incarnation", TEXT, "incarnation of the resource, a uuid or not"},
    {"type", TEXT, "backup type"},
    {"first_time", TIME, "of the first data in the set"},
    {"last_time", TIME, "of the last data in the set"},
    {.name = "backup_start_time",
     .kind = TIME,
     .meaning = "start of the backup run; the epoch where the document names none",
     .required = true},
    {"backup_end_time", TIME, "end of the backup run"},
    {"source_size", INTEGER, "bytes of the protected data"},
    {"size", INTEGER, "bytes of the stored set"},
    {"uri", TEXT, "location of the resource"},
    {.name = "host", .kind = TEXT, .meaning = "host name", .longest = longest_indexed},
    {"instance", TEXT, "instance name"},
    {"instance_version", TEXT, "instance version"},
    {"first_scn", INTEGER, "first change number covered"},
    {"last_scn", INTEGER, "last change number covered"},
    {"resource_tree", JSON_OBJECT, "structure of the protected resource"},
    {"extended_attrs", JSON_OBJECT, "further attributes"},
    {"uname", JSON_OBJECT, "operating system of the host"},
    {"lsb", JSON_OBJECT, "distribution of the host"},
    {.name = "catalog_type", .kind = TEXT, .meaning = "id of the set's type", .source = STORE, .required = true},
    {.name = "piece_count", .kind = INTEGER, .meaning = "number of pieces", .source = STORE, .required = true},
    {.name = "copy_states",
     .kind = INTEGER,
     .meaning = "state bits that any of the set's copies has",
     .source = STORE,
     .required = true},
};
constexpr Index backup_set_indexes[] = {
    {"backup_set_by_start", "backup_start_time,uuid", "the newest sets"},
    {"backup_set_by_type", "catalog_type,backup_start_time,uuid", "the newest sets of a type"},
    {"backup_set_by_host", "host,backup_start_time,uuid", "the newest sets of a host, by its name"},
    {"backup_set_by_host_uuid", "host_uuid,backup_start_time,uuid", "the newest sets of a host, by its uuid"},
    {"backup_set_by_resource", "resource_uuid,backup_start_time,uuid", "the newest sets of a resource"},
    {"backup_set_by_resource_end", "resource_uuid,backup_end_time", "when a resource was backed up last"},
    {"backup_set_by_minor_resource", "minor_resource_id,backup_start_time,uuid", "the newest sets of a minor resource"},
};

constexpr Column backup_set_document_columns[] = {
    set_uuid,
    {.name = "document",
     .kind = TEXT,
     .meaning = "the set's JSON as it came, without white space and with its array of pieces emptied",
     .source = STORE,
     .required = true},
    {.name = "pieces_at",
     .kind = INTEGER,
     .meaning = "byte offset in the document where the pieces belong; null when there are none",
     .source = STORE},
};

constexpr Column backup_set_parent_columns[] = {
    set_uuid,
    {.name = "position",
     .kind = INTEGER,
     .meaning = "place in the document, from 1",
     .source = STORE,
     .required = true},
    {.name = "parent_uuid",
     .kind = UUID,
     .meaning = "a set that this one depends on (`parents`), in this catalog or not",
     .source = STORE,
     .required = true},
};
constexpr Index backup_set_parent_indexes[] = {
    {"backup_set_parent_by_parent", "parent_uuid,set_uuid", "the sets that depend on a set"},
};

constexpr Column backup_set_state_columns[] = {
    set_uuid,
    {.name = "state_bit",
     .kind = INTEGER,
     .meaning = "a state bit that at least one copy of the set has",
     .source = STORE,
     .required = true},
    start_time,
};
constexpr Index backup_set_state_indexes[] = {
    {"backup_set_state_by_state", "state_bit,backup_start_time,set_uuid", "the newest sets with a copy in a state"},
};

constexpr Column backup_set_storage_columns[] = {
    {.name = "id", .kind = INTEGER, .meaning = "identity of the copy", .source = STORE, .generated = true},
    set_uuid,
    {"pool_uuid", UUID, "the pool that holds the copy"},
    {"size", INTEGER, "bytes of the copy in the pool"},
    {.name = "state",
     .kind = INTEGER,
     .meaning = "state bits of the copy, from the names under `state`; a name that is not known adds none",
     .source = STORE,
     .required = true},
    {"upstream_pool_uuid", UUID, "the pool that this copy was replicated from"},
    {"extended_attrs", JSON_OBJECT, "further attributes"},
    start_time,
};
constexpr Index backup_set_storage_indexes[] = {
    {"backup_set_storage_by_set", "set_uuid,id", "the copies of a set"},
    {"backup_set_storage_by_pool", "pool_uuid,backup_start_time,set_uuid,id", "all copies in a pool, newest first"},
};

constexpr Column backup_set_media_columns[] = {
    {.name = "set_storage_id", .kind = INTEGER, .meaning = "the copy", .source = STORE, .required = true},
    {.name = "media_tag",
     .kind = TEXT,
     .meaning = "tag of a medium that holds it",
     .source = STORE,
     .required = true,
     .longest = longest_indexed},
};

constexpr Column backup_piece_columns[] = {
    set_uuid,
    {.name = "id", .kind = INTEGER, .meaning = "place in the document, from 1", .source = STORE, .required = true},
    {"path", TEXT, "as the agent saw it"},
    {"object", TEXT, "name of the stored object; \"dir\" for a directory"},
    {"size", INTEGER, "bytes"},
    {"extended_attrs", JSON_OBJECT, "further attributes"},
    {.name = "document",
     .kind = TEXT,
     .meaning = "the piece's JSON where it is not just what the other columns say",
     .source = STORE},
};

constexpr Column backup_set_commit_columns[] = {
    set_uuid,
    {.name = "digest",
     .kind = TEXT,
     .meaning = "SHA-256 of what that document means, whatever its spelling and the order of its keys",
     .source = STORE,
     .required = true},
    {.name = "revision",
     .kind = UUID,
     .meaning = "digest of the document that the last update gave the set; null when there was none",
     .source = STORE},
};

constexpr Column catalog_type{
    .name = "catalog_type", .kind = TEXT, .meaning = "id of the set's type", .source = STORE, .required = true};

constexpr Column open_set_columns[] = {
    {.name = "uuid", .kind = UUID, .meaning = "identity of the set", .source = STORE, .required = true},
    catalog_type,
    {.name = "state",
     .kind = TEXT,
     .meaning = "`open`, or `complete`",
     .source = STORE,
     .required = true,
     .longest = longest_state},
    {.name = "started", .kind = TIME, .meaning = "when the set was initialized", .source = STORE, .required = true},
    {.name = "initialized",
     .kind = TEXT,
     .meaning = "SHA-256 of what the document that initialized it means",
     .source = STORE,
     .required = true},
    {.name = "completed",
     .kind = TEXT,
     .meaning = "SHA-256 of what the document that completed it means; null while it is open",
     .source = STORE},
    {.name = "document",
     .kind = TEXT,
     .meaning = "the newest document of the set, without white space and with its array of pieces emptied",
     .source = STORE,
     .required = true},
};
constexpr Index open_set_indexes[] = {
    {"open_set_by_start", "started,uuid", "the newest of the sets that are not committed"},
    {"open_set_by_state", "state,started,uuid", "the newest of those in a state"},
};

constexpr Column open_set_pieces_columns[] = {
    {.name = "id", .kind = INTEGER, .meaning = "order of the steps", .source = STORE, .generated = true},
    set_uuid,
    {.name = "piece_count", .kind = INTEGER, .meaning = "number of pieces", .source = STORE, .required = true},
    {.name = "pieces",
     .kind = TEXT,
     .meaning = "JSON array of the pieces, without white space",
     .source = STORE,
     .required = true},
};
constexpr Index open_set_pieces_indexes[] = {
    {"open_set_pieces_by_set", "set_uuid,id", "the pieces of a set"},
};

constexpr Column queued_commit_columns[] = {
    {.name = "id",
     .kind = INTEGER,
     .meaning = "order in the queue",
     .source = STORE,
     .generated = true,
     .given_once = true}, // people name entries by it
    set_uuid,
    catalog_type,
    {.name = "state",
     .kind = TEXT,
     .meaning = "`waiting`, or `failed` when it can never be applied",
     .source = STORE,
     .required = true,
     .longest = longest_state},
    {.name = "queued", .kind = TIME, .meaning = "when it came", .source = STORE, .required = true},
    {.name = "digest",
     .kind = TEXT,
     .meaning = "SHA-256 of what the document means",
     .source = STORE,
     .required = true},
    {.name = "message", .kind = TEXT, .meaning = "why it failed", .source = STORE},
    {.name = "document",
     .kind = TEXT,
     .meaning = "the set's JSON, without white space",
     .source = STORE,
     .required = true},
};
constexpr Index queued_commit_indexes[] = {
    {"queued_commit_by_state", "state,id", "the oldest commits that wait, or have failed"},
    {"queued_commit_by_set", "set_uuid,state", "whether a commit of a set waits"},
};

constexpr Column remembered_answer_columns[] = {
    {.name = "request_key",
     .kind = UUID,
     .meaning = "first 16 bytes of the SHA-256 of who asked, the request's id, its operation and its params",
     .source = STORE,
     .required = true},
    {.name = "answered", .kind = TIME, .meaning = "when it was answered", .source = STORE, .required = true},
    {.name = "answer", .kind = TEXT, .meaning = "the answer as JSON", .source = STORE, .required = true},
};
constexpr Index remembered_answer_indexes[] = {
    {"remembered_answer_by_time", "answered", "the answers that may be forgotten"},
};

constexpr const Table* all[] = {
    &catalog_schema_table,    &backup_set_table,         &backup_set_document_table, &backup_set_parent_table,
    &backup_set_state_table,  &backup_set_storage_table, &backup_set_media_table,    &backup_piece_table,
    &backup_set_commit_table, &open_set_table,           &open_set_pieces_table,     &queued_commit_table,
    &remembered_answer_table,
};

} // namespace

constinit const Table catalog_schema_table = {.name = "catalog_schema",
                                              .purpose = "One row: which schema this is.",
                                              .columns = catalog_schema_columns,
                                              .primary_key = "version"};

constinit const Table backup_set_table = {.name = "backup_set",
                                          .purpose = "One row for each set: what all types have.",
                                          .columns = backup_set_columns,
                                          .primary_key = "uuid",
                                          .indexes = backup_set_indexes};

constinit const Table backup_set_document_table = {.name = "backup_set_document",
                                                   .purpose = "The document that a set was recorded with.",
                                                   .columns = backup_set_document_columns,
                                                   .primary_key = "set_uuid",
                                                   .parent = "backup_set",
                                                   .parent_column = "set_uuid"};

constinit const Table backup_set_parent_table = {.name = "backup_set_parent",
                                                 .purpose = "Which sets a set depends on.",
                                                 .columns = backup_set_parent_columns,
                                                 .primary_key = "set_uuid,position",
                                                 .indexes = backup_set_parent_indexes,
                                                 .parent = "backup_set",
                                                 .parent_column = "set_uuid",
                                                 .clustered = true};

constinit const Table backup_set_state_table = {.name = "backup_set_state",
                                                .purpose =
                                                    "Which states the copies of a set have, for listing by state.",
                                                .columns = backup_set_state_columns,
                                                .primary_key = "set_uuid,state_bit",
                                                .indexes = backup_set_state_indexes,
                                                .parent = "backup_set",
                                                .parent_column = "set_uuid",
                                                .clustered = true};

constinit const Table backup_set_storage_table = {.name = "backup_set_storage",
                                                  .purpose =
                                                      "The copies of a set: one row for each placement in a pool.",
                                                  .columns = backup_set_storage_columns,
                                                  .primary_key = "id",
                                                  .indexes = backup_set_storage_indexes,
                                                  .parent = "backup_set",
                                                  .parent_column = "set_uuid"};

constinit const Table backup_set_media_table = {.name = "backup_set_media",
                                                .purpose = "The media that hold a copy. Documents carry none.",
                                                .columns = backup_set_media_columns,
                                                .primary_key = "set_storage_id,media_tag",
                                                .parent = "backup_set_storage",
                                                .parent_column = "set_storage_id",
                                                .clustered = true};

constinit const Table backup_piece_table = {.name = "backup_piece",
                                            .purpose = "The stored objects that make up a set.",
                                            .columns = backup_piece_columns,
                                            .primary_key = "set_uuid,id",
                                            .parent = "backup_set",
                                            .parent_column = "set_uuid",
                                            .clustered = true};

constinit const Table backup_set_commit_table = {
    .name = "backup_set_commit",
    .purpose =
        "What a set was committed with, where its document is another one now: pieces were added to it, or it was "
        "updated.",
    .columns = backup_set_commit_columns,
    .primary_key = "set_uuid",
    .parent = "backup_set",
    .parent_column = "set_uuid",
    .clustered = true};

constinit const Table open_set_table = {.name = "open_set",
                                        .purpose =
                                            "One row for each set that was initialized and is not committed yet.",
                                        .columns = open_set_columns,
                                        .primary_key = "uuid",
                                        .indexes = open_set_indexes};

constinit const Table open_set_pieces_table = {
    .name = "open_set_pieces",
    .purpose = "The pieces of sets that are not committed yet: one row for each step that brought some.",
    .columns = open_set_pieces_columns,
    .primary_key = "id",
    .indexes = open_set_pieces_indexes,
    .parent = "open_set",
    .parent_column = "set_uuid"};

constinit const Table queued_commit_table = {.name = "queued_commit",
                                             .purpose = "Commits that were promised and are not applied yet.",
                                             .columns = queued_commit_columns,
                                             .primary_key = "id",
                                             .indexes = queued_commit_indexes};

constinit const Table remembered_answer_table = {
    .name = "remembered_answer",
    .purpose =
        "The answers of the last days, so that a repeated request gets its first answer and has no second effect.",
    .columns = remembered_answer_columns,
    .primary_key = "request_key",
    .indexes = remembered_answer_indexes,
    .clustered = true};

std::span<const Table* const> common_tables()
{
    return all;
}

} // namespace catalog
