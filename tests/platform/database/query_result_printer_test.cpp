#include "platform/database/query_result_printer.h"

#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using namespace database::sql;
using json_spirit::Value;

/// Takes what the defaults of the printer hand on.
class Printer : public Query_Result_Printer
{
public:
    bool print_cstr(int, const char*, const char* value, std::size_t length) override
    {
        texts.emplace_back(value, length);
        return result;
    }
    bool print_int(int, const char*, ACE_INT64) override { return result; }
    bool print_uint(int, const char*, ACE_UINT64) override { return result; }
    bool print_bool(int, const char*, bool) override { return result; }
    bool print_json(int, const char* key, const Value& value) override
    {
        values.emplace_back(key, value);
        return result;
    }
    bool print_null(int, const char*) override { return result; }
    bool begin_array(int, const char*) override
    {
        ++open_arrays;
        return result;
    }
    bool end_array() override
    {
        --open_arrays;
        return result;
    }

    bool result = true;
    int open_arrays = 0;
    std::vector<std::string> texts;
    std::vector<std::pair<std::string, Value>> values;
};

/// Stores what reaches its integer callback.
class Token_Printer final : public Query_Result_Token_Printer
{
public:
    bool print_int(int, const char*, ACE_INT64 value) override
    {
        integers.push_back(value);
        return true;
    }
    std::vector<ACE_INT64> integers;
};

} // namespace

TEST(Query_Result_Printer, real_is_a_json_value_by_default)
{
    Printer printer;
    EXPECT_TRUE(printer.print_real(0, "r", 1.5));
    ASSERT_EQ(printer.values.size(), 1u);
    EXPECT_EQ(printer.values[0], std::pair(std::string("r"), Value(1.5)));
    printer.result = false;
    EXPECT_FALSE(printer.print_real(0, "r", 1.5));
}

TEST(Query_Result_Printer, json_text_is_parsed_by_default)
{
    Printer printer;
    const std::string text = "{\"a\":[1,true]} and more";
    EXPECT_TRUE(printer.print_json_text(0, "j", text.c_str(), 14));
    ASSERT_EQ(printer.values.size(), 1u);
    EXPECT_EQ(printer.values[0].first, "j");
    EXPECT_TRUE(printer.values[0].second.get_obj().at("a").get_array()[1].get_bool());
    EXPECT_TRUE(printer.texts.empty());
    printer.result = false;
    EXPECT_FALSE(printer.print_json_text(0, "j", "[]", 2));
}

TEST(Query_Result_Printer, text_that_is_no_json_is_a_text_and_logged)
{
    Printer printer;
    const Log_Capture log;
    EXPECT_TRUE(printer.print_json_text(0, "column", "{bad%s", 6));
    EXPECT_EQ(printer.texts, std::vector<std::string>{"{bad%s"});
    EXPECT_TRUE(printer.values.empty());
    EXPECT_EQ(log.count(LM_ERROR, "Column 'column' does not hold valid JSON"), 1u) << log.text();
    EXPECT_EQ(log.text().find("bad"), std::string::npos) << "the value is not logged: " << log.text();
}

TEST(Query_Result_Printer, rows_are_taken_by_default)
{
    Printer printer;
    EXPECT_TRUE(printer.begin_row());
    EXPECT_TRUE(printer.end_row());
}

TEST(Printer_Array_Guard, closes_what_it_opened)
{
    Printer printer;
    {
        const Printer_Array_Guard guard(printer, 0, "a");
        EXPECT_TRUE(guard.is_open());
        EXPECT_EQ(printer.open_arrays, 1);
    }
    EXPECT_EQ(printer.open_arrays, 0);
}

TEST(Printer_Array_Guard, leaves_alone_what_was_refused)
{
    Printer printer;
    printer.result = false;
    {
        const Printer_Array_Guard guard(printer, 0, "a");
        EXPECT_FALSE(guard.is_open());
    }
    EXPECT_EQ(printer.open_arrays, 1) << "opened in vain and not closed";
}

TEST(Query_Result_Token_Printer, keeps_the_path_of_open_arrays)
{
    Query_Result_Token_Printer printer;
    EXPECT_TRUE(printer.tokens().empty());
    EXPECT_EQ(printer.token(), "");
    EXPECT_TRUE(printer.begin_array(0, "storages"));
    EXPECT_TRUE(printer.begin_array(3, "media_tags"));
    EXPECT_EQ(printer.tokens(), (std::vector<std::string>{"storages", "media_tags"}));
    EXPECT_EQ(printer.token(), "media_tags");
    EXPECT_TRUE(printer.end_array());
    EXPECT_EQ(printer.token(), "storages");
    EXPECT_TRUE(printer.end_array());
    EXPECT_TRUE(printer.tokens().empty());
    EXPECT_FALSE(printer.end_array()) << "nothing is open";
}

