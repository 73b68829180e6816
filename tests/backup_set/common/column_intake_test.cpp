#include "backup_set/common/column_intake.h"

#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace column_intake;

/// A record with a member of every type, and one for the columns that are only told apart by their keys.
struct Taker : database::sql::Query_Result_Token_Printer
{
    std::string text = "initial";
    std::string other_text = "initial";
    std::time_t time = 42;
    ACE_INT64 int_64 = 1;
    ACE_UINT64 uint_64 = 1;
    ACE_INT32 int_32 = 1;
    ACE_UINT32 uint_32 = 1;
    std::uint8_t uint_8 = 1;
    bool boolean = true;
    json_spirit::Object object = {{"initial", true}};
    json_spirit::Array array = {"initial"};
    int seen = 0;
};

constexpr auto text_intake = text_columns<Taker>({
    {"text", into<&Taker::text>},
    {"other_text", into<&Taker::other_text>},
    {"time", into<&Taker::time>},
    {"c_text", into_c_string<&Taker::text>},
});

bool see(Taker& taker, ACE_INT64 value)
{
    taker.seen = static_cast<int>(value) + 1;
    return value != 13;
}

constexpr auto integer_intake = integer_columns<Taker>({
    {"int_64", into<&Taker::int_64>},
    {"uint_64", into<&Taker::uint_64>},
    {"int_32", into<&Taker::int_32>},
    {"uint_32", into<&Taker::uint_32>},
    {"uint_8", into<&Taker::uint_8>},
    {"boolean", into<&Taker::boolean>},
    {"seen", see},
});

constexpr auto unsigned_intake = unsigned_columns<Taker>({
    {"int_64", into<&Taker::int_64>},
    {"uint_64", into<&Taker::uint_64>},
    {"int_32", into<&Taker::int_32>},
    {"uint_32", into<&Taker::uint_32>},
    {"boolean", into<&Taker::boolean>},
});

constexpr auto boolean_intake = boolean_columns<Taker>({
    {"boolean", into<&Taker::boolean>},
    {"uint_64", into<&Taker::uint_64>},
    {"int_32", into<&Taker::int_32>},
});

constexpr auto json_intake = json_columns<Taker>({
    {"object", into<&Taker::object>},
    {"array", into<&Taker::array>},
});

constexpr auto only_row = integer_columns<Taker>({
    {"x", into<&Taker::int_64>},
});

/// Records which row of a table was taken. The keys share beginnings, ends and lengths.
constexpr std::string_view numbered_keys[] = {
    "a",
    "b",
    "ab",
    "ba",
    "abc",
    "aba",
    "abcd",
    "abcde",
    "uuid",
    "uid",
    "host_uuid",
    "host",
    "name",
    "names",
    "set_name",
    "set_names",
    "12345678",
    "123456789",
    "12345678x",
    "x12345678",
    "1234567x8",
    "first_scn",
    "last_scn",
    "first_time",
    "seq",
    "sequence",
    "sequence_no",
    "sequence_no2",
    "aaaaaaaabbbbbbbb",
    "aaaaaaaacbbbbbbbb",
    "aaaaaaaaccbbbbbbbb",
    "aaaaaaaacccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccbbbbbbbb",
    "with space",
    "\xc3\xa4",
    "S",
    "s",
    "_",
    "$",
    "UUID",
    "Uuid",
};

template <int N>
bool note(Taker& taker, ACE_INT64)
{
    taker.seen = N;
    return true;
}

constexpr auto numbered = integer_columns<Taker>({
    {"a", note<0>},
    {"b", note<1>},
    {"ab", note<2>},
    {"ba", note<3>},
    {"abc", note<4>},
    {"aba", note<5>},
    {"abcd", note<6>},
    {"abcde", note<7>},
    {"uuid", note<8>},
    {"uid", note<9>},
    {"host_uuid", note<10>},
    {"host", note<11>},
    {"name", note<12>},
    {"names", note<13>},
    {"set_name", note<14>},
    {"set_names", note<15>},
    {"12345678", note<16>},
    {"123456789", note<17>},
    {"12345678x", note<18>},
    {"x12345678", note<19>},
    {"1234567x8", note<20>},
    {"first_scn", note<21>},
    {"last_scn", note<22>},
    {"first_time", note<23>},
    {"seq", note<24>},
    {"sequence", note<25>},
    {"sequence_no", note<26>},
    {"sequence_no2", note<27>},
    {"aaaaaaaabbbbbbbb", note<28>},
    {"aaaaaaaacbbbbbbbb", note<29>},
    {"aaaaaaaaccbbbbbbbb", note<30>},
    {"aaaaaaaacccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccbbbbbbbb", note<31>},
    {"with space", note<32>},
    {"\xc3\xa4", note<33>},
    {"S", note<34>},
    {"s", note<35>},
    {"_", note<36>},
    {"$", note<37>},
    {"UUID", note<38>},
    {"Uuid", note<39>},
});

