// Sybase_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/sybase_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct Sybase_Set : Set_Description<Sybase_Set, Sybase_Backup_Set>
{
    static constexpr const char* stem = "sybase_backup_set";
    static constexpr const char* module = "sybase";

    static void select(Select_SQL& sql) { Sybase_Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected() { return common_columns("b") + R"( FROM "backup_set" AS "b")"; }

    static constexpr const char* fresh =
        R"(,"resource_name":"","database":"","dbtype":"","last_dumptrdate":"","current_dumptrdate":"",)"
        R"("fork_point_uuid":"","recovery_fork_guid":"","compression":"","piece_name":"","dev_size":0)";

    static void fill(Sybase_Backup_Set& set)
    {
        set.resource_name = "the resource name";
        set.database = "the database";
        set.dbtype = "the dbtype";
        set.last_dumptrdate = "the last dumptrdate";
        set.current_dumptrdate = "the current dumptrdate";
        set.fork_point_uuid = "the fork point uuid";
        set.recovery_fork_guid = "the recovery fork guid";
        set.compression = "the compression";
        set.piece_name = "the piece name";
        set.dev_size = 9000000000000000010;
    }
    static constexpr const char* filled =
        R"(,"resource_name":"the resource name","database":"the database","dbtype":"the dbtype",)"
        R"("last_dumptrdate":"the last dumptrdate","current_dumptrdate":"the current dumptrdate",)"
        R"("fork_point_uuid":"the fork point uuid","recovery_fork_guid":"the recovery fork guid",)"
        R"("compression":"the compression","piece_name":"the piece name","dev_size":9000000000000000010)";
    static void forget(Sybase_Backup_Set& set)
    {
        set.resource_name.clear();
        set.database.clear();
        set.dbtype.clear();
        set.last_dumptrdate.clear();
        set.current_dumptrdate.clear();
        set.fork_point_uuid.clear();
        set.recovery_fork_guid.clear();
        set.compression.clear();
        set.piece_name.clear();
        set.dev_size = 0;
    }
};

} // namespace record_test
