// The tests that every record class passes, over a description of the class:
//
//     INSTANTIATE_TYPED_TEST_SUITE_P(File_Backup_Set, Record_Test, File_Set);
//
// Those of sets only are in `Set_Record_Test`.
#pragma once

#include "backup_set/common/backup_set.h"
#include "platform/json/json_generator.h"
#include "tests/support/json_members.h"
#include "tests/support/log_capture.h"
#include "tests/support/record_description.h"
#include "tests/support/virtual_place.h"

#include <gtest/gtest.h>

#include <climits>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace record_test {

/// A value for a callback of any kind.
struct Handed_Value
{
    std::string text = {};
    std::size_t length = 0; ///< of the text, as it is told to the callback
    ACE_INT64 integer = 0;
    ACE_UINT64 unsigned_integer = 0;
    bool boolean = false;
    json_spirit::Value json = {};
};

inline bool hand_over(database::sql::Query_Result_Printer& record, Callback callback, const char* key,
                      const Handed_Value& value)
{
    switch (callback) {
    case PRINT_CSTR:
        return record.print_cstr(0, key, value.text.c_str(), value.length);
    case PRINT_INT:
        return record.print_int(0, key, value.integer);
    case PRINT_JSON:
        return record.print_json(0, key, value.json);
    case PRINT_UINT:
        return record.print_uint(0, key, value.unsigned_integer);
    case PRINT_BOOL:
        return record.print_bool(0, key, value.boolean);
    }
    return false;
}

/// A value that any column could take.
inline Handed_Value some_value(bool json_is_array = false)
{
    using namespace json_spirit;
    return {.text = "2001-02-03 04:05:06",
            .length = 19,
            .integer = 77,
            .unsigned_integer = 78,
            .boolean = true,
            .json = json_is_array ? Value(Array{"some"}) : Value(Object{{"some", "value"}})};
}

/// Something to hand over, and what the member is then as JSON; the empty text when it must stay as it was.
struct Trial
{
    Handed_Value value;
    std::string becomes;
};

inline bool is_empty(const std::string& json)
{
    return json == "\"\"" || json == "0" || json == "{}" || json == "[]";
}

inline std::vector<Trial> text_trials(Member member, const std::string& key)
{
    using namespace std::string_literals;
    const std::string text = "value of " + key;
    switch (member) {
    case STRING:
        return {{{.text = text + "\0hidden, beyond"s, .length = text.size() + 7}, json_quoted(text + "\0hidden"s)},
                {{.text = text, .length = 0}, "\"\""}};
    case C_STRING:
        return {{{.text = text + "\0hidden"s, .length = text.size() + 7}, json_quoted(text)},
                {{.text = text, .length = 3}, json_quoted(text)}};
    case POSIX_TIME:
        return {{{.text = "2001-02-03 04:05:06", .length = 19}, "\"2001-02-03 04:05:06\""},
                {{.text = "2001-02-03 04:05:0699", .length = 19}, "\"2001-02-03 04:05:06\""},
                {{.text = "2001-02-30 04:05:06", .length = 19}, ""},
                {{.text = "not a time", .length = 10}, ""},
                {{.text = "", .length = 0}, ""}};
    default:
        throw std::logic_error("print_cstr has no such conversion");
    }
}

inline std::vector<Trial> integer_trials(Member member)
{
    switch (member) {
    case INT_64:
        return {{{.integer = INT64_MIN}, "-9223372036854775808"}, {{.integer = INT64_MAX}, "9223372036854775807"}};
    case UINT_64:
        return {{{.integer = -1}, "18446744073709551615"}, {{.integer = 4294967303}, "4294967303"}};
    case INT_32:
        return {{{.integer = 4294967291}, "-5"}, {{.integer = 2147483647}, "2147483647"}};
    case UINT_32:
        return {{{.integer = 4294967303}, "7"}, {{.integer = -1}, "4294967295"}};
    case BOOL:
        return {{{.integer = 4294967296}, "true"}, {{.integer = 0}, "false"}, {{.integer = -1}, "true"}};
    default:
        throw std::logic_error("print_int has no such conversion");
    }
}

