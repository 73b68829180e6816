// K8S_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/k8s_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct K8S_Set : Set_Description<K8S_Set, K8S_Backup_Set>
{
    static constexpr const char* stem = "k8s_backup_set";
    static constexpr const char* module = "kubernetes";

    static void select(Select_SQL& sql) { K8S_Backup_Set::init_select_sql(sql, "b"); } // the common one
    static std::string selected() { return common_columns("b") + R"( FROM "backup_set" AS "b")"; }

    static constexpr const char* fresh = R"(,"seq":0,"channels":0,"pvc_backup_type":"","backup_details":[])";

    static void fill(K8S_Backup_Set& set)
    {
        set.seq = -9223372036854775801;
        set.pvc_backup_type = "the pvc backup type";
        set.channels = -9223372036854775802;
        set.backup_details = {"detail", json_spirit::Object{{"n", 1}}};
    }
    static constexpr const char* filled =
        R"(,"seq":-9223372036854775801,"channels":-9223372036854775802,"pvc_backup_type":"the pvc backup type",)"
        R"("backup_details":["detail",{"n":1}])";

    static void forget(K8S_Backup_Set& set)
    {
        set.seq = 0;
        set.pvc_backup_type.clear();
        set.channels = 0;
        set.backup_details.clear();
    }
};

} // namespace record_test
