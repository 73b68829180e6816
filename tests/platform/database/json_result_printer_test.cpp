#include "platform/database/json_result_printer.h"

#include "platform/json/json_generator.h"
#include "tests/platform/database/database_test.h"

#include <cmath>
#include <limits>
#include <string>

namespace {

/// One row's JSON.
template <class Print>
std::string row(Print print)
{
    JSON_Text text;
    JSON_Result_Printer printer(text.get());
    EXPECT_TRUE(printer.begin_row());
    EXPECT_TRUE(print(printer));
    EXPECT_TRUE(printer.end_row());
    return text.take();
}

bool print_text(JSON_Result_Printer& printer, const std::string& text)
{
    return printer.print_cstr(0, "k", text.c_str(), text.size());
}

} // namespace

TEST(JSON_Result_Printer, row_is_an_object)
{
    EXPECT_EQ(row([](JSON_Result_Printer&) { return true; }), "{}");
    EXPECT_EQ(row([](JSON_Result_Printer& p) {
                  return print_text(p, "x") && p.print_int(1, "i", -1) && p.print_uint(2, "u", ~ACE_UINT64{0})
                         && p.print_bool(3, "b", true) && p.print_null(4, "n") && p.print_real(5, "r", 0.5);
              }),
              R"({"k":"x","i":-1,"u":18446744073709551615,"b":true,"n":null,"r":0.5})");
}

TEST(JSON_Result_Printer, same_key_may_come_twice)
{
    EXPECT_EQ(row([](JSON_Result_Printer& p) { return p.print_int(0, "k", 1) && p.print_int(1, "k", 2); }),
              R"({"k":1,"k":2})");
}

TEST(JSON_Result_Printer, integers_are_exact_over_their_whole_range)
{
    EXPECT_EQ(row([](JSON_Result_Printer& p) {
                  return p.print_int(0, "a", std::numeric_limits<ACE_INT64>::min())
                         && p.print_int(0, "b", std::numeric_limits<ACE_INT64>::max());
              }),
              R"({"a":-9223372036854775808,"b":9223372036854775807})");
}

TEST(JSON_Result_Printer, texts_and_keys_are_escaped)
{
    EXPECT_EQ(row([](JSON_Result_Printer& p) {
                  return p.print_cstr(0, "a\"b\n", "c\"\\\n\x01", 5) && p.print_cstr(0, "n", "a\0b", 3);
              }),
              "{\"a\\\"b\\n\":\"c\\\"\\\\\\n\\u0001\",\"n\":\"a\\u0000b\"}");
}

TEST(JSON_Result_Printer, bytes_that_are_no_utf_8_are_replaced)
{
    EXPECT_EQ(row([](JSON_Result_Printer& p) { return print_text(p, "a\xff"); }), "{\"k\":\"a\xef\xbf\xbd\"}");
}

TEST(JSON_Result_Printer, stored_json_passes_through_as_it_stands)
{
    const std::string text = R"({"b" : 1.50, "a":[1e2, "\u0041"], "b":{}})";
    EXPECT_EQ(row([&](JSON_Result_Printer& p) { return p.print_json_text(0, "j", text.c_str(), text.size()); }),
              R"({"j":)" + text + "}");
}

TEST(JSON_Result_Printer, deeply_nested_stored_json_passes_through)
{
    const std::string text = std::string(400, '[') + std::string(400, ']');
    EXPECT_EQ(row([&](JSON_Result_Printer& p) { return p.print_json_text(0, "j", text.c_str(), text.size()); }),
              R"({"j":)" + text + "}");
}

TEST(JSON_Result_Printer, what_is_no_json_is_written_as_a_string_and_logged_once)
{
    const Log_Capture log;
    EXPECT_EQ(row([](JSON_Result_Printer& p) {
                  return p.print_json_text(0, "j", "{bad", 4) && p.print_json_text(0, "j", "", 0)
                         && p.print_json_text(0, "j", "1,\"x\":2", 7);
              }),
              R"({"j":"{bad","j":"","j":"1,\"x\":2"})");
    EXPECT_EQ(log.count(LM_ERROR), 1u) << log.text();
    EXPECT_EQ(log.count("Column 'j' does not hold valid JSON"), 1u) << log.text();
}