TEST(Query_Result_Token_Printer, row_does_not_touch_the_path)
{
    Query_Result_Token_Printer printer;
    EXPECT_TRUE(printer.begin_row());
    EXPECT_TRUE(printer.tokens().empty());
    EXPECT_TRUE(printer.begin_array(0, "a"));
    EXPECT_TRUE(printer.begin_row());
    EXPECT_TRUE(printer.end_row());
    EXPECT_EQ(printer.tokens(), std::vector<std::string>{"a"});
}

TEST(Query_Result_Token_Printer, unsigned_and_boolean_never_reach_the_integer_callback)
{
    Token_Printer printer;
    EXPECT_TRUE(printer.print_uint(0, "u", 7));
    EXPECT_TRUE(printer.print_bool(0, "b", true));
    EXPECT_TRUE(printer.integers.empty());
    EXPECT_TRUE(printer.print_int(0, "i", 7));
    EXPECT_EQ(printer.integers, std::vector<ACE_INT64>{7});
}

TEST(Query_Result_Token_Printer, takes_everything_else_without_storing)
{
    Query_Result_Token_Printer printer;
    EXPECT_TRUE(printer.print_cstr(0, "k", "x", 1));
    EXPECT_TRUE(printer.print_int(0, "k", 1));
    EXPECT_TRUE(printer.print_json(0, "k", Value()));
    EXPECT_TRUE(printer.print_json_text(0, "k", "{}", 2));
    EXPECT_TRUE(printer.print_real(0, "k", 1));
    EXPECT_TRUE(printer.print_null(0, "k"));
}

namespace {

/// Notes whether the values of its JSON callback are its own.
class Owning_Printer : public Query_Result_Token_Printer
{
public:
    bool print_json(int index, const char*, const Value& value) override
    {
        own.push_back(own_json(value) == &value);
        copy_has_one = Owning_Printer(*this).own_json(value) != nullptr;
        Owning_Printer assigned;
        assigned = *this;
        copy_has_one = copy_has_one || assigned.own_json(value) != nullptr;
        if (index > 0) {
            print_json_text(index - 1, "inner", "[]", 2);
            own.push_back(own_json(value) == &value);
        }
        if (thrown) {
            last = &value;
            throw 1;
        }
        return result;
    }

    bool result = true;
    bool thrown = false;
    bool copy_has_one = false;
    const Value* last = nullptr;
    std::vector<bool> own;
};

} // namespace

TEST(Query_Result_Token_Printer, json_that_it_has_parsed_is_its_own)
{
    Owning_Printer printer;
    EXPECT_TRUE(printer.print_json_text(0, "j", "[1]", 3));
    EXPECT_EQ(printer.own, std::vector<bool>{true});
    EXPECT_FALSE(printer.copy_has_one);
    printer.result = false;
    EXPECT_FALSE(printer.print_json_text(0, "j", "[1]", 3));
}

TEST(Query_Result_Token_Printer, json_of_somebody_else_is_not_its_own)
{
    Owning_Printer printer;
    EXPECT_TRUE(printer.print_json(0, "j", Value()));
    EXPECT_TRUE(printer.print_json_text(0, "j", "[1]", 3));
    EXPECT_TRUE(printer.print_json(0, "j", Value()));
    EXPECT_EQ(printer.own, (std::vector<bool>{false, true, false}));
}

TEST(Query_Result_Token_Printer, json_is_its_own_again_after_another_inside)
{
    Owning_Printer printer;
    EXPECT_TRUE(printer.print_json_text(2, "j", "[1]", 3));
    EXPECT_EQ(printer.own, std::vector<bool>(5, true));
}

TEST(Query_Result_Token_Printer, nothing_is_its_own_after_an_exception)
{
    Owning_Printer printer;
    printer.thrown = true;
    EXPECT_THROW(printer.print_json_text(0, "j", "[1]", 3), int);
    EXPECT_EQ(printer.own_json(*printer.last), nullptr);
}

TEST(Query_Result_Token_Printer, text_that_is_no_json_is_a_text_and_logged)
{
    class Text_Printer final : public Query_Result_Token_Printer
    {
    public:
        bool print_cstr(int, const char* key, const char* value, std::size_t length) override
        {
            text = std::string(key) + '=' + std::string(value, length);
            return false;
        }
        std::string text;
    } printer;
    const Log_Capture log;
    EXPECT_FALSE(printer.print_json_text(0, "column", "{bad", 4));
    EXPECT_EQ(printer.text, "column={bad");
    EXPECT_EQ(log.count(LM_ERROR, "Column 'column' does not hold valid JSON"), 1u) << log.text();
}
