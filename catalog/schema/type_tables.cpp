#include "catalog/schema/type_tables.h"

namespace catalog {
namespace {

using enum Column_Kind;

constexpr Column set_uuid{
    .name = "set_uuid", .kind = UUID, .meaning = "the set", .source = Column_Source::STORE, .required = true};

/// A table with one row for each set of a type, kept by the set's uuid.
constexpr Table type_table(const char* name, const char* purpose, std::span<const Column> columns)
{
    return {.name = name,
            .purpose = purpose,
            .columns = columns,
            .primary_key = "set_uuid",
            .parent = "backup_set",
            .parent_column = "set_uuid",
            .clustered = true};
}

constexpr Column oracle_columns[] = {
    set_uuid,
    {"archivelog", BOOLEAN, "the database runs in archive-log mode"},
    {"cluster", BOOLEAN, "it is a cluster database"},
    {"standby", BOOLEAN, "the backup was taken from a standby"},
    {"cdb", BOOLEAN, "it is a container database"},
    {"reset_time", TIME, "of the last resetlogs"},
    {"controlfile_time", TIME, "of the control file"},
    {"checkpoint_time", TIME, "of the checkpoint"},
    {"timezone_offset", INTEGER, "of the database host"},
    {"dbid", UNSIGNED, "database id"},
    {"db_incarnation", UNSIGNED, "database incarnation"},
    {"reset_scn", UNSIGNED, "SCN of the last resetlogs"},
    {"controlfile_scn", UNSIGNED, "SCN of the control file"},
    {"checkpoint_scn", UNSIGNED, "SCN of the checkpoint"},
    {"backup_type", TEXT, "backup type, in the source's own words"},
    {"database", TEXT, "database name"},
    {"compatible", TEXT, "compatibility level"},
    {"scsipool_id", TEXT, "block-device pool used by the backup"},
    {"stage_id", TEXT, "staging area"},
    {"snapshot_id", TEXT, "storage snapshot"},
    {"merge_tag", TEXT, "tag of the merged copy"},
    {"special_files", JSON_OBJECT, "extra files by name"},
};
constexpr Table oracle_table = type_table("oracle_backup_set", "Oracle database backups.", oracle_columns);

constexpr Column oracle_arch_columns[] = {
    set_uuid,
    {"thread", UNSIGNED, "redo thread"},
    {"sequence", UNSIGNED, "log sequence number"},
    {"reset_scn", UNSIGNED, "SCN of the last resetlogs"},
    {"reset_time", TIME, "of the last resetlogs"},
    {"next_scn", UNSIGNED, "SCN behind the archived range"},
    {"next_time", TIME, "of that SCN"},
    {"archived", BOOLEAN, "the log was archived"},
    {"timezone_offset", INTEGER, "of the database host"},
};
constexpr Table oracle_arch_table = type_table(
    "oracle_arch_backup_set", "Archived redo logs of one thread of an Oracle database.", oracle_arch_columns);

constexpr Column oracle_exp_columns[] = {
    set_uuid,
    {"exp_type", TEXT, "export type"},
    {"exp_mode", TEXT, "export mode"},
    {"object_name", TEXT, "exported object"},
    {"database", TEXT, "database name"},
};
constexpr Table oracle_exp_table =
    type_table("oracle_exp_backup_set", "Logical exports of Oracle databases.", oracle_exp_columns);

constexpr Column dmdb_columns[] = {
    set_uuid,
    {"seq", INTEGER, "sequence number"},
    {.name = "channels", .kind = INTEGER, .meaning = "parallel channels", .only_for = "file"},
    {.name = "hash_algorithm", .kind = TEXT, .meaning = "hash algorithm of the data", .only_for = "file"},
    {.name = "pool_type", .kind = TEXT, .meaning = "type of the storage pool", .only_for = "file"},
    {.name = "multidevice", .kind = BOOLEAN, .meaning = "the backup spans several devices", .only_for = "file"},
    {.name = "encryption", .kind = TEXT, .meaning = "encryption used", .only_for = "file"},
    {.name = "backup_version", .kind = INTEGER, .meaning = "backup version", .only_for = "dmdb"},
    {.name = "object", .kind = TEXT, .meaning = "object backed up", .only_for = "dmdb"},
    {.name = "compression", .kind = TEXT, .meaning = "compression used", .only_for = "dmdb"},
    {.name = "backup_set", .kind = TEXT, .meaning = "the database's own name of the set", .only_for = "dmdb"},
    {.name = "backup_base", .kind = TEXT, .meaning = "name of the base backup", .only_for = "dmdb"},
    {.name = "arch_log_start", .kind = INTEGER, .meaning = "start of the archive-log range", .only_for = "dmdb"},
    {.name = "arch_log_end", .kind = INTEGER, .meaning = "end of that range", .only_for = "dmdb"},
    {.name = "permanent_db_magic", .kind = INTEGER, .meaning = "permanent magic number", .only_for = "dmdb"},
    {.name = "db_magic", .kind = INTEGER, .meaning = "magic number of the incarnation", .only_for = "dmdb"},
    {.name = "case_sensitive", .kind = INTEGER, .meaning = "case-sensitivity flag", .only_for = "dmdb"},
    {.name = "unicode_flag", .kind = INTEGER, .meaning = "character-set flag", .only_for = "dmdb"},
    {.name = "page_size", .kind = INTEGER, .meaning = "page size", .only_for = "dmdb"},
    {.name = "extent_size", .kind = INTEGER, .meaning = "extent size", .only_for = "dmdb"},
};
constexpr Table dmdb_table = type_table(
    "dmdb_backup_set", "Physical DMDB backups, and file-system backups, which share their table.", dmdb_columns);

constexpr const Table* all[] = {&oracle_table, &oracle_arch_table, &oracle_exp_table, &dmdb_table};

} // namespace

std::span<const Table* const> type_tables()
{
    return all;
}

} // namespace catalog