std::optional<int> row_taken(const std::string& key)
{
    Taker taker;
    taker.seen = -1;
    const std::optional<bool> done = numbered.take(taker, key.c_str(), 0);
    EXPECT_EQ(done.has_value(), taker.seen != -1) << key;
    return done ? std::optional(taker.seen) : std::nullopt;
}

} // namespace

TEST(Column_Intake, table_finds_each_of_its_keys)
{
    for (std::size_t i = 0; i < std::size(numbered_keys); ++i) {
        EXPECT_EQ(row_taken(std::string(numbered_keys[i])), static_cast<int>(i)) << numbered_keys[i];
        EXPECT_EQ(numbered.rows()[i].key, numbered_keys[i]);
        EXPECT_EQ(numbered.rows()[i].length, numbered_keys[i].size());
    }
    EXPECT_EQ(numbered.rows().size(), std::size(numbered_keys));
}

TEST(Column_Intake, table_finds_nothing_but_its_keys)
{
    const std::set<std::string_view> keys(std::begin(numbered_keys), std::end(numbered_keys));
    std::size_t tried = 0;
    const auto expect_unknown = [&](const std::string& key) {
        if (!key.empty() && !keys.contains(key)) {
            ++tried;
            EXPECT_EQ(row_taken(key), std::nullopt) << key;
        }
    };
    for (const std::string_view known : keys) {
        const std::string key(known);
        for (std::size_t length = 1; length < key.size(); ++length) {
            expect_unknown(key.substr(0, length));
            expect_unknown(key.substr(length));
        }
        expect_unknown(key + ' ');
        expect_unknown(' ' + key);
        expect_unknown(key + key);
        for (std::size_t i = 0; i < key.size(); ++i) {
            std::string changed = key;
            changed[i] = static_cast<char>(changed[i] ^ 1);
            expect_unknown(changed);
        }
    }
    expect_unknown(std::string(100000, 'a'));
    for (const std::string_view other : {"text", "int_64", "extended_attrs", "no_such_column"}) {
        expect_unknown(std::string(other));
    }
    std::mt19937 random(20240101);
    for (int i = 0; i < 20000; ++i) {
        std::string key(1 + random() % 20, ' ');
        for (char& c : key) {
            c = "abcdeuidhostnamesq_12345678x"[random() % 28];
        }
        expect_unknown(key);
    }
    EXPECT_GT(tried, 15000u);
}

TEST(Column_Intake, key_that_fills_the_slot_of_the_first_row_does_not_match_it)
{
    Taker taker;
    for (const char* key : {"y", "xx", "X", "x ", "xxxxxxxxxxxxxxxx"}) {
        EXPECT_EQ(only_row.take(taker, key, 5), std::nullopt) << key;
    }
    EXPECT_EQ(taker.int_64, 1);
    EXPECT_EQ(only_row.take(taker, "x", 5), true);
    EXPECT_EQ(taker.int_64, 5);
}

TEST(Column_Intake, text_goes_in_with_its_length)
{
    Taker taker;
    EXPECT_EQ(text_intake.take(taker, "text", "one\0two, beyond", 7), true);
    EXPECT_EQ(taker.text, std::string("one\0two", 7));
    EXPECT_EQ(taker.other_text, "initial");
    EXPECT_EQ(text_intake.take(taker, "text", "ignored", 0), true);
    EXPECT_EQ(taker.text, "");
}

TEST(Column_Intake, text_may_be_taken_to_its_first_nul)
{
    Taker taker;
    EXPECT_EQ(text_intake.take(taker, "c_text", "one\0two", 7), true);
    EXPECT_EQ(taker.text, "one");
    EXPECT_EQ(text_intake.take(taker, "c_text", "longer than told", 2), true);
    EXPECT_EQ(taker.text, "longer than told");
    EXPECT_EQ(text_intake.take(taker, "c_text", "", 5), true);
    EXPECT_EQ(taker.text, "");
}

