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

constexpr Column postgres_columns[] = {
    set_uuid,
    {"seq", INTEGER, "sequence number"},
    {"db_info", JSON_OBJECT, "the databases backed up"},
    {"db_size", JSON_OBJECT, "their sizes"},
    {"mtf", INTEGER, "flag; 0 or 1"},
    {"flavor", TEXT, "server flavour"},
    {"grade", TEXT, "backup grade"},
    {"format", TEXT, "backup format"},
};
constexpr Table postgres_table =
    type_table("postgres_backup_set", "What every PostgreSQL backup has.", postgres_columns);

constexpr Column postgres_physical_columns[] = {
    set_uuid,
    {"log_branch", TEXT, "log branch"},
    {"checkpoint_location", TEXT, "checkpoint location"},
    {"timeline", TEXT, "timeline id"},
    {"start_wal_file", TEXT, "first WAL file"},
    {"start_wal_location", TEXT, "start WAL location"},
    {"stop_wal_file", TEXT, "last WAL file"},
    {"stop_wal_location", TEXT, "stop WAL location"},
    {"data_dir", TEXT, "data directory"},
    {"archivelog_dir", TEXT, "WAL archive directory"},
    {"os_user", TEXT, "operating-system user of the server"},
    {"suffix", TEXT, "suffix of the backup"},
    {"tablespace_path", JSON_OBJECT, "tablespace locations"},
    {"from_wal_location", TEXT, "WAL location that the backup starts from"},
    {"channels", INTEGER, "parallel channels"},
    {"contain_log", INTEGER, "the backup contains WAL; 0 or 1"},
};
constexpr Table postgres_physical_table =
    type_table("postgres_physical_set", "What a physical PostgreSQL backup has besides.", postgres_physical_columns);

constexpr Column hive_columns[] = {
    set_uuid,
    {"last_repl_id", TEXT, "last replication event covered"},
    {"seq", INTEGER, "sequence number"},
    {"channels", INTEGER, "parallel channels"},
    {"hash_algorithm", TEXT, "hash algorithm of the data"},
    {"pool_type", TEXT, "type of the storage pool"},
    {"multidevice", BOOLEAN, "the backup spans several devices"},
    {"encryption", TEXT, "encryption used"},
};
constexpr Table hive_table = type_table("hive_backup_set", "Hive replication dumps.", hive_columns);

constexpr Column dmdb_log_columns[] = {
    set_uuid,
    {"seq", INTEGER, "sequence number"},
    {"backup_version", INTEGER, "backup version"},
    {"dm_type", INTEGER, "kind of database, a number"},
    {"compression", TEXT, "compression used"},
    {"backup_set", TEXT, "the database's own name of the set"},
    {"arch_start_time", TEXT, "of the first log, as text"},
    {"arch_end_time", TEXT, "of the last log, as text"},
    {"permanent_db_magic", INTEGER, "permanent magic number"},
    {"db_magic", INTEGER, "magic number of the incarnation"},
    {"timezone_offset", INTEGER, "of the server"},
    {"number", INTEGER, "log number"},
    {"active", BOOLEAN, "the log is active"},
};
constexpr Table dmdb_log_table =
    type_table("dmdb_log_backup_set", "Archived redo logs of DMDB databases.", dmdb_log_columns);

constexpr Column dmdb_logical_columns[] = {
    set_uuid,
    {"seq", INTEGER, "sequence number"},
    {"backup_version", INTEGER, "backup version"},
    {"backup_set", TEXT, "name of the export"},
    {"case_sensitive", INTEGER, "case sensitivity; 0 or 1"},
    {"dm_type", TEXT, "kind of database, a text"},
    {"exp_mode", TEXT, "export mode"},
};
constexpr Table dmdb_logical_table =
    type_table("dmdb_logical_backup_set", "Logical exports of DMDB databases.", dmdb_logical_columns);

constexpr Column hana_columns[] = {
    set_uuid,
    {"lifeline", TEXT, "backup lifeline"},
    {"sid", TEXT, "system id"},
    {"system_version", TEXT, "system version"},
    {"instance_num", UNSIGNED, "instance number"},
    {"instance_name", TEXT, "instance name"},
    {"extended_attrs", TEXT, "the type's own attributes, a text"},
    {"database", TEXT, "database name"},
    {"database_backup_id", UNSIGNED, "the database's own id of the backup"},
};
constexpr Table hana_table = type_table("hana_backup_set", "Backups of databases of HANA systems.", hana_columns);

