// Backup_Set_Storage, described for tests.
#pragma once

#include "backup_set/common/backup_set_storage.h"
#include "tests/support/record_description.h"

namespace record_test {

struct Storage : Record_Description<Backup_Set_Storage>
{
    static constexpr const char* stem = "backup_set_storage";
    static constexpr bool selects_common = false;

    static void select(Select_SQL& sql) { Backup_Set_Storage::init_select_sql(sql, "s"); }
    static std::string selected()
    {
        return R"(SELECT "s"."id" AS "id", "s"."set_uuid" AS "set_uuid", "s"."pool_uuid" AS "pool_uuid", )"
               R"("s"."size" AS "size", "s"."state" AS "state", "s"."upstream_pool_uuid" AS "upstream_pool_uuid", )"
               R"("s"."extended_attrs" AS "extended_attrs" FROM "backup_set_storage" AS "s")";
    }

    static std::string fresh_document() { return R"({"pool_uuid":"","size":0,"state":[],"extended_attrs":{}})"; }

    static void fill_all(Backup_Set_Storage& storage)
    {
        storage.set_uuid = filled_set_uuid;
        storage.pool_uuid = "0b000000-0000-4000-8000-000000000001";
        storage.size = -9223372036854775807;
        storage.state.value = 18446744073709551615U;
        storage.upstream_pool_uuid = "0b000000-0000-4000-8000-000000000002";
        storage.extended_attrs = {{"attrs", json_spirit::Array{1, "two"}}};
    }
    static std::string filled_document()
    {
        return R"({"pool_uuid":"0b000000-0000-4000-8000-000000000001","size":-9223372036854775807,)"
               R"("state":["online","offline","nearline","expired","replicated","warmup","incomplete","unsync","virtual"],)"
               R"("upstream_pool_uuid":"0b000000-0000-4000-8000-000000000002","extended_attrs":{"attrs":[1,"two"]}})";
    }
    /// The document shows neither the owner nor bits without a name.
    static std::string unwritten(const Backup_Set_Storage& storage)
    {
        return R"(,"set_uuid":)" + json_quoted(storage.set_uuid) + R"(,"state":)"
               + std::to_string(static_cast<ACE_INT64>(storage.state.value));
    }

    static std::vector<Intake> intake()
    {
        return {
            {PRINT_CSTR, TO_NOTHING, {{STRING, {"set_uuid", "pool_uuid", "upstream_pool_uuid"}}}},
            {PRINT_INT, TO_NOTHING, {{INT_64, {"size"}}}},
            {PRINT_JSON, TO_NOTHING, {{OBJECT, {"extended_attrs"}}}},
        };
    }
    static std::set<std::string> left_out_when_empty() { return {"upstream_pool_uuid"}; }
    static std::set<std::pair<Callback, std::string>> taken_apart() { return {{PRINT_INT, "state"}}; }

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"backup_set_storage",
                 {{"id", INTEGER, "5"},
                  {"pool_uuid", UUID},
                  {"size", INTEGER},
                  {"state", INTEGER, "-1"},
                  {"upstream_pool_uuid", UUID},
                  {"extended_attrs", JSON}}}};
    }
    static Backup_Set_Storage loaded() { return filled_record<Storage>(); }
    static Backup_Set_Storage loaded_null()
    {
        Backup_Set_Storage storage;
        storage.set_uuid = filled_set_uuid;
        return storage;
    }
};

} // namespace record_test