TEST(Column_Intake, time_is_read_from_its_text)
{
    Taker taker;
    EXPECT_EQ(text_intake.take(taker, "time", "2001-09-09 01:46:40", 19), true);
    EXPECT_EQ(taker.time, 1000000000);
    EXPECT_EQ(text_intake.take(taker, "time", "2001-09-09 01:46:41 and more", 19), true);
    EXPECT_EQ(taker.time, 1000000001);
    EXPECT_EQ(text_intake.take(taker, "time", "1969-12-31T23:59:59Z", 20), true);
    EXPECT_EQ(taker.time, -1);
}

TEST(Column_Intake, text_that_is_no_time_is_taken_and_changes_nothing)
{
    for (const std::string_view text : {"", "tomorrow", "2001-02-29 00:00:00", "2001-09-09", "1000000000"}) {
        Taker taker;
        EXPECT_EQ(text_intake.take(taker, "time", text.data(), text.size()), true) << text;
        EXPECT_EQ(taker.time, 42) << text;
    }
}

TEST(Column_Intake, integer_goes_in_as_it_is)
{
    Taker taker;
    EXPECT_EQ(integer_intake.take(taker, "int_64", std::numeric_limits<ACE_INT64>::min()), true);
    EXPECT_EQ(taker.int_64, std::numeric_limits<ACE_INT64>::min());
    EXPECT_EQ(integer_intake.take(taker, "uint_64", -1), true);
    EXPECT_EQ(taker.uint_64, std::numeric_limits<ACE_UINT64>::max());
    EXPECT_EQ(integer_intake.take(taker, "int_32", -5), true);
    EXPECT_EQ(taker.int_32, -5);
}

TEST(Column_Intake, integer_loses_the_bits_that_do_not_fit)
{
    constexpr ACE_INT64 two_to_32 = ACE_INT64{1} << 32;
    Taker taker;
    EXPECT_EQ(integer_intake.take(taker, "uint_32", two_to_32), true);
    EXPECT_EQ(taker.uint_32, 0u);
    integer_intake.take(taker, "uint_32", -1);
    EXPECT_EQ(taker.uint_32, 4294967295u);
    integer_intake.take(taker, "int_32", two_to_32 + 7);
    EXPECT_EQ(taker.int_32, 7);
    integer_intake.take(taker, "int_32", two_to_32 / 2);
    EXPECT_EQ(taker.int_32, std::numeric_limits<ACE_INT32>::min());
    integer_intake.take(taker, "uint_8", 256 + 7);
    EXPECT_EQ(taker.uint_8, 7);
    EXPECT_EQ(unsigned_intake.take(taker, "uint_32", (ACE_UINT64{1} << 32) + 9), true);
    EXPECT_EQ(taker.uint_32, 9u);
    unsigned_intake.take(taker, "int_32", 4294967295u);
    EXPECT_EQ(taker.int_32, -1);
    unsigned_intake.take(taker, "int_64", std::numeric_limits<ACE_UINT64>::max());
    EXPECT_EQ(taker.int_64, -1);
}

TEST(Column_Intake, any_number_but_zero_is_true)
{
    for (const ACE_INT64 value : {ACE_INT64{1}, ACE_INT64{-1}, ACE_INT64{256}, ACE_INT64{1} << 32}) {
        Taker taker;
        taker.boolean = false;
        EXPECT_EQ(integer_intake.take(taker, "boolean", value), true);
        EXPECT_TRUE(taker.boolean) << value;
        taker.boolean = false;
        unsigned_intake.take(taker, "boolean", static_cast<ACE_UINT64>(value));
        EXPECT_TRUE(taker.boolean) << value;
    }
    Taker taker;
    integer_intake.take(taker, "boolean", 0);
    EXPECT_FALSE(taker.boolean);
}

TEST(Column_Intake, unsigned_goes_in_as_it_is)
{
    Taker taker;
    EXPECT_EQ(unsigned_intake.take(taker, "uint_64", std::numeric_limits<ACE_UINT64>::max()), true);
    EXPECT_EQ(taker.uint_64, std::numeric_limits<ACE_UINT64>::max());
}

TEST(Column_Intake, boolean_becomes_zero_or_one_where_a_number_is_kept)
{
    Taker taker;
    taker.int_32 = 7;
    taker.uint_64 = 7;
    EXPECT_EQ(boolean_intake.take(taker, "int_32", true), true);
    EXPECT_EQ(boolean_intake.take(taker, "uint_64", false), true);
    EXPECT_EQ(boolean_intake.take(taker, "boolean", false), true);
    EXPECT_EQ(taker.int_32, 1);
    EXPECT_EQ(taker.uint_64, 0u);
    EXPECT_FALSE(taker.boolean);
}