constexpr Column db2_columns[] = {
    set_uuid,
    {"database", TEXT, "database name"},
    {"base_start_point", INTEGER, "start point of the base backup"},
    {"meta_file", TEXT, "metadata file"},
    {"archive_dir", TEXT, "archive-log directory"},
    {"archive_first_log", TEXT, "first archived log"},
    {"archive_last_log", TEXT, "last archived log"},
    {"archive_start_time", TIME, "of the first archived log"},
    {"archive_end_time", TIME, "of the last archived log"},
    {"is_archive_set", BOOLEAN, "archived logs, no image"},
};
constexpr Table db2_table = type_table("db2_backup_set", "DB2 database images and sets of archived logs.", db2_columns);

constexpr Column gaussdb_columns[] = {
    set_uuid,
    {"meta_destination", TEXT, "where the metadata was stored"},
    {"backup_key", TEXT, "key of the backup"},
    {"prior_backup_key", TEXT, "key of the backup that it follows"},
    {"nodes_count", INTEGER, "nodes of the cluster"},
    {"series", INTEGER, "series number"},
    {"timeline", TEXT, "timeline"},
    {"compression", TEXT, "compression used"},
    {"seq", INTEGER, "sequence number"},
    {"granularity", TEXT, "granularity"},
    {"database", TEXT, "database name"},
};
constexpr Table gaussdb_table = type_table("gaussdb_backup_set", "GaussDB backups.", gaussdb_columns);

constexpr Column mongodb_columns[] = {
    set_uuid,
    {"seq", INTEGER, "sequence number"},
    {"arch_log_start", INTEGER, "start of the log range"},
    {"arch_log_end", INTEGER, "end of the log range"},
    {"arch_log_start_i", INTEGER, "start, second component"},
    {"arch_log_end_i", INTEGER, "end, second component"},
    {"archive", INTEGER, "a log backup; 0 or 1"},
};
constexpr Table mongodb_table = type_table("mongodb_backup_set", "MongoDB backups.", mongodb_columns);

constexpr Column domino_columns[] = {
    set_uuid,
    {"seq", INTEGER, "sequence number"},
    {"source_type", TEXT, "kind of source"},
    {"data_path", TEXT, "data path of the server"},
    {"compression", TEXT, "compression used"},
    {"daos", TEXT, "DAOS setting"},
};
constexpr Table domino_table = type_table("domino_backup_set", "Domino backups.", domino_columns);

constexpr Column oscar_columns[] = {
    set_uuid,
    {"seq", INTEGER, "sequence number"},
    {"tablespaces", JSON_ARRAY, "names of tablespaces"},
};
constexpr Table oscar_table = type_table("oscar_backup_set", "Table-level backups of Oscar databases.", oscar_columns);

constexpr Column oscar_brcmd_columns[] = {
    set_uuid,
    {"backup_id", TEXT, "id of the backup"},
    {"last_backup_id", TEXT, "id of the previous backup"},
    {"last_full_backup_id", TEXT, "id of the last full backup"},
    {"backup_file", TEXT, "backup file"},
    {"backup_lsn", INTEGER, "LSN of the backup"},
    {"backup_scn", INTEGER, "SCN of the backup"},
    {"last_backup_lsn", INTEGER, "LSN of the previous backup"},
    {"last_backup_scn", INTEGER, "SCN of the previous backup"},
    {"last_full_backup_lsn", INTEGER, "LSN of the last full backup"},
    {"last_full_backup_scn", INTEGER, "SCN of the last full backup"},
};
constexpr Table oscar_brcmd_table =
    type_table("oscar_brcmd_backup_set", "Backups of Oscar databases by the backup command.", oscar_brcmd_columns);

constexpr Column kingbase_columns[] = {
    set_uuid,
    {"seq", INTEGER, "sequence number"},
};
constexpr Table kingbase_table = type_table("kingbase_backup_set", "Kingbase backups.", kingbase_columns);

constexpr Column cachedb_columns[] = {
    set_uuid,
    {"start_log", TEXT, "first journal file"},
    {"end_log", TEXT, "last journal file"},
    {"current_log", TEXT, "journal file current at the time"},
    {"journal_dir", TEXT, "journal directory"},
};
constexpr Table cachedb_table = type_table("cachedb_backup_set", "CacheDB backups.", cachedb_columns);

constexpr Column ndmp_columns[] = {
    set_uuid,
    {"backup_type", TEXT, "NDMP backup type"},
    {"seq", UNSIGNED, "sequence number"},
    {"level", UNSIGNED, "backup level"},
    {"compression", TEXT, "compression used"},
    {"vols", TEXT, "volumes written"},
};
constexpr Table ndmp_table = type_table("ndmp_backup_set", "NDMP backups of file servers.", ndmp_columns);