inline std::vector<Trial> unsigned_trials(Member member)
{
    switch (member) {
    case INT_64:
        return {{{.unsigned_integer = UINT64_MAX - 4}, "-5"}, {{.unsigned_integer = 4294967303}, "4294967303"}};
    case UINT_64:
        return {{{.unsigned_integer = UINT64_MAX}, "18446744073709551615"}, {{.unsigned_integer = 7}, "7"}};
    case INT_32:
        return {{{.unsigned_integer = 4294967291}, "-5"}};
    case UINT_32:
        return {{{.unsigned_integer = 4294967303}, "7"}};
    case BOOL:
        return {{{.unsigned_integer = 4294967296}, "true"}, {{.unsigned_integer = 0}, "false"}};
    default:
        throw std::logic_error("print_uint has no such conversion");
    }
}

inline std::vector<Trial> boolean_trials(Member member)
{
    switch (member) {
    case BOOL:
        return {{{.boolean = true}, "true"}, {{.boolean = false}, "false"}};
    case INT_64:
    case UINT_64:
    case INT_32:
    case UINT_32:
        return {{{.boolean = true}, "1"}, {{.boolean = false}, "0"}};
    default:
        throw std::logic_error("print_bool has no such conversion");
    }
}

inline std::vector<Trial> json_trials(Member member)
{
    using namespace json_spirit;
    std::vector<Trial> trials;
    for (const Value& value : {Value("text"), Value(), Value(true), Value(5), Value(0.5), Value(Secure_String("text"))})
    {
        trials.push_back({{.json = value}, ""});
    }
    const Value object(Object{{"b", Array{1, Value()}}, {"a", "text"}});
    const Value array(Array{"text", Object{{"a", 1}}});
    switch (member) {
    case OBJECT:
        trials.push_back({{.json = array}, ""});
        trials.push_back({{.json = object}, R"({"a":"text","b":[1,null]})"});
        trials.push_back({{.json = Object()}, "{}"});
        return trials;
    case ARRAY:
        trials.push_back({{.json = object}, ""});
        trials.push_back({{.json = array}, R"(["text",{"a":1}])"});
        trials.push_back({{.json = Array()}, "[]"});
        return trials;
    case TEXTS:
        trials.push_back({{.json = object}, ""});
        trials.push_back({{.json = Array{"text", ""}}, R"(["text",""])"});
        trials.push_back({{.json = Array()}, "[]"});
        return trials;
    default:
        throw std::logic_error("print_json has no such conversion");
    }
}

inline std::vector<Trial> trials(const Taken& column)
{
    switch (column.callback) {
    case PRINT_CSTR:
        return text_trials(column.member, column.key);
    case PRINT_INT:
        return integer_trials(column.member);
    case PRINT_JSON:
        return json_trials(column.member);
    case PRINT_UINT:
        return unsigned_trials(column.member);
    case PRINT_BOOL:
        return boolean_trials(column.member);
    }
    return {};
}

/// All that a record holds: its document, and what the document does not show.
template <class Description>
Json_Members members_of(typename Description::Record& record)
{
    std::string text = to_json(record);
    text.insert(text.size() - 1, Description::unwritten(record));
    return Json_Members(text);
}

/// Keys that are taken, keys of the documents, and keys that look like them.
template <class Description>
std::set<std::string> interesting_keys()
{
    std::set<std::string> keys = {
        "id",        "set_uuid",       "storages", "storage",        "pieces",         "parents",
        "state",     "size",           "path",     "catalog_module", "database",       "name",
        "seq",       "channels",       "object",   "backup_type",    "extended_attrs", "uuid",
        "pool_uuid", "no_such_column", "x"};
    typename Description::Record record = filled_record<Description>();
    for (const std::string& key : members_of<Description>(record).keys()) {
        keys.insert(key);
    }
    for (const Taken& column : taken_columns<Description>()) {
        const std::string& key = column.key;
        keys.insert(key);
        keys.insert(key + "s");
        keys.insert(" " + key);
        keys.insert(key.substr(0, key.size() - 1));
        std::string capital = key;
        capital[0] = static_cast<char>(capital[0] - 'a' + 'A');
        keys.insert(capital);
    }
    keys.erase("");
    return keys;
}

/// The callbacks that answer a bad key, with what they are expected to do.
template <class Description>
Bad_Key bad_key_of(Callback callback)
{
    const std::vector<Intake> intake = Description::intake();
    const bool overridden = std::ranges::any_of(intake, [=](const Intake& i) { return i.callback == callback; });
    if (!overridden && (callback == PRINT_UINT || callback == PRINT_BOOL)) {
        return {true, false}; // the printer's own callback takes everything and stores nothing
    }
    return Description::on_bad_key(callback);
}

