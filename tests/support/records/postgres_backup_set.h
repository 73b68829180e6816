// Postgres_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/postgres_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct Postgres_Set : Set_Description<Postgres_Set, Postgres_Backup_Set>
{
    static constexpr const char* stem = "postgres_backup_set";
    static constexpr const char* module = "postgres";

    static void select(Select_SQL& sql) { Postgres_Backup_Set::init_select_sql(sql, "p", "ph", "b"); }
    static std::string selected()
    {
        return common_columns("b")
               + R"(, "p"."seq" AS "seq", "p"."db_info" AS "db_info", "p"."db_size" AS "db_size", )"
                 R"("p"."mtf" AS "mtf", "p"."flavor" AS "flavor", "p"."grade" AS "grade", "p"."format" AS "format", )"
                 R"("ph"."log_branch" AS "log_branch", "ph"."checkpoint_location" AS "checkpoint_location", )"
                 R"("ph"."timeline" AS "timeline", "ph"."start_wal_file" AS "start_wal_file", )"
                 R"("ph"."start_wal_location" AS "start_wal_location", "ph"."stop_wal_file" AS "stop_wal_file", )"
                 R"("ph"."stop_wal_location" AS "stop_wal_location", "ph"."data_dir" AS "data_dir", )"
                 R"("ph"."archivelog_dir" AS "archivelog_dir", "ph"."os_user" AS "os_user", )"
                 R"("ph"."suffix" AS "suffix", "ph"."tablespace_path" AS "tablespace_path", )"
                 R"("ph"."from_wal_location" AS "from_wal_location", "ph"."channels" AS "channels", )"
                 R"("ph"."contain_log" AS "contain_log" FROM "backup_set" AS "b" )"
                 R"(INNER JOIN "postgres_backup_set" AS "p" ON "p"."set_uuid" = "b"."uuid" )"
                 R"(INNER JOIN "postgres_physical_set" AS "ph" ON "ph"."set_uuid" = "b"."uuid")";
    }

    static constexpr const char* fresh =
        R"(,"seq":0,"mtf":false,"channels":0,"has_meta":false,"contain_log":false,"multi_init":false,)"
        R"("tablespace_path":{})";

    static void fill(Postgres_Backup_Set& set)
    {
        set.seq = 4294967201;
        set.mtf = true;
        set.channels = 4294967203;
        set.has_meta = true;
        set.contain_log = true;
        set.multi_init = true;
        set.db_info = {{"db_info of", json_spirit::Array{7, "x"}}};
        set.db_size = {{"db_size of", json_spirit::Array{8, "x"}}};
        set.log_branch = "the log branch";
        set.checkpoint_location = "the checkpoint location";
        set.timeline = "the timeline";
        set.start_wal_file = "the start wal file";
        set.start_wal_location = "the start wal location";
        set.stop_wal_file = "the stop wal file";
        set.stop_wal_location = "the stop wal location";
        set.data_dir = "the data dir";
        set.archivelog_dir = "the archivelog dir";
        set.os_user = "the os user";
        set.suffix = "the suffix";
        set.from_wal_location = "the from wal location";
        set.flavor = "the flavor";
        set.grade = "the grade";
        set.format = "the format";
        set.cluster_name = "the cluster name";
        set.meta_path = "the meta path";
        set.mnt = "the mnt";
        set.backup_label_time = 1000000027;
        set.tablespace_path = {{"tablespace_path of", json_spirit::Array{28, "x"}}};
        set.files = {{"first db", "first file", "first schema", "first table"}, {"", "second file", "", ""}};
        set.archive_logs = {"000000010000000000000002", "000000010000000000000001"};
    }
    static constexpr const char* filled =
        R"(,"seq":4294967201,"mtf":true,"channels":4294967203,"has_meta":true,"contain_log":true,"multi_init":true,)"
        R"("db_info":{"db_info of":[7,"x"]},"db_size":{"db_size of":[8,"x"]},"log_branch":"the log branch",)"
        R"("checkpoint_location":"the checkpoint location","timeline":"the timeline",)"
        R"("start_wal_file":"the start wal file","start_wal_location":"the start wal location",)"
        R"("stop_wal_file":"the stop wal file","stop_wal_location":"the stop wal location",)"
        R"("data_dir":"the data dir","archivelog_dir":"the archivelog dir","os_user":"the os user",)"
        R"("suffix":"the suffix","from_wal_location":"the from wal location","flavor":"the flavor",)"
        R"("grade":"the grade","format":"the format","cluster_name":"the cluster name","meta_path":"the meta path",)"
        R"("mnt":"the mnt","backup_label_time":"2001-09-09 01:47:07","tablespace_path":{"tablespace_path of":[28,)"
        R"("x"]},"backup_files":[{"database":"first db","file":"first file","schema":"first schema",)"
        R"("table":"first table"},{"database":"","file":"second file","schema":"","table":""}],)"
        R"("archive_log":[{"file":"000000010000000000000001"},{"file":"000000010000000000000002"}])";

    static std::vector<Intake> intake()
    {
        return {
            {PRINT_CSTR,
             TO_BASE,
             {{STRING,
               {"log_branch", "checkpoint_location", "timeline", "start_wal_file", "start_wal_location",
                "stop_wal_file", "stop_wal_location", "data_dir", "archivelog_dir", "os_user", "suffix",
                "from_wal_location", "flavor", "grade", "format", "cluster_name", "meta_path", "mnt"}},
              {POSIX_TIME, {"backup_label_time"}}}},
            {PRINT_INT,
             TO_BASE,
             {{UINT_32, {"seq", "channels"}}, {BOOL, {"mtf", "has_meta", "contain_log", "multi_init"}}}},
            {PRINT_JSON, TO_BASE, {{OBJECT, {"db_info", "db_size", "tablespace_path"}}}},
        };
    }

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"postgres_backup_set",
                 {{"seq", INTEGER},
                  {"db_info", JSON},
                  {"db_size", JSON},
                  {"mtf", INTEGER, "1"},
                  {"flavor", TEXT},
                  {"grade", TEXT},
                  {"format", TEXT}}},
                {"postgres_physical_set",
                 {{"log_branch", TEXT},
                  {"checkpoint_location", TEXT},
                  {"timeline", TEXT},
                  {"start_wal_file", TEXT},
                  {"start_wal_location", TEXT},
                  {"stop_wal_file", TEXT},
                  {"stop_wal_location", TEXT},
                  {"data_dir", TEXT},
                  {"archivelog_dir", TEXT},
                  {"os_user", TEXT},
                  {"suffix", TEXT},
                  {"tablespace_path", JSON},
                  {"from_wal_location", TEXT},
                  {"channels", INTEGER},
                  {"contain_log", INTEGER, "1"}}}};
    }
    static void forget(Postgres_Backup_Set& set)
    {
        set.cluster_name.clear();
        set.meta_path.clear();
        set.mnt.clear();
        set.has_meta = false;
        set.backup_label_time = 0;
        set.multi_init = false;
        set.files.clear();
        set.archive_logs.clear();
    }

    static std::set<std::string> left_out_when_empty()
    {
        return {"log_branch",    "checkpoint_location", "timeline", "start_wal_file", "start_wal_location",
                "stop_wal_file", "stop_wal_location",   "data_dir", "archivelog_dir", "os_user",
                "suffix",        "from_wal_location",   "flavor",   "grade",          "format",
                "cluster_name",  "meta_path",           "mnt",      "db_info",        "db_size"};
    }
};

} // namespace record_test
