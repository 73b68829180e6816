// MySQL_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/mysql_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct MySQL_Set : Set_Description<MySQL_Set, MySQL_Backup_Set>
{
    static constexpr const char* stem = "mysql_backup_set";
    static constexpr const char* module = "";
    static constexpr const char* agent = "mysql"; // the module does not say the type
    static constexpr bool selects_common = false;

    /// Its select adds nothing, to whatever stands there.
    static void select(Select_SQL& sql)
    {
        sql.table("other", "o").add_key("o.a", "a");
        MySQL_Backup_Set::init_select_sql(sql, "b");
    }
    static std::string selected() { return R"(SELECT "o"."a" AS "a" FROM "other" AS "o")"; }

    static constexpr const char* fresh = R"(,"seq":0,"mtf":false,"channels":0,"gtid_type":false,"group_id":0)";

    static void fill(MySQL_Backup_Set& set)
    {
        set.seq = 4294967201;
        set.mtf = true;
        set.channels = -2147483597;
        set.gtid_type = true;
        set.group_id = -2147483595;
        set.timezone_offset = -2147483594;
        set.start_log_pos = 9000000000000000007;
        set.next_log_pos = 9000000000000000008;
        set.cycle = -2147483591;
        set.point = -2147483590;
        set.level = -2147483589;
        set.log_branch = "the log branch";
        set.start_log = "the start log";
        set.next_log = "the next log";
        set.stage_id = "the stage id";
        set.snapshot_id = "the snapshot id";
        set.server_uuid = "the server uuid";
        set.charset = "the charset";
        set.object = "the object";
        set.gbase_cluster_uuid = "the gbase cluster uuid";
        set.data_type = "the data type";
        set.binlog_create_time = 1000000022;
        set.backup_time = 1000000023;
        set.files = {{"first db", "first file", "first name"}, {"second db", "second file", ""}};
        set.start_gtids = {"start_gtids", json_spirit::Object{{"n", 25}}};
        set.end_gtids = {"end_gtids", json_spirit::Object{{"n", 26}}};
    }
    static constexpr const char* filled =
        R"(,"seq":4294967201,"mtf":true,"channels":-2147483597,"gtid_type":true,"group_id":-2147483595,)"
        R"("timezone_offset":-2147483594,"start_log_pos":9000000000000000007,"next_log_pos":9000000000000000008,)"
        R"("cycle":-2147483591,"point":-2147483590,"level":-2147483589,"log_branch":"the log branch",)"
        R"("start_log":"the start log","next_log":"the next log","stage_id":"the stage id",)"
        R"("snapshot_id":"the snapshot id","server_uuid":"the server uuid","charset":"the charset",)"
        R"("object":"the object","gbase_cluster_uuid":"the gbase cluster uuid","data_type":"the data type",)"
        R"("binlog_create_time":"2001-09-09 01:47:02","backup_time":"2001-09-09 01:47:03",)"
        R"("backup_files":[{"database":"first db","vc_name":"first name","file":"first file"},)"
        R"({"database":"second db","vc_name":"","file":"second file"}],"start_gtids":["start_gtids",{"n":25}],)"
        R"("end_gtids":["end_gtids",{"n":26}])";

    static std::vector<Intake> intake()
    {
        return {
            {PRINT_CSTR,
             TO_BASE,
             {{STRING,
               {"log_branch", "start_log", "next_log", "stage_id", "snapshot_id", "server_uuid", "charset", "object",
                "gbase_cluster_uuid", "data_type"}},
              {POSIX_TIME, {"binlog_create_time", "backup_time"}}}},
            {PRINT_INT,
             TO_BASE,
             {{UINT_32, {"seq"}},
              {INT_32, {"timezone_offset", "channels", "cycle", "point", "level", "group_id"}},
              {BOOL, {"mtf", "gtid_type"}},
              {INT_64, {"start_log_pos", "next_log_pos"}}}},
            {PRINT_JSON, TO_BASE, {{ARRAY, {"start_gtids", "end_gtids"}}}},
        };
    }

    static std::set<std::string> left_out_when_empty()
    {
        return {"log_branch", "start_log", "next_log",           "stage_id",  "snapshot_id", "server_uuid",
                "charset",    "object",    "gbase_cluster_uuid", "data_type", "start_gtids", "end_gtids"};
    }
};

} // namespace record_test