/// The source that is named when a callback logs.
template <class Description>
std::string source_of(Callback callback)
{
    const std::vector<Intake> intake = Description::intake();
    const bool overridden = std::ranges::any_of(intake, [=](const Intake& i) { return i.callback == callback; });
    return std::string("backup_set/common/") + (overridden ? Description::stem : "backup_set") + ".cpp";
}

inline void expect_one_emergency(const Log_Capture& log, const std::string& source, const std::string& what)
{
    ASSERT_EQ(log.count(), 1u) << log.text();
    const Log_Capture::Record& record = log.records().front();
    EXPECT_EQ(record.priority, LM_EMERGENCY);
    EXPECT_EQ(record.file, source);
    const std::string begin = "Unexpected error in " + source + ':' + std::to_string(record.line) + ", " + what + ":\n";
    EXPECT_EQ(record.text.substr(0, begin.size()), begin);
    EXPECT_GT(record.text.size(), begin.size() + 1) << "no call stack";
    EXPECT_EQ(record.text.back(), '\n');
}

template <class Description>
class Record_Test : public ::testing::Test
{};

TYPED_TEST_SUITE_P(Record_Test);

TYPED_TEST_P(Record_Test, selects_its_columns_in_every_dialect)
{
    Select_SQL sql;
    TypeParam::select(sql);
    const std::string selected = TypeParam::selected();
    EXPECT_EQ(sql.str(), selected);
    for (const SQL_Dialect dialect : {SQL_Dialect::STANDARD, SQL_Dialect::SQLITE, SQL_Dialect::POSTGRESQL}) {
        const std::string otherwise = TypeParam::selected_otherwise(dialect);
        EXPECT_EQ(sql.str(dialect), otherwise.empty() ? selected : otherwise);
    }
    EXPECT_TRUE(sql.bindings().empty());
}

TYPED_TEST_P(Record_Test, fresh_record_writes_its_whole_document)
{
    typename TypeParam::Record record = TypeParam::make();
    EXPECT_EQ(to_json(record), TypeParam::fresh_document());
}

TYPED_TEST_P(Record_Test, filled_record_writes_its_whole_document)
{
    typename TypeParam::Record record = filled_record<TypeParam>();
    EXPECT_EQ(to_json(record), TypeParam::filled_document());
    EXPECT_EQ(to_json(record), TypeParam::filled_document()) << "the second time";
}

TYPED_TEST_P(Record_Test, writing_to_no_generator_is_logged_and_fails)
{
    typename TypeParam::Record record = filled_record<TypeParam>();
    const Log_Capture log;
    EXPECT_FALSE(static_cast<JSON_Generator&>(record).generate(nullptr));
    constexpr bool is_set = std::is_base_of_v<Backup_Set, typename TypeParam::Record>;
    expect_one_emergency(log, std::string("backup_set/common/") + (is_set ? "backup_set" : TypeParam::stem) + ".cpp",
                         "gen is NULL");
}

TYPED_TEST_P(Record_Test, copy_is_deep)
{
    using Record = typename TypeParam::Record;
    Record original = filled_record<TypeParam>();
    Record copy(original);
    EXPECT_EQ(to_json(copy), TypeParam::filled_document());
    for (const Taken& column : taken_columns<TypeParam>()) {
        for (const Trial& trial : trials(column)) {
            hand_over(copy, column.callback, column.key.c_str(), trial.value);
        }
    }
    EXPECT_EQ(to_json(original), TypeParam::filled_document());
}