TEST(Column_Intake, json_of_the_right_kind_replaces_the_member)
{
    Taker taker;
    EXPECT_EQ(json_intake.take(taker, "object", json_spirit::Object{{"a", 1}}), true);
    EXPECT_EQ(json_spirit::Value(taker.object), json_spirit::Value(json_spirit::Object{{"a", 1}}));
    EXPECT_EQ(json_intake.take(taker, "array", json_spirit::Array{}), true);
    EXPECT_TRUE(taker.array.empty());
}

TEST(Column_Intake, json_of_another_kind_is_left_to_the_caller)
{
    using namespace json_spirit;
    for (const Value& value : {Value(), Value("{}"), Value(true), Value(1), Value(1.5), Value(Array{Object{}})}) {
        Taker taker;
        EXPECT_EQ(json_intake.take(taker, "object", value), std::nullopt);
        EXPECT_EQ(Value(taker.object), Value(Object{{"initial", true}}));
    }
    Taker taker;
    EXPECT_EQ(json_intake.take(taker, "array", Object{{"a", Array{}}}), std::nullopt);
    EXPECT_EQ(Value(taker.array), Value(Array{"initial"}));
}

TEST(Column_Intake, json_that_the_record_has_parsed_itself_goes_in_without_a_copy)
{
    struct Parsing_Taker final : Taker
    {
        bool print_json(int, const char* key, const json_spirit::Value& value) override
        {
            const json_spirit::Value* const first =
                value.if_obj() != nullptr ? &value.get_obj().begin()->second : value.get_array().data();
            const bool done = json_intake.take(*this, key, value).value_or(false);
            went_in_as_it_is = done && (first == &object.begin()->second || first == array.data());
            return done;
        }
        bool went_in_as_it_is = false;
    } taker;
    const std::string object = R"({"a": {"b": [1, 2]}, "c": "a text that is long enough to stand on the heap"})";
    EXPECT_TRUE(taker.print_json_text(0, "object", object.c_str(), object.size()));
    EXPECT_TRUE(taker.went_in_as_it_is);
    EXPECT_EQ(taker.object.size(), 2u);
    EXPECT_EQ(taker.object.at("a").get_obj().at("b").get_array()[1].get_int(), 2);
    EXPECT_TRUE(taker.print_json_text(0, "array", "[1, 2]", 6));
    EXPECT_TRUE(taker.went_in_as_it_is);
    EXPECT_EQ(taker.array.size(), 2u);
}

TEST(Column_Intake, json_of_somebody_else_is_copied)
{
    const json_spirit::Value object(json_spirit::Object{{"a", 1}});
    const json_spirit::Value array(json_spirit::Array{"x", "y"});
    Taker taker;
    Taker other;
    EXPECT_EQ(json_intake.take(taker, "object", object), true);
    EXPECT_EQ(json_intake.take(other, "object", object), true);
    EXPECT_EQ(json_intake.take(taker, "array", array), true);
    EXPECT_EQ(json_intake.take(other, "array", array), true);
    EXPECT_EQ(object.get_obj().size(), 1u);
    EXPECT_EQ(array.get_array().size(), 2u);
    EXPECT_EQ(taker.object, other.object);
    EXPECT_EQ(taker.array, other.array);
    EXPECT_EQ(other.array, array.get_array());
}

TEST(Column_Intake, json_that_a_record_hands_to_others_reaches_all_of_them)
{
    struct Handing_Taker final : Taker
    {
        bool print_json(int, const char* key, const json_spirit::Value& value) override
        {
            return json_intake.take(first, key, value) && json_intake.take(second, key, value);
        }
        Taker first;
        Taker second;
    } taker;
    EXPECT_TRUE(taker.print_json_text(0, "object", R"({"a": 1})", 8));
    EXPECT_EQ(taker.first.object, (json_spirit::Object{{"a", 1}}));
    EXPECT_EQ(taker.second.object, taker.first.object);
}

TEST(Column_Intake, json_of_another_kind_is_whole_for_the_fall_back)
{
    struct Falling_Taker final : Taker
    {
        bool print_json(int, const char* key, const json_spirit::Value& value) override
        {
            return json_intake.take(*this, key, value).value_or(value == json_spirit::Value(json_spirit::Array{1, 2}));
        }
    } taker;
    EXPECT_TRUE(taker.print_json_text(0, "object", "[1, 2]", 6));
    EXPECT_TRUE(taker.print_json_text(0, "unknown", "[1, 2]", 6));
    EXPECT_EQ(taker.object.count("initial"), 1u);
}