constexpr Column informix_columns[] = {
    set_uuid,
    {"pre_seal_time", TIME, "pre-seal time"},
};
constexpr Table informix_table = type_table("informix_backup_set", "Informix backups.", informix_columns);

constexpr Column sharepoint_columns[] = {
    set_uuid,
    {"device_uuid", TEXT, "device backed up"},
    {"database", TEXT, "content database"},
    {"domain", TEXT, "domain"},
    {"backup_method", TEXT, "backup method"},
    {"rev", INTEGER, "revision number"},
};
constexpr Table sharepoint_table =
    type_table("sharepoint_backup_set", "SharePoint content databases.", sharepoint_columns);

constexpr Column vmware_columns[] = {
    set_uuid,
    {"vm_uuid", TEXT, "machine UUID"},
    {"instance_uuid", TEXT, "instance UUID"},
    {"parent_uuid", TEXT, "object that the machine belongs to"},
    {"vm_name", TEXT, "machine name"},
    {"esxi_name", TEXT, "host name"},
    {"esxi_uuid", TEXT, "host UUID"},
    {"esxi_moid", TEXT, "host managed-object id"},
    {"vcenter_name", TEXT, "vCenter name"},
    {"firmware", TEXT, "firmware kind"},
    {"guestos_id", TEXT, "guest system"},
    {"version", TEXT, "virtual hardware version"},
    {"memory_size", UNSIGNED, "memory size"},
    {"cpu_num", UNSIGNED, "processors"},
    {"cpu_cores_per_socket", UNSIGNED, "cores per socket"},
    {"controllers", JSON_ARRAY, "controllers"},
    {"network_adapters", JSON_ARRAY, "network adapters"},
    {"cd_roms", JSON_ARRAY, "CD-ROM drives"},
    {"tags", JSON_ARRAY, "tags"},
    {"resource_pool_name", TEXT, "resource pool"},
    {"resource_pool_moid", TEXT, "resource pool managed-object id"},
    {"folder_moid", TEXT, "folder managed-object id"},
    {"datastore", TEXT, "datastore"},
    {"snapshot_id", TEXT, "snapshot read from"},
    {"merge_backup_id", TEXT, "backup merged with"},
    {"is_template", BOOLEAN, "the machine is a template"},
};
constexpr Table vmware_table = type_table("vmware_backup_set", "VMware virtual machines.", vmware_columns);

constexpr Column hyperv_columns[] = {
    set_uuid,
    {"vm_name", TEXT, "machine name"},
    {"vm_guid", TEXT, "machine GUID"},
    {"vm_setting_id", TEXT, "current settings object"},
    {"vm_prev_setting_id", TEXT, "settings object of the previous backup"},
    {"vm_config_version", TEXT, "configuration version"},
    {"vm_generation", INTEGER, "machine generation"},
    {"memory_mbytes", INTEGER, "memory in megabytes"},
    {"cpu_count", INTEGER, "virtual processors"},
    {"network_adapters", JSON_ARRAY, "network adapters"},
    {"controllers", JSON_ARRAY, "storage controllers"},
    {"drives", JSON_ARRAY, "drives"},
    {"vhd_chains", JSON_OBJECT, "virtual disks by name"},
};
constexpr Table hyperv_table = type_table("hyperv_backup_set", "Hyper-V virtual machines.", hyperv_columns);

constexpr Column openstack_columns[] = {
    set_uuid,
    {"vm_id", TEXT, "instance id"},
    {"vm_name", TEXT, "instance name"},
    {"backup_uuid", TEXT, "backup on the cloud's side"},
    {"last_backup_uuid", TEXT, "previous backup"},
    {"last_full_backup_uuid", TEXT, "last full backup"},
    {"profile", JSON_OBJECT, "instance profile"},
    {"volumes", JSON_ARRAY, "volumes"},
};
constexpr Table openstack_table = type_table("openstack_backup_set", "OpenStack instances.", openstack_columns);

