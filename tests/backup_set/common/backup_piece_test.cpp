#include "tests/support/records/backup_piece.h"

#include "backup_set/common/backup_piece_result_handler.h"
#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"
#include "tests/support/virtual_place.h"

#include <type_traits>

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(Backup_Piece, Record_Test, Piece);
INSTANTIATE_TYPED_TEST_SUITE_P(Backup_Piece, Record_On_Engine_Test, On_Engines<Piece>, Engine_Names);

TEST(Backup_Piece, virtual_operations_stand_in_order)
{
    EXPECT_EQ(virtual_place(&Backup_Piece::generate), 2u);
    EXPECT_EQ(virtual_place(&Backup_Piece::print_cstr), 3u);
    EXPECT_EQ(virtual_place(&Backup_Piece::print_int), 4u);
    EXPECT_EQ(virtual_place(&Backup_Piece::print_json), 5u);
    static_assert(std::has_virtual_destructor_v<Backup_Piece>);
    EXPECT_FALSE(is_own<Backup_Piece>(&Backup_Piece::print_uint));
    EXPECT_FALSE(is_own<Backup_Piece>(&Backup_Piece::print_bool));
}

TEST(Backup_Piece, is_first_a_generator_and_then_a_printer)
{
    Backup_Piece piece;
    const auto* const begin = reinterpret_cast<const char*>(&piece);
    EXPECT_EQ(reinterpret_cast<const char*>(static_cast<JSON_Generator*>(&piece)), begin);
    EXPECT_GT(reinterpret_cast<const char*>(static_cast<database::sql::Query_Result_Token_Printer*>(&piece)), begin);
}

TEST(Backup_Piece, members_stand_in_order)
{
    const Backup_Piece p;
    const void* const members[] = {&p.path, &p.size, &p.object, &p.extended_attrs};
    for (std::size_t i = 1; i < std::size(members); ++i) {
        EXPECT_LT(members[i - 1], members[i]) << i;
    }
}

TEST(Backup_Piece, result_handler_is_one_for_the_process_and_of_the_piece_s_own_class)
{
    database::sql::Query_Result_Handler* const handler = Backup_Piece::result_handler();
    EXPECT_EQ(Backup_Piece::result_handler(), handler);
    EXPECT_NE(dynamic_cast<Backup_Piece_Result_Handler*>(handler), nullptr);
}

TEST(Backup_Piece, size_is_unsigned_inside_and_signed_in_the_document)
{
    Backup_Piece piece;
    EXPECT_TRUE(piece.print_int(0, "size", -1));
    EXPECT_EQ(piece.size, 18446744073709551615U);
    EXPECT_EQ(to_json(piece), R"({"path":"","object":"","size":-1,"extended_attrs":{}})");
    static_assert(std::is_same_v<decltype(piece.size), ACE_UINT64>);
}

TEST(Backup_Piece, can_be_assigned)
{
    Backup_Piece copy;
    const Backup_Piece piece = filled_record<Piece>();
    copy = piece;
    EXPECT_EQ(to_json(copy), Piece::filled_document());
}

} // namespace record_test
