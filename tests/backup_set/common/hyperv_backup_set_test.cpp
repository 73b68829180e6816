#include "tests/support/records/hyperv_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

#include <utility>

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(Hyper_V_Backup_Set, Record_Test, Hyper_V_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(Hyper_V_Backup_Set, Set_Record_Test, Hyper_V_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(Hyper_V_Backup_Set, Record_On_Engine_Test, On_Engines<Hyper_V_Set>, Engine_Names);

TEST(Hyper_V_Backup_Set, columns_can_be_added_under_the_alias_of_a_join)
{
    Select_SQL sql;
    sql.table("backup_set", "b").add_key("b.uuid", "uuid").join("hyperv_backup_set", "hv", "hv.set_uuid=b.uuid");
    EXPECT_EQ(&Hyper_V_Backup_Set::add_keys(sql, "hv"), &sql);
    EXPECT_EQ(sql.str(),
              R"(SELECT "b"."uuid" AS "uuid", "hv"."set_uuid" AS "set_uuid", "hv"."vm_name" AS "vm_name", )"
              R"("hv"."vm_guid" AS "vm_guid", "hv"."vm_setting_id" AS "vm_setting_id", )"
              R"("hv"."vm_prev_setting_id" AS "vm_prev_setting_id", )"
              R"("hv"."vm_config_version" AS "vm_config_version", "hv"."vm_generation" AS "vm_generation", )"
              R"("hv"."memory_mbytes" AS "memory_mbytes", "hv"."cpu_count" AS "cpu_count", )"
              R"("hv"."network_adapters" AS "network_adapters", "hv"."controllers" AS "controllers", )"
              R"("hv"."drives" AS "drives", "hv"."vhd_chains" AS "vhd_chains" )"
              R"(FROM "backup_set" AS "b" INNER JOIN "hyperv_backup_set" AS "hv" ON "hv"."set_uuid" = "b"."uuid")");
}

TEST(Hyper_V_Backup_Set, chains_are_written_in_the_order_of_their_names_bytes)
{
    Hyper_V_Backup_Set set;
    for (const char* name : {"b", "a", "\xcf\x80", "B", "", "a b"}) {
        set.vhd_chains[name].id = name;
    }
    const std::string text = to_json(set);
    std::size_t at = text.find(R"("vhd_chains":{)");
    for (const char* name : {"", "B", "a", "a b", "b", "\xcf\x80"}) {
        const std::size_t next = text.find('"' + std::string(name) + R"(":{"address_0":0,"address_1":0,)", at);
        ASSERT_NE(next, std::string::npos) << '"' << name << "\" in " << text;
        at = next;
    }
}

TEST(Hyper_V_Backup_Set, chain_without_files_writes_an_empty_array)
{
    JSON_Text text;
    YAJL_Gen gen(text.get());
    gen_vhd_chain(gen, {});
    EXPECT_EQ(text.view(), R"({"address_0":0,"address_1":0,"controller_type":"","total_size":0,"id":"","rct_id":"",)"
                           R"("vhds":[]})");
}

TEST(Hyper_V_Backup_Set, some_members_are_held_and_not_written)
{
    Hyper_V_Backup_Set set;
    set.controllers.resize(1);
    set.vhd_chains["c"].vhds.resize(1);
    const std::string before = to_json(set);
    set.controllers[0].drives_count = 77;
    set.vhd_chains["c"].vhds[0].virtual_size = 78;
    EXPECT_EQ(to_json(set), before);
    const Hyper_V_Backup_Set copy(set);
    EXPECT_EQ(copy.controllers[0].drives_count, 77);
    EXPECT_EQ(copy.vhd_chains.at("c").vhds[0].virtual_size, 78u);
}

TEST(Hyper_V_Backup_Set, pool_is_that_of_the_first_storage)
{
    Hyper_V_Backup_Set set;
    std::string pool = "stands";
    EXPECT_FALSE(set.get_pool_uuid(pool));
    EXPECT_EQ(pool, "stands");
    set.add_storage("first", 1);
    set.add_storage("second", 1);
    EXPECT_TRUE(std::as_const(set).get_pool_uuid(pool));
    EXPECT_EQ(pool, "first");
}

TEST(Hyper_V_Backup_Set, empty_pool_of_the_first_storage_is_copied_and_false)
{
    Hyper_V_Backup_Set set;
    set.add_storage("", 1);
    set.add_storage("second", 1);
    std::string pool = "stands";
    EXPECT_FALSE(set.get_pool_uuid(pool));
    EXPECT_EQ(pool, "");
}

TEST(Hyper_V_Backup_Set, piece_is_the_first_with_that_object)
{
    Hyper_V_Backup_Set set;
    for (const char* path : {"x", "first", "second"}) {
        set.add_piece(path, 5);
        set.pieces.back().object = "C:\\disk.vhdx";
        set.pieces.back().extended_attrs = {{"of", path}};
    }
    set.pieces[0].object = "c:\\disk.vhdx";
    Backup_Piece piece;
    piece.path = "stands";
    EXPECT_FALSE(set.get_piece("C:\\disk", piece));
    EXPECT_FALSE(set.get_piece("first", piece)) << "the path does not matter";
    EXPECT_EQ(to_json(piece), R"({"path":"stands","object":"","size":0,"extended_attrs":{}})");
    EXPECT_TRUE(std::as_const(set).get_piece("C:\\disk.vhdx", piece));
    EXPECT_EQ(to_json(piece), R"({"path":"first","object":"C:\\disk.vhdx","size":5,"extended_attrs":{"of":"first"}})");
}

TEST(Hyper_V_Backup_Set, columns_of_its_own_table_set_nothing)
{
    Hyper_V_Backup_Set set;
    const Log_Capture log;
    EXPECT_TRUE(set.print_cstr(0, "vm_name", "text", 4));
    EXPECT_TRUE(set.print_int(0, "cpu_count", 8));
    EXPECT_TRUE(set.print_json(0, "drives", json_spirit::Array{1}));
    EXPECT_EQ(to_json(set), Hyper_V_Set::fresh_document());
    EXPECT_EQ(log.count(), 0u) << log.text();
}

} // namespace record_test