constexpr Column ics_columns[] = {
    set_uuid,
    {"vm_name", TEXT, "machine name"},
    {"vm_id", TEXT, "machine id"},
    {"vm_uuid", TEXT, "machine UUID"},
    {"vm_version", TEXT, "machine version"},
    {"datacenter_id", TEXT, "data center"},
    {"owner_host_id", TEXT, "host id"},
    {"owner_host_ip", TEXT, "host address"},
    {"owner_host_name", TEXT, "host name"},
    {"base_info", JSON_OBJECT, "base settings"},
    {"cpu_info", JSON_OBJECT, "processor settings"},
    {"mem_info", JSON_OBJECT, "memory settings"},
    {"aggregates", JSON_ARRAY, "vApps and tags"},
    {"boot_devices", JSON_ARRAY, "boot devices"},
    {"floppys", JSON_ARRAY, "floppy drives"},
    {"cdroms", JSON_ARRAY, "CD-ROM drives"},
    {"nics", JSON_ARRAY, "network interfaces"},
    {"gpus", JSON_ARRAY, "GPUs"},
    {"usbs", JSON_ARRAY, "USB devices"},
    {"vm_extended_attrs", JSON_OBJECT, "further attributes of the machine"},
};
constexpr Table ics_table = type_table("ics_backup_set", "ICS virtual machines.", ics_columns);

constexpr Column fusioncompute_columns[] = {
    set_uuid,
    {"vm_name", TEXT, "machine name"},
    {"vm_uuid", TEXT, "machine UUID"},
    {"vm_uri", TEXT, "machine URI"},
    {"location_urn", TEXT, "location"},
    {"os_type", TEXT, "guest system kind"},
    {"os_version", INTEGER, "guest system version code"},
    {"cpu_count", INTEGER, "processors"},
    {"memory_mbytes", INTEGER, "memory in megabytes"},
    {"network_adapters", JSON_ARRAY, "network adapters"},
    {"volumes", JSON_ARRAY, "volumes"},
    {"snapshot_urn", TEXT, "snapshot read from"},
};
constexpr Table fusioncompute_table =
    type_table("fusioncompute_backup_set", "FusionCompute virtual machines.", fusioncompute_columns);

constexpr Column fusioncloud_columns[] = {
    set_uuid,
    {"vm_id", TEXT, "server id"},
    {"vm_name", TEXT, "server name"},
    {"project_id", TEXT, "project id"},
    {"project_name", TEXT, "project name"},
    {"vm_profile", JSON_OBJECT, "server"},
    {"flavor_profile", JSON_OBJECT, "flavor"},
    {"interfaces_profile", JSON_ARRAY, "interfaces"},
    {"image_profile", JSON_OBJECT, "image"},
    {"volumes_profile", JSON_ARRAY, "volumes"},
};
constexpr Table fusioncloud_table =
    type_table("fusioncloud_backup_set", "FusionCloud cloud servers.", fusioncloud_columns);

constexpr Column h3ccas_columns[] = {
    set_uuid,
    {"cvk_host_id", TEXT, "host id"},
    {"cvk_host_name", TEXT, "host name"},
    {"cvk_host_ip", TEXT, "host address"},
    {"vm_id", TEXT, "machine id"},
    {"vm_title", TEXT, "machine title"},
    {"vm_name", TEXT, "machine name"},
    {"vm_config_path", TEXT, "configuration path"},
    {"cbt_name", TEXT, "change tracking name"},
    {"vm_disks", JSON_ARRAY, "disks"},
    {"cpu_count", INTEGER, "processors"},
    {"cpu_cores", INTEGER, "cores"},
    {"memory_mbytes", INTEGER, "memory in megabytes"},
};
constexpr Table h3ccas_table = type_table("h3ccas_backup_set", "H3C CAS virtual machines.", h3ccas_columns);

constexpr Column cloudos_columns[] = {
    set_uuid,
    {"host_id", TEXT, "host id"},
    {"host_name", TEXT, "host name"},
    {"vm_id", TEXT, "machine id"},
    {"vm_name", TEXT, "machine name"},
    {"vm_disks", JSON_ARRAY, "disks"},
    {"vm_config", JSON_OBJECT, "configuration"},
    {"snapshot_id", TEXT, "snapshot"},
};
constexpr Table cloudos_table = type_table("cloudos_backup_set", "CloudOS virtual machines.", cloudos_columns);

constexpr const Table* all[] = {
    &oracle_table,     &oracle_arch_table,   &oracle_exp_table,  &dmdb_table,
    &dmdb_log_table,   &dmdb_logical_table,  &postgres_table,    &postgres_physical_table,
    &hive_table,       &hana_table,          &db2_table,         &gaussdb_table,
    &mongodb_table,    &domino_table,        &oscar_table,       &oscar_brcmd_table,
    &kingbase_table,   &cachedb_table,       &ndmp_table,        &informix_table,
    &sharepoint_table, &vmware_table,        &hyperv_table,      &openstack_table,
    &ics_table,        &fusioncompute_table, &fusioncloud_table, &h3ccas_table,
    &cloudos_table,
};

} // namespace

std::span<const Table* const> type_tables()
{
    return all;
}

} // namespace catalog
