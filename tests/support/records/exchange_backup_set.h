// Exchange_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/exchange_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct Exchange_Set : Set_Description<Exchange_Set, Exchange_Backup_Set>
{
    static constexpr const char* stem = "exchange_backup_set";
    static constexpr const char* module = "";
    static constexpr const char* agent = "exchange"; // the module does not say the type

    static void select(Select_SQL& sql) { Exchange_Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected() { return common_columns("b") + R"( FROM "backup_set" AS "b")"; }

    static constexpr const char* fresh =
        R"(,"device_uuid":"","database":"","backup_method":"","rev":0,"exchange_build":0,"channels":1,"storages":[],)"
        R"("mailboxes":[])";

    static void fill(Exchange_Backup_Set& set)
    {
        set.device_uuid = "the device uuid";
        set.database = "the database";
        set.backup_method = "the backup method";
        set.rev = -2147483596;
        set.exchange_build = -2147483595;
        set.channels = -2147483594;
        set.storages = {"storages", json_spirit::Object{{"n", 7}}};
        set.mailboxes = {"mailboxes", json_spirit::Object{{"n", 8}}};
    }
    static constexpr const char* filled =
        R"(,"device_uuid":"the device uuid","database":"the database","backup_method":"the backup method",)"
        R"("rev":-2147483596,"exchange_build":-2147483595,"channels":-2147483594,"storages":["storages",{"n":7}],)"
        R"("mailboxes":["mailboxes",{"n":8}])";
    static void forget(Exchange_Backup_Set& set)
    {
        set.device_uuid.clear();
        set.database.clear();
        set.backup_method.clear();
        set.rev = 0;
        set.exchange_build = 0;
        set.channels = 1;
        set.storages.clear();
        set.mailboxes.clear();
    }
};

} // namespace record_test
