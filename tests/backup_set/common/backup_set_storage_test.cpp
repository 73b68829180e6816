#include "tests/support/records/backup_set_storage.h"

#include "backup_set/common/backup_set_storage_result_handler.h"
#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"
#include "tests/support/virtual_place.h"

#include <type_traits>

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(Backup_Set_Storage, Record_Test, Storage);
INSTANTIATE_TYPED_TEST_SUITE_P(Backup_Set_Storage, Record_On_Engine_Test, On_Engines<Storage>, Engine_Names);

TEST(Backup_Set_Storage, virtual_operations_stand_in_order)
{
    EXPECT_EQ(virtual_place(&Backup_Set_Storage::generate), 2u);
    EXPECT_EQ(virtual_place(&Backup_Set_Storage::print_cstr), 3u);
    EXPECT_EQ(virtual_place(&Backup_Set_Storage::print_int), 4u);
    EXPECT_EQ(virtual_place(&Backup_Set_Storage::print_json), 5u);
    static_assert(std::has_virtual_destructor_v<Backup_Set_Storage>);
    EXPECT_FALSE(is_own<Backup_Set_Storage>(&Backup_Set_Storage::print_uint));
    EXPECT_FALSE(is_own<Backup_Set_Storage>(&Backup_Set_Storage::print_bool));
}

TEST(Backup_Set_Storage, is_first_a_generator_and_then_a_printer)
{
    Backup_Set_Storage storage;
    const auto* const begin = reinterpret_cast<const char*>(&storage);
    EXPECT_EQ(reinterpret_cast<const char*>(static_cast<JSON_Generator*>(&storage)), begin);
    EXPECT_GT(reinterpret_cast<const char*>(static_cast<database::sql::Query_Result_Token_Printer*>(&storage)), begin);
}

TEST(Backup_Set_Storage, members_stand_in_order)
{
    const Backup_Set_Storage s;
    const void* const members[] = {&s.set_uuid, &s.pool_uuid,          &s.size,
                                   &s.state,    &s.upstream_pool_uuid, &s.extended_attrs};
    for (std::size_t i = 1; i < std::size(members); ++i) {
        EXPECT_LT(members[i - 1], members[i]) << i;
    }
}

TEST(Backup_Set_Storage, result_handler_is_one_for_the_process_and_of_the_storage_s_own_class)
{
    database::sql::Query_Result_Handler* const handler = Backup_Set_Storage::result_handler();
    EXPECT_EQ(Backup_Set_Storage::result_handler(), handler);
    EXPECT_NE(dynamic_cast<Backup_Set_Storage_Result_Handler*>(handler), nullptr);
}

TEST(Backup_Set_Storage, fresh_storage_has_no_state)
{
    EXPECT_EQ(Backup_Set_Storage().state.value, 0u);
}

TEST(Backup_Set_Storage, state_comes_in_as_a_number_and_replaces_all_bits)
{
    Backup_Set_Storage storage;
    storage.state.value = 256 + 8;
    EXPECT_TRUE(storage.print_int(0, "state", 17));
    EXPECT_EQ(storage.state.value, 17u);
    EXPECT_TRUE(storage.print_int(0, "state", -1));
    EXPECT_EQ(storage.state.value, 18446744073709551615U);
    EXPECT_TRUE(storage.print_int(0, "state", 0));
    EXPECT_EQ(storage.state.value, 0u);
}

TEST(Backup_Set_Storage, state_is_taken_neither_as_text_nor_inside_an_array)
{
    Backup_Set_Storage storage;
    EXPECT_TRUE(storage.print_cstr(0, "state", "1", 1));
    EXPECT_TRUE(storage.print_json(0, "state", json_spirit::Array{"online"}));
    storage.begin_array(0, "nested");
    EXPECT_TRUE(storage.print_int(0, "state", 1));
    storage.end_array();
    EXPECT_EQ(storage.state.value, 0u);
}

TEST(Backup_Set_Storage, state_goes_out_as_names)
{
    Backup_Set_Storage storage;
    storage.state.value = 17;
    EXPECT_EQ(to_json(storage), R"({"pool_uuid":"","size":0,"state":["online","replicated"],"extended_attrs":{}})");
    storage.state.value = 512;
    EXPECT_EQ(to_json(storage), R"({"pool_uuid":"","size":0,"state":[],"extended_attrs":{}})");
}

TEST(Backup_Set_Storage, owner_is_never_written)
{
    Backup_Set_Storage storage;
    storage.set_uuid = "the owner";
    EXPECT_EQ(to_json(storage), Storage::fresh_document());
}

TEST(Backup_Set_Storage, upstream_pool_is_written_when_there_is_one)
{
    Backup_Set_Storage storage;
    storage.upstream_pool_uuid = "up";
    EXPECT_EQ(to_json(storage),
              R"({"pool_uuid":"","size":0,"state":[],"upstream_pool_uuid":"up","extended_attrs":{}})");
}

TEST(Backup_Set_Storage, can_be_assigned)
{
    Backup_Set_Storage copy;
    const Backup_Set_Storage storage = filled_record<Storage>();
    copy = storage;
    EXPECT_EQ(to_json(copy), Storage::filled_document());
    EXPECT_EQ(copy.set_uuid, storage.set_uuid);
}

} // namespace record_test