TYPED_TEST_P(Record_Test, takes_each_of_its_columns_into_one_member)
{
    using Record = typename TypeParam::Record;
    for (const Taken& column : taken_columns<TypeParam>()) {
        for (const bool is_filled : {false, true}) {
            for (const Trial& trial : trials(column)) {
                SCOPED_TRACE(std::string(callback_name(column.callback)) + " \"" + column.key + "\" becomes "
                             + (trial.becomes.empty() ? "what it was" : trial.becomes));
                Record record = is_filled ? filled_record<TypeParam>() : TypeParam::make();
                Json_Members expected = members_of<TypeParam>(record);
                if (is_empty(trial.becomes) && TypeParam::left_out_when_empty().contains(column.key)) {
                    expected.erase(column.key);
                } else if (!trial.becomes.empty()) {
                    for (const std::string& shown : TypeParam::shown_under(column.key)) {
                        expected.set(shown, trial.becomes);
                    }
                }
                const Log_Capture log;
                EXPECT_TRUE(hand_over(record, column.callback, column.key.c_str(), trial.value));
                EXPECT_EQ(members_of<TypeParam>(record).text(), expected.text());
                EXPECT_EQ(log.count(), 0u) << log.text();
            }
        }
    }
}

TYPED_TEST_P(Record_Test, takes_no_other_column_and_none_through_another_callback)
{
    using Record = typename TypeParam::Record;
    std::set<std::pair<Callback, std::string>> taken = TypeParam::taken_apart();
    for (const Taken& column : taken_columns<TypeParam>()) {
        taken.emplace(column.callback, column.key);
    }
    Record record = filled_record<TypeParam>();
    const std::string before = members_of<TypeParam>(record).text();
    std::size_t tried = 0;
    const Log_Capture log;
    for (const std::string& key : interesting_keys<TypeParam>()) {
        for (const Callback callback : callbacks) {
            if (taken.contains({callback, key})) {
                continue;
            }
            for (const bool json_is_array : {false, true}) {
                ++tried;
                EXPECT_TRUE(hand_over(record, callback, key.c_str(), some_value(json_is_array)));
                ASSERT_EQ(members_of<TypeParam>(record).text(), before)
                    << callback_name(callback) << " \"" << key << '"';
            }
        }
    }
    EXPECT_GT(tried, 100u);
    EXPECT_EQ(log.count(), 0u) << log.text();
}

TYPED_TEST_P(Record_Test, stores_nothing_that_is_nested_in_an_array)
{
    using Record = typename TypeParam::Record;
    Record record = filled_record<TypeParam>();
    const std::string before = members_of<TypeParam>(record).text();
    const Log_Capture log;
    ASSERT_TRUE(record.begin_array(0, "storages"));
    for (const Taken& column : taken_columns<TypeParam>()) {
        for (const Trial& trial : trials(column)) {
            EXPECT_TRUE(hand_over(record, column.callback, column.key.c_str(), trial.value));
            ASSERT_EQ(members_of<TypeParam>(record).text(), before)
                << callback_name(column.callback) << " \"" << column.key << '"';
        }
    }
    ASSERT_TRUE(record.end_array());
    EXPECT_EQ(log.count(), 0u) << log.text();
    for (const Taken& column : taken_columns<TypeParam>()) {
        for (const Trial& trial : trials(column)) {
            hand_over(record, column.callback, column.key.c_str(), trial.value);
        }
    }
    if (!taken_columns<TypeParam>().empty()) {
        EXPECT_NE(members_of<TypeParam>(record).text(), before) << "nothing is taken behind the array either";
    }
}

TYPED_TEST_P(Record_Test, key_that_is_null_or_empty_is_refused_where_it_arrives)
{
    using Record = typename TypeParam::Record;
    std::set<std::pair<std::string, int>> places;
    std::size_t logged = 0;
    for (const Callback callback : callbacks) {
        const Bad_Key expected = bad_key_of<TypeParam>(callback);
        for (const bool is_nested : {false, true}) {
            for (const char* key : {static_cast<const char*>(nullptr), ""}) {
                SCOPED_TRACE(std::string(callback_name(callback)) + (key == nullptr ? " with null" : " with \"\""));
                Record record = filled_record<TypeParam>();
                if (is_nested) {
                    record.begin_array(0, "pieces"); // the key is looked at first
                }
                const std::string before = members_of<TypeParam>(record).text();
                const Log_Capture log;
                EXPECT_EQ(hand_over(record, callback, key, some_value()), expected.result);
                EXPECT_EQ(members_of<TypeParam>(record).text(), before);
                if (expected.logs) {
                    expect_one_emergency(log, source_of<TypeParam>(callback), R"(key is NULL or "")");
                    if (!log.records().empty()) {
                        places.emplace(log.records().front().file, log.records().front().line);
                    }
                } else {
                    EXPECT_EQ(log.count(), 0u) << log.text();
                }
            }
        }
        logged += expected.logs ? 1 : 0;
    }
    EXPECT_EQ(places.size(), logged) << "each callback has a place of its own";
}