TEST(Column_Intake, function_of_a_row_decides_whether_the_value_is_taken)
{
    Taker taker;
    EXPECT_EQ(integer_intake.take(taker, "seen", 12), true);
    EXPECT_EQ(taker.seen, 13);
    EXPECT_EQ(integer_intake.take(taker, "seen", 13), std::nullopt);
    EXPECT_EQ(taker.seen, 14);
}

TEST(Column_Intake, key_that_is_null_or_empty_is_logged_with_the_place_of_the_callback)
{
    for (const char* key : {static_cast<const char*>(nullptr), ""}) {
        Taker taker;
        const Log_Capture log;
        const int line = __LINE__ + 1;
        EXPECT_EQ(integer_intake.take(taker, key, 5), false);
        ASSERT_EQ(log.count(), 1u) << log.text();
        const Log_Capture::Record& record = log.records().front();
        EXPECT_EQ(record.priority, LM_EMERGENCY);
        EXPECT_EQ(record.line, line);
        const std::string begin =
            "Unexpected error in " __FILE__ ":" + std::to_string(line) + ", key is NULL or \"\":\n";
        EXPECT_EQ(record.text.substr(0, begin.size()), begin);
    }
}

TEST(Column_Intake, nothing_is_stored_while_an_array_is_open)
{
    Taker taker;
    taker.begin_array(0, "outer");
    taker.begin_array(0, "inner");
    for (int depth = 2; depth > 0; --depth) {
        EXPECT_EQ(integer_intake.take(taker, "int_64", 5), true);
        EXPECT_EQ(integer_intake.take(taker, "no_such_column", 5), true);
        EXPECT_EQ(taker.int_64, 1);
        taker.end_array();
    }
    EXPECT_EQ(integer_intake.take(taker, "int_64", 5), true);
    EXPECT_EQ(taker.int_64, 5);
}

TEST(Column_Intake, bad_key_goes_before_an_open_array)
{
    Taker taker;
    taker.begin_array(0, "outer");
    const Log_Capture log;
    EXPECT_EQ(text_intake.take(taker, "", "text", 4), false);
    EXPECT_EQ(log.count(LM_EMERGENCY, "key is NULL or \"\""), 1u);
}

TEST(Column_Intake, storing_alone_asks_neither_for_arrays_nor_for_bad_keys)
{
    Taker taker;
    taker.begin_array(0, "outer");
    const Log_Capture log;
    EXPECT_TRUE(integer_intake.store(taker, "int_64", 5));
    EXPECT_EQ(taker.int_64, 5);
    EXPECT_FALSE(integer_intake.store(taker, "no_such_column", 5));
    EXPECT_FALSE(integer_intake.store(taker, "", 5));
    EXPECT_EQ(log.count(), 0u) << log.text();
}

TEST(Column_Intake, key_is_checked_by_itself_for_callbacks_without_a_table)
{
    Taker taker;
    EXPECT_EQ(check_key(taker, "key"), std::nullopt);
    const Log_Capture log;
    EXPECT_EQ(check_key(taker, ""), false);
    EXPECT_EQ(check_key(taker, nullptr), false);
    EXPECT_EQ(log.count(LM_EMERGENCY), 2u);
    taker.begin_array(0, "outer");
    EXPECT_EQ(check_key(taker, "key"), true);
    EXPECT_EQ(check_key(taker, nullptr), false);
}

TEST(Column_Intake, hash_is_the_same_at_compile_time_and_at_run_time)
{
    constexpr std::uint64_t of_one = Key_Digest("a", 1).hash(7);
    constexpr std::uint64_t of_three = Key_Digest("seq", 3).hash(7);
    constexpr std::uint64_t of_seven = Key_Digest("1234567", 7).hash(7);
    constexpr std::uint64_t of_twelve = Key_Digest("sequence_no2", 12).hash(7);
    const auto at_run_time = [](const std::string& key) { return Key_Digest(key.c_str(), key.size()).hash(7); };
    EXPECT_EQ(at_run_time("a"), of_one);
    EXPECT_EQ(at_run_time("seq"), of_three);
    EXPECT_EQ(at_run_time("1234567"), of_seven);
    EXPECT_EQ(at_run_time("sequence_no2"), of_twelve);
    const std::set<std::uint64_t> all = {of_one, of_three, of_seven, of_twelve};
    EXPECT_EQ(all.size(), 4u);
}
