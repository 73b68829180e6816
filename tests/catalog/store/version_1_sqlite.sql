CREATE TABLE "catalog_schema" (
    "version" BIGINT NOT NULL CHECK (typeof("version") IN ('integer', 'null')),
    PRIMARY KEY ("version")
);
CREATE TABLE "backup_set" (
    "uuid" UUID_BLOB NOT NULL CHECK (typeof("uuid") IN ('blob', 'null') AND length("uuid") = 16),
    "name" TEXT CHECK (typeof("name") IN ('text', 'null')),
    "job_instance_uuid" UUID_BLOB CHECK (typeof("job_instance_uuid") IN ('blob', 'null') AND length("job_instance_uuid") = 16),
    "definition_uuid" UUID_BLOB CHECK (typeof("definition_uuid") IN ('blob', 'null') AND length("definition_uuid") = 16),
    "uid" TEXT CHECK (typeof("uid") IN ('text', 'null')),
    "host_uuid" UUID_BLOB CHECK (typeof("host_uuid") IN ('blob', 'null') AND length("host_uuid") = 16),
    "resource_uuid" UUID_BLOB CHECK (typeof("resource_uuid") IN ('blob', 'null') AND length("resource_uuid") = 16),
    "minor_resource_id" TEXT CHECK (typeof("minor_resource_id") IN ('text', 'null')),
    "minor_resource_name" TEXT CHECK (typeof("minor_resource_name") IN ('text', 'null')),
    "agent" TEXT CHECK (typeof("agent") IN ('text', 'null')),
    "incarnation" TEXT CHECK (typeof("incarnation") IN ('text', 'null')),
    "type" TEXT CHECK (typeof("type") IN ('text', 'null')),
    "first_time" TIME_TEXT CHECK (datetime("first_time", '+0 days') = "first_time"),
    "last_time" TIME_TEXT CHECK (datetime("last_time", '+0 days') = "last_time"),
    "backup_start_time" TIME_TEXT NOT NULL CHECK (datetime("backup_start_time", '+0 days') = "backup_start_time"),
    "backup_end_time" TIME_TEXT CHECK (datetime("backup_end_time", '+0 days') = "backup_end_time"),
    "source_size" BIGINT CHECK (typeof("source_size") IN ('integer', 'null')),
    "size" BIGINT CHECK (typeof("size") IN ('integer', 'null')),
    "uri" TEXT CHECK (typeof("uri") IN ('text', 'null')),
    "host" TEXT CHECK (typeof("host") IN ('text', 'null')),
    "instance" TEXT CHECK (typeof("instance") IN ('text', 'null')),
    "instance_version" TEXT CHECK (typeof("instance_version") IN ('text', 'null')),
    "first_scn" BIGINT CHECK (typeof("first_scn") IN ('integer', 'null')),
    "last_scn" BIGINT CHECK (typeof("last_scn") IN ('integer', 'null')),
    "resource_tree" JSON_TEXT CHECK ("resource_tree" IS NULL OR json_valid("resource_tree")),
    "extended_attrs" JSON_TEXT CHECK ("extended_attrs" IS NULL OR json_valid("extended_attrs")),
    "uname" JSON_TEXT CHECK ("uname" IS NULL OR json_valid("uname")),
    "lsb" JSON_TEXT CHECK ("lsb" IS NULL OR json_valid("lsb")),
    "catalog_type" TEXT NOT NULL CHECK (typeof("catalog_type") IN ('text', 'null')),
    "piece_count" BIGINT NOT NULL CHECK (typeof("piece_count") IN ('integer', 'null')),
    "copy_states" BIGINT NOT NULL CHECK (typeof("copy_states") IN ('integer', 'null')),
    PRIMARY KEY ("uuid")
);
CREATE INDEX "backup_set_by_start" ON "backup_set" ("backup_start_time", "uuid");
CREATE INDEX "backup_set_by_type" ON "backup_set" ("catalog_type", "backup_start_time", "uuid");
CREATE INDEX "backup_set_by_host" ON "backup_set" ("host", "backup_start_time", "uuid");
CREATE INDEX "backup_set_by_host_uuid" ON "backup_set" ("host_uuid", "backup_start_time", "uuid");
CREATE INDEX "backup_set_by_resource" ON "backup_set" ("resource_uuid", "backup_start_time", "uuid");
CREATE INDEX "backup_set_by_minor_resource" ON "backup_set" ("minor_resource_id", "backup_start_time", "uuid");
CREATE TABLE "backup_set_document" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "document" TEXT NOT NULL CHECK (typeof("document") IN ('text', 'null')),
    "pieces_at" BIGINT CHECK (typeof("pieces_at") IN ('integer', 'null')),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
);
CREATE TABLE "backup_set_parent" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "position" BIGINT NOT NULL CHECK (typeof("position") IN ('integer', 'null')),
    "parent_uuid" UUID_BLOB NOT NULL CHECK (typeof("parent_uuid") IN ('blob', 'null') AND length("parent_uuid") = 16),
    PRIMARY KEY ("set_uuid", "position"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE INDEX "backup_set_parent_by_parent" ON "backup_set_parent" ("parent_uuid", "set_uuid");
CREATE TABLE "backup_set_state" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "state_bit" BIGINT NOT NULL CHECK (typeof("state_bit") IN ('integer', 'null')),
    "backup_start_time" TIME_TEXT NOT NULL CHECK (datetime("backup_start_time", '+0 days') = "backup_start_time"),
    PRIMARY KEY ("set_uuid", "state_bit"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE INDEX "backup_set_state_by_state" ON "backup_set_state" ("state_bit", "backup_start_time", "set_uuid");
CREATE TABLE "backup_set_storage" (
    "id" INTEGER PRIMARY KEY,
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "pool_uuid" UUID_BLOB CHECK (typeof("pool_uuid") IN ('blob', 'null') AND length("pool_uuid") = 16),
    "size" BIGINT CHECK (typeof("size") IN ('integer', 'null')),
    "state" BIGINT NOT NULL CHECK (typeof("state") IN ('integer', 'null')),
    "upstream_pool_uuid" UUID_BLOB CHECK (typeof("upstream_pool_uuid") IN ('blob', 'null') AND length("upstream_pool_uuid") = 16),
    "extended_attrs" JSON_TEXT CHECK ("extended_attrs" IS NULL OR json_valid("extended_attrs")),
    "backup_start_time" TIME_TEXT NOT NULL CHECK (datetime("backup_start_time", '+0 days') = "backup_start_time"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
);
CREATE INDEX "backup_set_storage_by_set" ON "backup_set_storage" ("set_uuid", "id");
CREATE INDEX "backup_set_storage_by_pool" ON "backup_set_storage" ("pool_uuid", "backup_start_time", "set_uuid", "id");
CREATE TABLE "backup_set_media" (
    "set_storage_id" BIGINT NOT NULL CHECK (typeof("set_storage_id") IN ('integer', 'null')),
    "media_tag" TEXT NOT NULL CHECK (typeof("media_tag") IN ('text', 'null')),
    PRIMARY KEY ("set_storage_id", "media_tag"),
    FOREIGN KEY ("set_storage_id") REFERENCES "backup_set_storage" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "backup_piece" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "id" BIGINT NOT NULL CHECK (typeof("id") IN ('integer', 'null')),
    "path" TEXT CHECK (typeof("path") IN ('text', 'null')),
    "object" TEXT CHECK (typeof("object") IN ('text', 'null')),
    "size" BIGINT CHECK (typeof("size") IN ('integer', 'null')),
    "extended_attrs" JSON_TEXT CHECK ("extended_attrs" IS NULL OR json_valid("extended_attrs")),
    "document" TEXT CHECK (typeof("document") IN ('text', 'null')),
    PRIMARY KEY ("set_uuid", "id"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "oracle_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "archivelog" BOOLEAN CHECK ("archivelog" IN (0, 1)),
    "cluster" BOOLEAN CHECK ("cluster" IN (0, 1)),
    "standby" BOOLEAN CHECK ("standby" IN (0, 1)),
    "cdb" BOOLEAN CHECK ("cdb" IN (0, 1)),
    "reset_time" TIME_TEXT CHECK (datetime("reset_time", '+0 days') = "reset_time"),
    "controlfile_time" TIME_TEXT CHECK (datetime("controlfile_time", '+0 days') = "controlfile_time"),
    "checkpoint_time" TIME_TEXT CHECK (datetime("checkpoint_time", '+0 days') = "checkpoint_time"),
    "timezone_offset" BIGINT CHECK (typeof("timezone_offset") IN ('integer', 'null')),
    "dbid" UNSIGNED_BIGINT CHECK (typeof("dbid") IN ('integer', 'null')),
    "db_incarnation" UNSIGNED_BIGINT CHECK (typeof("db_incarnation") IN ('integer', 'null')),
    "reset_scn" UNSIGNED_BIGINT CHECK (typeof("reset_scn") IN ('integer', 'null')),
    "controlfile_scn" UNSIGNED_BIGINT CHECK (typeof("controlfile_scn") IN ('integer', 'null')),
    "checkpoint_scn" UNSIGNED_BIGINT CHECK (typeof("checkpoint_scn") IN ('integer', 'null')),
    "backup_type" TEXT CHECK (typeof("backup_type") IN ('text', 'null')),
    "database" TEXT CHECK (typeof("database") IN ('text', 'null')),
    "compatible" TEXT CHECK (typeof("compatible") IN ('text', 'null')),
    "scsipool_id" TEXT CHECK (typeof("scsipool_id") IN ('text', 'null')),
    "stage_id" TEXT CHECK (typeof("stage_id") IN ('text', 'null')),
    "snapshot_id" TEXT CHECK (typeof("snapshot_id") IN ('text', 'null')),
    "merge_tag" TEXT CHECK (typeof("merge_tag") IN ('text', 'null')),
    "special_files" JSON_TEXT CHECK ("special_files" IS NULL OR json_valid("special_files")),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "oracle_arch_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "thread" UNSIGNED_BIGINT CHECK (typeof("thread") IN ('integer', 'null')),
    "sequence" UNSIGNED_BIGINT CHECK (typeof("sequence") IN ('integer', 'null')),
    "reset_scn" UNSIGNED_BIGINT CHECK (typeof("reset_scn") IN ('integer', 'null')),
    "reset_time" TIME_TEXT CHECK (datetime("reset_time", '+0 days') = "reset_time"),
    "next_scn" UNSIGNED_BIGINT CHECK (typeof("next_scn") IN ('integer', 'null')),
    "next_time" TIME_TEXT CHECK (datetime("next_time", '+0 days') = "next_time"),
    "archived" BOOLEAN CHECK ("archived" IN (0, 1)),
    "timezone_offset" BIGINT CHECK (typeof("timezone_offset") IN ('integer', 'null')),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "oracle_exp_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "exp_type" TEXT CHECK (typeof("exp_type") IN ('text', 'null')),
    "exp_mode" TEXT CHECK (typeof("exp_mode") IN ('text', 'null')),
    "object_name" TEXT CHECK (typeof("object_name") IN ('text', 'null')),
    "database" TEXT CHECK (typeof("database") IN ('text', 'null')),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "dmdb_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "seq" BIGINT CHECK (typeof("seq") IN ('integer', 'null')),
    "channels" BIGINT CHECK (typeof("channels") IN ('integer', 'null')),
    "hash_algorithm" TEXT CHECK (typeof("hash_algorithm") IN ('text', 'null')),
    "pool_type" TEXT CHECK (typeof("pool_type") IN ('text', 'null')),
    "multidevice" BOOLEAN CHECK ("multidevice" IN (0, 1)),
    "encryption" TEXT CHECK (typeof("encryption") IN ('text', 'null')),
    "backup_version" BIGINT CHECK (typeof("backup_version") IN ('integer', 'null')),
    "object" TEXT CHECK (typeof("object") IN ('text', 'null')),
    "compression" TEXT CHECK (typeof("compression") IN ('text', 'null')),
    "backup_set" TEXT CHECK (typeof("backup_set") IN ('text', 'null')),
    "backup_base" TEXT CHECK (typeof("backup_base") IN ('text', 'null')),
    "arch_log_start" BIGINT CHECK (typeof("arch_log_start") IN ('integer', 'null')),
    "arch_log_end" BIGINT CHECK (typeof("arch_log_end") IN ('integer', 'null')),
    "permanent_db_magic" BIGINT CHECK (typeof("permanent_db_magic") IN ('integer', 'null')),
    "db_magic" BIGINT CHECK (typeof("db_magic") IN ('integer', 'null')),
    "case_sensitive" BIGINT CHECK (typeof("case_sensitive") IN ('integer', 'null')),
    "unicode_flag" BIGINT CHECK (typeof("unicode_flag") IN ('integer', 'null')),
    "page_size" BIGINT CHECK (typeof("page_size") IN ('integer', 'null')),
    "extent_size" BIGINT CHECK (typeof("extent_size") IN ('integer', 'null')),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "dmdb_log_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "seq" BIGINT CHECK (typeof("seq") IN ('integer', 'null')),
    "backup_version" BIGINT CHECK (typeof("backup_version") IN ('integer', 'null')),
    "dm_type" BIGINT CHECK (typeof("dm_type") IN ('integer', 'null')),
    "compression" TEXT CHECK (typeof("compression") IN ('text', 'null')),
    "backup_set" TEXT CHECK (typeof("backup_set") IN ('text', 'null')),
    "arch_start_time" TEXT CHECK (typeof("arch_start_time") IN ('text', 'null')),
    "arch_end_time" TEXT CHECK (typeof("arch_end_time") IN ('text', 'null')),
    "permanent_db_magic" BIGINT CHECK (typeof("permanent_db_magic") IN ('integer', 'null')),
    "db_magic" BIGINT CHECK (typeof("db_magic") IN ('integer', 'null')),
    "timezone_offset" BIGINT CHECK (typeof("timezone_offset") IN ('integer', 'null')),
    "number" BIGINT CHECK (typeof("number") IN ('integer', 'null')),
    "active" BOOLEAN CHECK ("active" IN (0, 1)),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "dmdb_logical_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "seq" BIGINT CHECK (typeof("seq") IN ('integer', 'null')),
    "backup_version" BIGINT CHECK (typeof("backup_version") IN ('integer', 'null')),
    "backup_set" TEXT CHECK (typeof("backup_set") IN ('text', 'null')),
    "case_sensitive" BIGINT CHECK (typeof("case_sensitive") IN ('integer', 'null')),
    "dm_type" TEXT CHECK (typeof("dm_type") IN ('text', 'null')),
    "exp_mode" TEXT CHECK (typeof("exp_mode") IN ('text', 'null')),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "postgres_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "seq" BIGINT CHECK (typeof("seq") IN ('integer', 'null')),
    "db_info" JSON_TEXT CHECK ("db_info" IS NULL OR json_valid("db_info")),
    "db_size" JSON_TEXT CHECK ("db_size" IS NULL OR json_valid("db_size")),
    "mtf" BIGINT CHECK (typeof("mtf") IN ('integer', 'null')),
    "flavor" TEXT CHECK (typeof("flavor") IN ('text', 'null')),
    "grade" TEXT CHECK (typeof("grade") IN ('text', 'null')),
    "format" TEXT CHECK (typeof("format") IN ('text', 'null')),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "postgres_physical_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "log_branch" TEXT CHECK (typeof("log_branch") IN ('text', 'null')),
    "checkpoint_location" TEXT CHECK (typeof("checkpoint_location") IN ('text', 'null')),
    "timeline" TEXT CHECK (typeof("timeline") IN ('text', 'null')),
    "start_wal_file" TEXT CHECK (typeof("start_wal_file") IN ('text', 'null')),
    "start_wal_location" TEXT CHECK (typeof("start_wal_location") IN ('text', 'null')),
    "stop_wal_file" TEXT CHECK (typeof("stop_wal_file") IN ('text', 'null')),
    "stop_wal_location" TEXT CHECK (typeof("stop_wal_location") IN ('text', 'null')),
    "data_dir" TEXT CHECK (typeof("data_dir") IN ('text', 'null')),
    "archivelog_dir" TEXT CHECK (typeof("archivelog_dir") IN ('text', 'null')),
    "os_user" TEXT CHECK (typeof("os_user") IN ('text', 'null')),
    "suffix" TEXT CHECK (typeof("suffix") IN ('text', 'null')),
    "tablespace_path" JSON_TEXT CHECK ("tablespace_path" IS NULL OR json_valid("tablespace_path")),
    "from_wal_location" TEXT CHECK (typeof("from_wal_location") IN ('text', 'null')),
    "channels" BIGINT CHECK (typeof("channels") IN ('integer', 'null')),
    "contain_log" BIGINT CHECK (typeof("contain_log") IN ('integer', 'null')),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "hive_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "last_repl_id" TEXT CHECK (typeof("last_repl_id") IN ('text', 'null')),
    "seq" BIGINT CHECK (typeof("seq") IN ('integer', 'null')),
    "channels" BIGINT CHECK (typeof("channels") IN ('integer', 'null')),
    "hash_algorithm" TEXT CHECK (typeof("hash_algorithm") IN ('text', 'null')),
    "pool_type" TEXT CHECK (typeof("pool_type") IN ('text', 'null')),
    "multidevice" BOOLEAN CHECK ("multidevice" IN (0, 1)),
    "encryption" TEXT CHECK (typeof("encryption") IN ('text', 'null')),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "hana_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "lifeline" TEXT CHECK (typeof("lifeline") IN ('text', 'null')),
    "sid" TEXT CHECK (typeof("sid") IN ('text', 'null')),
    "system_version" TEXT CHECK (typeof("system_version") IN ('text', 'null')),
    "instance_num" UNSIGNED_BIGINT CHECK (typeof("instance_num") IN ('integer', 'null')),
    "instance_name" TEXT CHECK (typeof("instance_name") IN ('text', 'null')),
    "extended_attrs" TEXT CHECK (typeof("extended_attrs") IN ('text', 'null')),
    "database" TEXT CHECK (typeof("database") IN ('text', 'null')),
    "database_backup_id" UNSIGNED_BIGINT CHECK (typeof("database_backup_id") IN ('integer', 'null')),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "db2_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "database" TEXT CHECK (typeof("database") IN ('text', 'null')),
    "base_start_point" BIGINT CHECK (typeof("base_start_point") IN ('integer', 'null')),
    "meta_file" TEXT CHECK (typeof("meta_file") IN ('text', 'null')),
    "archive_dir" TEXT CHECK (typeof("archive_dir") IN ('text', 'null')),
    "archive_first_log" TEXT CHECK (typeof("archive_first_log") IN ('text', 'null')),
    "archive_last_log" TEXT CHECK (typeof("archive_last_log") IN ('text', 'null')),
    "archive_start_time" TIME_TEXT CHECK (datetime("archive_start_time", '+0 days') = "archive_start_time"),
    "archive_end_time" TIME_TEXT CHECK (datetime("archive_end_time", '+0 days') = "archive_end_time"),
    "is_archive_set" BOOLEAN CHECK ("is_archive_set" IN (0, 1)),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "gaussdb_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "meta_destination" TEXT CHECK (typeof("meta_destination") IN ('text', 'null')),
    "backup_key" TEXT CHECK (typeof("backup_key") IN ('text', 'null')),
    "prior_backup_key" TEXT CHECK (typeof("prior_backup_key") IN ('text', 'null')),
    "nodes_count" BIGINT CHECK (typeof("nodes_count") IN ('integer', 'null')),
    "series" BIGINT CHECK (typeof("series") IN ('integer', 'null')),
    "timeline" TEXT CHECK (typeof("timeline") IN ('text', 'null')),
    "compression" TEXT CHECK (typeof("compression") IN ('text', 'null')),
    "seq" BIGINT CHECK (typeof("seq") IN ('integer', 'null')),
    "granularity" TEXT CHECK (typeof("granularity") IN ('text', 'null')),
    "database" TEXT CHECK (typeof("database") IN ('text', 'null')),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "mongodb_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "seq" BIGINT CHECK (typeof("seq") IN ('integer', 'null')),
    "arch_log_start" BIGINT CHECK (typeof("arch_log_start") IN ('integer', 'null')),
    "arch_log_end" BIGINT CHECK (typeof("arch_log_end") IN ('integer', 'null')),
    "arch_log_start_i" BIGINT CHECK (typeof("arch_log_start_i") IN ('integer', 'null')),
    "arch_log_end_i" BIGINT CHECK (typeof("arch_log_end_i") IN ('integer', 'null')),
    "archive" BIGINT CHECK (typeof("archive") IN ('integer', 'null')),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "domino_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "seq" BIGINT CHECK (typeof("seq") IN ('integer', 'null')),
    "source_type" TEXT CHECK (typeof("source_type") IN ('text', 'null')),
    "data_path" TEXT CHECK (typeof("data_path") IN ('text', 'null')),
    "compression" TEXT CHECK (typeof("compression") IN ('text', 'null')),
    "daos" TEXT CHECK (typeof("daos") IN ('text', 'null')),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "oscar_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "seq" BIGINT CHECK (typeof("seq") IN ('integer', 'null')),
    "tablespaces" JSON_TEXT CHECK ("tablespaces" IS NULL OR json_valid("tablespaces")),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "oscar_brcmd_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "backup_id" TEXT CHECK (typeof("backup_id") IN ('text', 'null')),
    "last_backup_id" TEXT CHECK (typeof("last_backup_id") IN ('text', 'null')),
    "last_full_backup_id" TEXT CHECK (typeof("last_full_backup_id") IN ('text', 'null')),
    "backup_file" TEXT CHECK (typeof("backup_file") IN ('text', 'null')),
    "backup_lsn" BIGINT CHECK (typeof("backup_lsn") IN ('integer', 'null')),
    "backup_scn" BIGINT CHECK (typeof("backup_scn") IN ('integer', 'null')),
    "last_backup_lsn" BIGINT CHECK (typeof("last_backup_lsn") IN ('integer', 'null')),
    "last_backup_scn" BIGINT CHECK (typeof("last_backup_scn") IN ('integer', 'null')),
    "last_full_backup_lsn" BIGINT CHECK (typeof("last_full_backup_lsn") IN ('integer', 'null')),
    "last_full_backup_scn" BIGINT CHECK (typeof("last_full_backup_scn") IN ('integer', 'null')),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "kingbase_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "seq" BIGINT CHECK (typeof("seq") IN ('integer', 'null')),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "cachedb_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "start_log" TEXT CHECK (typeof("start_log") IN ('text', 'null')),
    "end_log" TEXT CHECK (typeof("end_log") IN ('text', 'null')),
    "current_log" TEXT CHECK (typeof("current_log") IN ('text', 'null')),
    "journal_dir" TEXT CHECK (typeof("journal_dir") IN ('text', 'null')),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "ndmp_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "backup_type" TEXT CHECK (typeof("backup_type") IN ('text', 'null')),
    "seq" UNSIGNED_BIGINT CHECK (typeof("seq") IN ('integer', 'null')),
    "level" UNSIGNED_BIGINT CHECK (typeof("level") IN ('integer', 'null')),
    "compression" TEXT CHECK (typeof("compression") IN ('text', 'null')),
    "vols" TEXT CHECK (typeof("vols") IN ('text', 'null')),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "informix_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "pre_seal_time" TIME_TEXT CHECK (datetime("pre_seal_time", '+0 days') = "pre_seal_time"),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "sharepoint_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "device_uuid" TEXT CHECK (typeof("device_uuid") IN ('text', 'null')),
    "database" TEXT CHECK (typeof("database") IN ('text', 'null')),
    "domain" TEXT CHECK (typeof("domain") IN ('text', 'null')),
    "backup_method" TEXT CHECK (typeof("backup_method") IN ('text', 'null')),
    "rev" BIGINT CHECK (typeof("rev") IN ('integer', 'null')),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "vmware_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "vm_uuid" TEXT CHECK (typeof("vm_uuid") IN ('text', 'null')),
    "instance_uuid" TEXT CHECK (typeof("instance_uuid") IN ('text', 'null')),
    "parent_uuid" TEXT CHECK (typeof("parent_uuid") IN ('text', 'null')),
    "vm_name" TEXT CHECK (typeof("vm_name") IN ('text', 'null')),
    "esxi_name" TEXT CHECK (typeof("esxi_name") IN ('text', 'null')),
    "esxi_uuid" TEXT CHECK (typeof("esxi_uuid") IN ('text', 'null')),
    "esxi_moid" TEXT CHECK (typeof("esxi_moid") IN ('text', 'null')),
    "vcenter_name" TEXT CHECK (typeof("vcenter_name") IN ('text', 'null')),
    "firmware" TEXT CHECK (typeof("firmware") IN ('text', 'null')),
    "guestos_id" TEXT CHECK (typeof("guestos_id") IN ('text', 'null')),
    "version" TEXT CHECK (typeof("version") IN ('text', 'null')),
    "memory_size" UNSIGNED_BIGINT CHECK (typeof("memory_size") IN ('integer', 'null')),
    "cpu_num" UNSIGNED_BIGINT CHECK (typeof("cpu_num") IN ('integer', 'null')),
    "cpu_cores_per_socket" UNSIGNED_BIGINT CHECK (typeof("cpu_cores_per_socket") IN ('integer', 'null')),
    "controllers" JSON_TEXT CHECK ("controllers" IS NULL OR json_valid("controllers")),
    "network_adapters" JSON_TEXT CHECK ("network_adapters" IS NULL OR json_valid("network_adapters")),
    "cd_roms" JSON_TEXT CHECK ("cd_roms" IS NULL OR json_valid("cd_roms")),
    "tags" JSON_TEXT CHECK ("tags" IS NULL OR json_valid("tags")),
    "resource_pool_name" TEXT CHECK (typeof("resource_pool_name") IN ('text', 'null')),
    "resource_pool_moid" TEXT CHECK (typeof("resource_pool_moid") IN ('text', 'null')),
    "folder_moid" TEXT CHECK (typeof("folder_moid") IN ('text', 'null')),
    "datastore" TEXT CHECK (typeof("datastore") IN ('text', 'null')),
    "snapshot_id" TEXT CHECK (typeof("snapshot_id") IN ('text', 'null')),
    "merge_backup_id" TEXT CHECK (typeof("merge_backup_id") IN ('text', 'null')),
    "is_template" BOOLEAN CHECK ("is_template" IN (0, 1)),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "hyperv_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "vm_name" TEXT CHECK (typeof("vm_name") IN ('text', 'null')),
    "vm_guid" TEXT CHECK (typeof("vm_guid") IN ('text', 'null')),
    "vm_setting_id" TEXT CHECK (typeof("vm_setting_id") IN ('text', 'null')),
    "vm_prev_setting_id" TEXT CHECK (typeof("vm_prev_setting_id") IN ('text', 'null')),
    "vm_config_version" TEXT CHECK (typeof("vm_config_version") IN ('text', 'null')),
    "vm_generation" BIGINT CHECK (typeof("vm_generation") IN ('integer', 'null')),
    "memory_mbytes" BIGINT CHECK (typeof("memory_mbytes") IN ('integer', 'null')),
    "cpu_count" BIGINT CHECK (typeof("cpu_count") IN ('integer', 'null')),
    "network_adapters" JSON_TEXT CHECK ("network_adapters" IS NULL OR json_valid("network_adapters")),
    "controllers" JSON_TEXT CHECK ("controllers" IS NULL OR json_valid("controllers")),
    "drives" JSON_TEXT CHECK ("drives" IS NULL OR json_valid("drives")),
    "vhd_chains" JSON_TEXT CHECK ("vhd_chains" IS NULL OR json_valid("vhd_chains")),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "openstack_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "vm_id" TEXT CHECK (typeof("vm_id") IN ('text', 'null')),
    "vm_name" TEXT CHECK (typeof("vm_name") IN ('text', 'null')),
    "backup_uuid" TEXT CHECK (typeof("backup_uuid") IN ('text', 'null')),
    "last_backup_uuid" TEXT CHECK (typeof("last_backup_uuid") IN ('text', 'null')),
    "last_full_backup_uuid" TEXT CHECK (typeof("last_full_backup_uuid") IN ('text', 'null')),
    "profile" JSON_TEXT CHECK ("profile" IS NULL OR json_valid("profile")),
    "volumes" JSON_TEXT CHECK ("volumes" IS NULL OR json_valid("volumes")),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "ics_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "vm_name" TEXT CHECK (typeof("vm_name") IN ('text', 'null')),
    "vm_id" TEXT CHECK (typeof("vm_id") IN ('text', 'null')),
    "vm_uuid" TEXT CHECK (typeof("vm_uuid") IN ('text', 'null')),
    "vm_version" TEXT CHECK (typeof("vm_version") IN ('text', 'null')),
    "datacenter_id" TEXT CHECK (typeof("datacenter_id") IN ('text', 'null')),
    "owner_host_id" TEXT CHECK (typeof("owner_host_id") IN ('text', 'null')),
    "owner_host_ip" TEXT CHECK (typeof("owner_host_ip") IN ('text', 'null')),
    "owner_host_name" TEXT CHECK (typeof("owner_host_name") IN ('text', 'null')),
    "base_info" JSON_TEXT CHECK ("base_info" IS NULL OR json_valid("base_info")),
    "cpu_info" JSON_TEXT CHECK ("cpu_info" IS NULL OR json_valid("cpu_info")),
    "mem_info" JSON_TEXT CHECK ("mem_info" IS NULL OR json_valid("mem_info")),
    "aggregates" JSON_TEXT CHECK ("aggregates" IS NULL OR json_valid("aggregates")),
    "boot_devices" JSON_TEXT CHECK ("boot_devices" IS NULL OR json_valid("boot_devices")),
    "floppys" JSON_TEXT CHECK ("floppys" IS NULL OR json_valid("floppys")),
    "cdroms" JSON_TEXT CHECK ("cdroms" IS NULL OR json_valid("cdroms")),
    "nics" JSON_TEXT CHECK ("nics" IS NULL OR json_valid("nics")),
    "gpus" JSON_TEXT CHECK ("gpus" IS NULL OR json_valid("gpus")),
    "usbs" JSON_TEXT CHECK ("usbs" IS NULL OR json_valid("usbs")),
    "vm_extended_attrs" JSON_TEXT CHECK ("vm_extended_attrs" IS NULL OR json_valid("vm_extended_attrs")),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "fusioncompute_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "vm_name" TEXT CHECK (typeof("vm_name") IN ('text', 'null')),
    "vm_uuid" TEXT CHECK (typeof("vm_uuid") IN ('text', 'null')),
    "vm_uri" TEXT CHECK (typeof("vm_uri") IN ('text', 'null')),
    "location_urn" TEXT CHECK (typeof("location_urn") IN ('text', 'null')),
    "os_type" TEXT CHECK (typeof("os_type") IN ('text', 'null')),
    "os_version" BIGINT CHECK (typeof("os_version") IN ('integer', 'null')),
    "cpu_count" BIGINT CHECK (typeof("cpu_count") IN ('integer', 'null')),
    "memory_mbytes" BIGINT CHECK (typeof("memory_mbytes") IN ('integer', 'null')),
    "network_adapters" JSON_TEXT CHECK ("network_adapters" IS NULL OR json_valid("network_adapters")),
    "volumes" JSON_TEXT CHECK ("volumes" IS NULL OR json_valid("volumes")),
    "snapshot_urn" TEXT CHECK (typeof("snapshot_urn") IN ('text', 'null')),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "fusioncloud_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "vm_id" TEXT CHECK (typeof("vm_id") IN ('text', 'null')),
    "vm_name" TEXT CHECK (typeof("vm_name") IN ('text', 'null')),
    "project_id" TEXT CHECK (typeof("project_id") IN ('text', 'null')),
    "project_name" TEXT CHECK (typeof("project_name") IN ('text', 'null')),
    "vm_profile" JSON_TEXT CHECK ("vm_profile" IS NULL OR json_valid("vm_profile")),
    "flavor_profile" JSON_TEXT CHECK ("flavor_profile" IS NULL OR json_valid("flavor_profile")),
    "interfaces_profile" JSON_TEXT CHECK ("interfaces_profile" IS NULL OR json_valid("interfaces_profile")),
    "image_profile" JSON_TEXT CHECK ("image_profile" IS NULL OR json_valid("image_profile")),
    "volumes_profile" JSON_TEXT CHECK ("volumes_profile" IS NULL OR json_valid("volumes_profile")),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "h3ccas_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "cvk_host_id" TEXT CHECK (typeof("cvk_host_id") IN ('text', 'null')),
    "cvk_host_name" TEXT CHECK (typeof("cvk_host_name") IN ('text', 'null')),
    "cvk_host_ip" TEXT CHECK (typeof("cvk_host_ip") IN ('text', 'null')),
    "vm_id" TEXT CHECK (typeof("vm_id") IN ('text', 'null')),
    "vm_title" TEXT CHECK (typeof("vm_title") IN ('text', 'null')),
    "vm_name" TEXT CHECK (typeof("vm_name") IN ('text', 'null')),
    "vm_config_path" TEXT CHECK (typeof("vm_config_path") IN ('text', 'null')),
    "cbt_name" TEXT CHECK (typeof("cbt_name") IN ('text', 'null')),
    "vm_disks" JSON_TEXT CHECK ("vm_disks" IS NULL OR json_valid("vm_disks")),
    "cpu_count" BIGINT CHECK (typeof("cpu_count") IN ('integer', 'null')),
    "cpu_cores" BIGINT CHECK (typeof("cpu_cores") IN ('integer', 'null')),
    "memory_mbytes" BIGINT CHECK (typeof("memory_mbytes") IN ('integer', 'null')),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "cloudos_backup_set" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "host_id" TEXT CHECK (typeof("host_id") IN ('text', 'null')),
    "host_name" TEXT CHECK (typeof("host_name") IN ('text', 'null')),
    "vm_id" TEXT CHECK (typeof("vm_id") IN ('text', 'null')),
    "vm_name" TEXT CHECK (typeof("vm_name") IN ('text', 'null')),
    "vm_disks" JSON_TEXT CHECK ("vm_disks" IS NULL OR json_valid("vm_disks")),
    "vm_config" JSON_TEXT CHECK ("vm_config" IS NULL OR json_valid("vm_config")),
    "snapshot_id" TEXT CHECK (typeof("snapshot_id") IN ('text', 'null')),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
INSERT INTO "catalog_schema" ("version") VALUES (1);