TEST(JSON_Result_Printer, json_values_are_written_whole)
{
    json_spirit::Array array = {"online", json_spirit::Value(json_spirit::Object{{"a", 1}})};
    EXPECT_EQ(row([&](JSON_Result_Printer& p) { return p.print_json(0, "state", array); }),
              R"({"state":["online",{"a":1}]})");
}

TEST(JSON_Result_Printer, real_that_is_not_finite_is_null)
{
    EXPECT_EQ(row([](JSON_Result_Printer& p) {
                  return p.print_real(0, "a", std::numeric_limits<double>::infinity())
                         && p.print_real(1, "b", std::nan("")) && p.print_real(2, "c", 1);
              }),
              R"({"a":null,"b":null,"c":1.0})");
}

TEST(JSON_Result_Printer, arrays_hold_rows_or_single_values)
{
    EXPECT_EQ(row([](JSON_Result_Printer& p) {
                  return p.begin_array(0, "rows") && p.begin_row() && p.print_int(0, "a", 1) && p.end_row()
                         && p.begin_row() && p.begin_array(0, "tags") && print_text(p, "x") && p.print_null(0, "y")
                         && p.print_json_text(0, "z", "[]", 2) && p.end_array() && p.end_row() && p.end_array()
                         && p.begin_array(1, "none") && p.end_array() && p.print_int(2, "last", 2);
              }),
              R"({"rows":[{"a":1},{"tags":["x",null,[]]}],"none":[],"last":2})");
}

TEST(JSON_Result_Printer, at_the_top_level_values_stand_alone)
{
    JSON_Text text;
    JSON_Result_Printer printer(text.get());
    EXPECT_TRUE(printer.begin_array(0, "ignored"));
    EXPECT_TRUE(printer.print_int(0, "ignored", 1));
    EXPECT_TRUE(printer.end_array());
    EXPECT_EQ(text.view(), "[1]");
}

TEST(JSON_Result_Printer, generator_that_refuses_fails)
{
    JSON_Text text;
    JSON_Result_Printer printer(text.get());
    EXPECT_TRUE(printer.begin_row());
    EXPECT_TRUE(printer.end_row());
    EXPECT_FALSE(printer.begin_row()) << "the document is complete";
    EXPECT_FALSE(printer.begin_array(0, "a"));
    EXPECT_FALSE(printer.print_null(0, "a"));
    EXPECT_FALSE(printer.print_json_text(0, "a", "1", 1));
    EXPECT_FALSE(printer.print_json(0, "a", 1));
    EXPECT_FALSE(printer.print_int(0, "a", 1));
    EXPECT_FALSE(printer.print_uint(0, "a", 1));
    EXPECT_FALSE(printer.print_bool(0, "a", true));
    EXPECT_EQ(text.view(), "{}");
}

namespace {

class JSON_Query : public Database_Test
{};

INSTANTIATE_TEST_SUITE_P(On, JSON_Query, ::testing::Values(Engine::SQLITE, Engine::POSTGRESQL), engine_name);

} // namespace

TEST_P(JSON_Query, rows_become_json)
{
    script(std::string("CREATE TABLE k (id ") + uuid_type() + ", t TEXT, ti " + time_type() + ", i BIGINT, u "
           + unsigned_type() + ", b BOOLEAN, j " + json_type() + ", r " + real_type() + ")");
    Insert_SQL insert("k", {"id", "t", "ti", "i", "u", "b", "j", "r"});
    insert.row(
        {Binding_Value("0123456789abcdef", 16), "te\"xt", "2024-01-02 03:04:05", -1, 7u, false, "{ \"a\" : 1 }", 1.5});
    insert.row(std::vector<Binding_Value>(8));
    ASSERT_TRUE(connection().execute(insert)) << connection().last_error().text();
    JSON_Text text;
    JSON_Result_Printer printer(text.get());
    printer.begin_array(0, "");
    ASSERT_TRUE(connection().query_and_print(Select_SQL().table("k").select("id,t,ti,i,u,b,j,r").order_by("i IS NULL"),
                                             printer, GM_ORM_ROWS));
    printer.end_array();
    EXPECT_EQ(text.view(), R"([{"id":"30313233-3435-3637-3839-616263646566","t":"te\"xt","ti":"2024-01-02 03:04:05",)"
                           R"("i":-1,"u":7,"b":false,"j":{ "a" : 1 },"r":1.5},)"
                           R"({"id":null,"t":null,"ti":null,"i":null,"u":null,"b":null,"j":null,"r":null}])");
}