REGISTER_TYPED_TEST_SUITE_P(Record_Test, selects_its_columns_in_every_dialect, fresh_record_writes_its_whole_document,
                            filled_record_writes_its_whole_document, writing_to_no_generator_is_logged_and_fails,
                            copy_is_deep, takes_each_of_its_columns_into_one_member,
                            takes_no_other_column_and_none_through_another_callback,
                            stores_nothing_that_is_nested_in_an_array,
                            key_that_is_null_or_empty_is_refused_where_it_arrives);

/// Lets the tests name the hook that only derived classes may call.
template <class Record>
struct Hook : Record
{
    static auto generate_i_pointer() { return &Hook::generate_i; }
};

/// Whether a pointer to a member function was declared by `Record` itself and not by a base.
template <class Record, class Class, class Result, class... Arguments>
constexpr bool is_own(Result (Class::*)(Arguments...))
{
    return std::is_same_v<Class, Record>;
}

template <class Description>
class Set_Record_Test : public ::testing::Test
{};

TYPED_TEST_SUITE_P(Set_Record_Test);

TYPED_TEST_P(Set_Record_Test, is_a_set_that_can_be_copied_and_destroyed_through_its_base)
{
    using Record = typename TypeParam::Record;
    static_assert(std::is_convertible_v<Record*, Backup_Set*>);
    static_assert(std::is_copy_constructible_v<Record>);
    static_assert(std::has_virtual_destructor_v<Record>);
    const Record record = TypeParam::make();
    EXPECT_STREQ(record.catalog_module, TypeParam::module);
}

TYPED_TEST_P(Set_Record_Test, overrides_its_callbacks_and_no_other)
{
    using Record = typename TypeParam::Record;
    std::set<std::string> expected;
    for (const Intake& intake : TypeParam::intake()) {
        expected.insert(callback_name(intake.callback));
    }
    std::set<std::string> own;
    const auto note = [&own](bool is_own, Callback callback) {
        if (is_own) {
            own.insert(callback_name(callback));
        }
    };
    note(is_own<Record>(&Record::print_cstr), PRINT_CSTR);
    note(is_own<Record>(&Record::print_int), PRINT_INT);
    note(is_own<Record>(&Record::print_json), PRINT_JSON);
    note(is_own<Record>(&Record::print_uint), PRINT_UINT);
    note(is_own<Record>(&Record::print_bool), PRINT_BOOL);
    EXPECT_EQ(own, expected);
    EXPECT_TRUE(is_own<Record>(Hook<Record>::generate_i_pointer()));
    EXPECT_TRUE((std::is_same_v<decltype(&Record::generate), bool (Backup_Set::*)(yajl_gen_t*)>));
}

TYPED_TEST_P(Set_Record_Test, virtual_operations_stand_in_order)
{
    using Record = typename TypeParam::Record;
    EXPECT_EQ(virtual_place(&Record::generate), 2u);
    EXPECT_EQ(
        virtual_place(static_cast<bool (Record::*)(int, const char*, const char*, std::size_t)>(&Record::print_cstr)),
        3u);
    EXPECT_EQ(virtual_place(static_cast<bool (Record::*)(int, const char*, ACE_INT64)>(&Record::print_int)), 4u);
    EXPECT_EQ(
        virtual_place(static_cast<bool (Record::*)(int, const char*, const json_spirit::Value&)>(&Record::print_json)),
        5u);
    EXPECT_EQ(virtual_place(Hook<Record>::generate_i_pointer()), 6u);
    std::size_t next = 7;
    for (const Intake& intake : TypeParam::intake()) {
        if (intake.callback == PRINT_UINT) {
            EXPECT_EQ(virtual_place(&Record::print_uint), next++) << "print_uint";
        } else if (intake.callback == PRINT_BOOL) {
            EXPECT_EQ(virtual_place(&Record::print_bool), next++) << "print_bool";
        }
    }
}

REGISTER_TYPED_TEST_SUITE_P(Set_Record_Test, is_a_set_that_can_be_copied_and_destroyed_through_its_base,
                            overrides_its_callbacks_and_no_other, virtual_operations_stand_in_order);

} // namespace record_test
