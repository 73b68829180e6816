#include "backup_set/common/backup_set_state.h"

#include "platform/json/json_dump.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using json_spirit::Array;

struct Named_Bit
{
    const char* name;
    ACE_UINT64 bit;
    ACE_UINT64 number;
};

constexpr Named_Bit named_bits[] = {
    {"online", Backup_Set_State::ONLINE_BIT, 1},          {"offline", Backup_Set_State::OFFLINE_BIT, 2},
    {"nearline", Backup_Set_State::NEARLINE_BIT, 4},      {"expired", Backup_Set_State::EXPIRED_BIT, 8},
    {"replicated", Backup_Set_State::REPLICATED_BIT, 16}, {"warmup", Backup_Set_State::WARMUP_BIT, 32},
    {"incomplete", Backup_Set_State::INCOMPLETE_BIT, 64}, {"unsync", Backup_Set_State::UNSYNC_BIT, 128},
    {"virtual", Backup_Set_State::VIRTUAL_BIT, 256},
};

std::string names_of(ACE_UINT64 bits)
{
    return JSON_Dump(Backup_Set_State(bits).states()).str();
}

} // namespace

TEST(Backup_Set_State, each_bit_has_its_number_and_its_name_both_ways)
{
    for (const Named_Bit& row : named_bits) {
        EXPECT_EQ(row.bit, row.number) << row.name;
        EXPECT_EQ(names_of(row.bit), "[\"" + std::string(row.name) + "\"]");
        ACE_UINT64 value = 0;
        to_value(row.name, value);
        EXPECT_EQ(value, row.bit) << row.name;
    }
}

TEST(Backup_Set_State, combinations_have_their_numbers)
{
    EXPECT_EQ(Backup_Set_State::ONLINE_REPLICATED, 17u);
    EXPECT_EQ(Backup_Set_State::VIRTUAL_ONLINE, 257u);
    EXPECT_EQ(Backup_Set_State::UNSYNC_STATE, 129u);
    EXPECT_EQ(Backup_Set_State::UNSYNC_AND_REPLICATED, 145u);
    EXPECT_EQ(Backup_Set_State::ONLINE_REPLICATE_EXPIRED, 25u);
    EXPECT_EQ(Backup_Set_State::OFFLINE_EXPIRED_REPLICATED, 26u);
}

TEST(Backup_Set_State, names_come_in_ascending_order_of_their_bits)
{
    EXPECT_EQ(names_of(0), "[]");
    EXPECT_EQ(names_of(17), R"(["online","replicated"])");
    EXPECT_EQ(names_of(25), R"(["online","expired","replicated"])");
    EXPECT_EQ(names_of(511), R"(["online","offline","nearline","expired","replicated","warmup","incomplete","unsync",)"
                             R"("virtual"])");
}

TEST(Backup_Set_State, bits_without_a_name_add_nothing)
{
    EXPECT_EQ(names_of(512), "[]");
    EXPECT_EQ(names_of(ACE_UINT64{1} << 63), "[]");
    EXPECT_EQ(names_of(~ACE_UINT64{0}), names_of(511));
    EXPECT_EQ(names_of(512 + 2), R"(["offline"])");
}

TEST(Backup_Set_State, keeps_unknown_bits)
{
    EXPECT_EQ(Backup_Set_State(~ACE_UINT64{0}).value, ~ACE_UINT64{0});
}

TEST(Backup_Set_State, is_made_of_names_in_any_order_and_number)
{
    EXPECT_EQ(Backup_Set_State(std::vector<std::string>{"virtual", "online", "virtual"}).value, 257u);
    EXPECT_EQ(Backup_Set_State(std::vector<std::string>{}).value, 0u);
    EXPECT_EQ(Backup_Set_State(std::vector<std::string>{"Online", "", "onlin", "onlines", "online "}).value, 0u);
}

TEST(Backup_Set_State, is_made_of_the_texts_of_an_array)
{
    EXPECT_EQ(Backup_Set_State(Array{"replicated", "online", "ONLINE", 5}).value, 17u);
    EXPECT_EQ(Backup_Set_State(Array{5, true, json_spirit::Value(), Array{"online"}, 2.0, "warmup"}).value, 32u);
    EXPECT_EQ(Backup_Set_State(Array{}).value, 0u);
}

TEST(Backup_Set_State, name_adds_its_bit_to_those_that_are_there)
{
    ACE_UINT64 value = 512 + 8;
    to_value("offline", value);
    EXPECT_EQ(value, 512u + 8 + 2);
    to_value("offline", value);
    EXPECT_EQ(value, 512u + 8 + 2);
    for (const char* name : {"", "Offline", "OFFLINE", "no such state"}) {
        to_value(name, value);
        EXPECT_EQ(value, 512u + 8 + 2) << name;
    }
}

TEST(Backup_Set_State, bits_are_set_and_unset)
{
    Backup_Set_State state(8);
    state.set_bits(17);
    EXPECT_EQ(state.value, 25u);
    state.set_bits(16);
    EXPECT_EQ(state.value, 25u);
    state.unset_bits(2);
    EXPECT_EQ(state.value, 25u);
    state.unset_bits(24 + 4);
    EXPECT_EQ(state.value, 1u);
}

TEST(Backup_Set_State, asks_whether_any_of_some_bits_is_set)
{
    const Backup_Set_State state(17);
    EXPECT_TRUE(state.get_bit(24));
    EXPECT_TRUE(state.get_bit(1));
    EXPECT_FALSE(state.get_bit(8));
    EXPECT_FALSE(state.get_bit(0));
    EXPECT_TRUE(Backup_Set_State(ACE_UINT64{1} << 63).get_bit(ACE_UINT64{1} << 63));
}
