#include "tests/support/records/openstack_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

#include <limits>
#include <type_traits>

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(OpenStack_Backup_Set, Record_Test, OpenStack_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(OpenStack_Backup_Set, Set_Record_Test, OpenStack_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(OpenStack_Backup_Set, Record_On_Engine_Test, On_Engines<OpenStack_Set>, Engine_Names);

namespace {

using json_spirit::Array;
using json_spirit::Object;
using json_spirit::Value;

constexpr const char* invalid_time = "Failed to load OpenStack backup set, invalid time format.\n";
constexpr const char* empty_time = "Failed to convert str to time, 'time_str' is empty.\n";
constexpr const char* caught =
    "Failed to load OpenStack backup set, Unexpected exception occurred while load json str err ";

/// A document with all keys that are required and none of the others.
Object required_document()
{
    return {
        {"uuid", "the uuid"},
        {"name", "the name"},
        {"definition_uuid", "the definition"},
        {"job_instance_uuid", "the job instance"},
        {"uid", "the uid"},
        {"host_uuid", "the host uuid"},
        {"resource_uuid", "the resource"},
        {"minor_resource_id", "the minor id"},
        {"minor_resource_name", "the minor name"},
        {"agent", "the agent"},
        {"incarnation", "the incarnation"},
        {"type", "the type"},
        {"backup_start_time", "2024-01-03 00:00:03"},
        {"source_size", 1000000000001},
        {"size", 1000000000002},
        {"uri", "the uri"},
        {"host", "the host"},
        {"instance", "the instance"},
        {"instance_version", "the version"},
        {"first_scn", -1000000000003},
        {"last_scn", 1000000000004},
        {"resource_tree", Object{{"tree", 1}}},
        {"extended_attrs", Object{{"attrs", 2}}},
        {"storages", Array()},
        {"pieces", Array()},
        {"vm_id", "the vm id"},
        {"vm_name", "the vm name"},
        {"backup_uuid", "the backup"},
        {"set_uuid", "the set"},
        {"profile", Object{{"profile", 3}}},
        {"volumes", Array{"volume", 4}},
    };
}

Object storage(const std::string& pool, ACE_INT64 size, const Array& state)
{
    return {{"pool_uuid", pool}, {"size", size}, {"state", state}};
}

Object piece(const std::string& path, ACE_UINT64 size, const std::string& object)
{
    return {{"path", path}, {"size", size}, {"object", object}};
}

/// The keys that must be there, in the order in which they are read.
constexpr const char* required_keys[] = {"uuid",
                                         "name",
                                         "definition_uuid",
                                         "job_instance_uuid",
                                         "uid",
                                         "host_uuid",
                                         "resource_uuid",
                                         "minor_resource_id",
                                         "minor_resource_name",
                                         "agent",
                                         "incarnation",
                                         "type",
                                         "backup_start_time",
                                         "source_size",
                                         "size",
                                         "uri",
                                         "host",
                                         "instance",
                                         "instance_version",
                                         "first_scn",
                                         "last_scn",
                                         "resource_tree",
                                         "extended_attrs",
                                         "storages",
                                         "pieces",
                                         "vm_id",
                                         "vm_name",
                                         "backup_uuid",
                                         "set_uuid",
                                         "profile",
                                         "volumes"};

/// The member that each of those goes to at once, by its key in the record's document. What is held for later has none.
bool is_held(const std::string& key)
{
    return key == "backup_start_time" || key == "storages" || key == "pieces";
}

void expect_one_error(const Log_Capture& log, const std::string& text)
{
    ASSERT_EQ(log.count(), 1u) << log.text();
    EXPECT_EQ(log.records().front().priority, LM_ERROR);
    EXPECT_EQ(log.records().front().text, text);
    EXPECT_EQ(log.records().front().file, "backup_set/common/openstack_backup_set.cpp");
}

/// One line that says that an exception was caught, and something of what it was.
void expect_caught(const Log_Capture& log, const std::string& part = "")
{
    ASSERT_EQ(log.count(), 1u) << log.text();
    const Log_Capture::Record& record = log.records().front();
    EXPECT_EQ(record.priority, LM_ERROR);
    EXPECT_TRUE(record.text.starts_with(caught)) << record.text;
    EXPECT_GT(record.text.size(), std::string(caught).size() + 1) << record.text;
    EXPECT_EQ(record.text.back(), '\n');
    EXPECT_NE(record.text.find(part), std::string::npos) << record.text;
    EXPECT_EQ(record.file, "backup_set/common/openstack_backup_set.cpp");
}

} // namespace

TEST(OpenStack_Backup_Set_Load, each_key_goes_to_its_member)
{
    Object json = required_document();
    json["first_time"] = "2024-01-01 00:00:01";
    json["last_time"] = "2024-01-02 00:00:02";
    json["backup_end_time"] = "2024-01-04 00:00:04";
    json["last_backup_uuid"] = "the last backup";
    json["last_full_backup_uuid"] = "the last full backup";
    json["pieces"] = Array{piece("first path", 21, "first object")};
    json["storages"] = Array{storage("first pool", 5, {"online"}), storage("second pool", 7, {})};
    OpenStack_Backup_Set set;
    const Log_Capture log;
    EXPECT_TRUE(set << json);
    EXPECT_EQ(log.count(), 0u) << log.text();
    EXPECT_EQ(
        to_json(set),
        R"({"catalog_module":"openstack","uuid":"the uuid","name":"the name","job_instance_uuid":"the job instance",)"
        R"("definition_uuid":"the definition","uid":"the uid","host_uuid":"the host uuid",)"
        R"("resource_uuid":"the resource","minor_resource_id":"the minor id","minor_resource_name":"the minor name",)"
        R"("agent":"the agent","incarnation":"the incarnation","type":"the type",)"
        R"("backup_start_time":"2024-01-03 00:00:03","uri":"the uri","host":"the host","instance":"the instance",)"
        R"("instance_version":"the version","first_scn":-1000000000003,"last_scn":1000000000004,)"
        R"("first_time":"2024-01-01 00:00:01","last_time":"2024-01-02 00:00:02",)"
        R"("backup_end_time":"2024-01-04 00:00:04","size":7,"source_size":1000000000001,)"
        R"("resource_tree":{"tree":1},"extended_attrs":{"attrs":2},)"
        R"("storages":[{"pool_uuid":"first pool","size":0,"state":["online"],"extended_attrs":{}},)"
        R"({"pool_uuid":"second pool","size":0,"state":[],"extended_attrs":{}}],)"
        R"("pieces":[{"path":"first path","object":"first object","size":21,"extended_attrs":{}}],"lsb":{},"uname":{},)"
        R"("vm_id":"the vm id","vm_name":"the vm name","set_uuid":"the set","backup_uuid":"the backup",)"
        R"("profile":{"profile":3},"volumes":["volume",4],"last_backup_uuid":"the last backup",)"
        R"("last_full_backup_uuid":"the last full backup"})");
}

TEST(OpenStack_Backup_Set_Load, optional_keys_may_be_absent_and_then_nothing_changes)
{
    OpenStack_Backup_Set set;
    set.first_time = 11;
    set.last_time = 12;
    set.backup_end_time = 13;
    set.last_backup_uuid_ = "stands";
    set.last_full_backup_uuid_ = "stands too";
    const Log_Capture log;
    EXPECT_TRUE(set << required_document());
    EXPECT_EQ(log.count(), 0u) << log.text();
    EXPECT_EQ(set.first_time, 11);
    EXPECT_EQ(set.last_time, 12);
    EXPECT_EQ(set.backup_end_time, 13);
    EXPECT_EQ(set.last_backup_uuid_, "stands");
    EXPECT_EQ(set.last_full_backup_uuid_, "stands too");
    EXPECT_EQ(set.backup_start_time, 1704240003);
    EXPECT_EQ(set.size, 1000000000002);
    EXPECT_TRUE(set.storages.empty());
    EXPECT_TRUE(set.pieces.empty());
}

TEST(OpenStack_Backup_Set_Load, optional_texts_replace_what_stands)
{
    Object json = required_document();
    json["last_backup_uuid"] = "";
    json["last_full_backup_uuid"] = "new";
    OpenStack_Backup_Set set;
    set.last_backup_uuid_ = "old";
    set.last_full_backup_uuid_ = "old";
    EXPECT_TRUE(set << json);
    EXPECT_EQ(set.last_backup_uuid_, "");
    EXPECT_EQ(set.last_full_backup_uuid_, "new");
}

TEST(OpenStack_Backup_Set_Load, optional_key_of_another_type_counts_as_absent)
{
    Object json = required_document();
    for (const char* key : {"first_time", "last_time", "backup_end_time", "last_backup_uuid", "last_full_backup_uuid"})
    {
        json[key] = 5;
    }
    OpenStack_Backup_Set set = filled_record<OpenStack_Set>();
    EXPECT_TRUE(set << json);
    EXPECT_EQ(set.first_time, 1704067201);
    EXPECT_EQ(set.last_time, 1704153602);
    EXPECT_EQ(set.backup_end_time, 1704326404);
    EXPECT_EQ(set.last_backup_uuid_, "the last backup");
    EXPECT_EQ(set.last_full_backup_uuid_, "the last full backup");
}

TEST(OpenStack_Backup_Set_Load, parents_uname_and_lsb_are_not_read)
{
    Object json = required_document();
    json["parents"] = Array{"a parent"};
    json["uname"] = Object{{"sysname", "other"}};
    json["lsb"] = Object{{"id", "other"}};
    OpenStack_Backup_Set set;
    set.parents = {"stands"};
    set.uname = {{"sysname", "Linux"}};
    EXPECT_TRUE(set << json);
    EXPECT_EQ(set.parents, std::vector<std::string>{"stands"});
    EXPECT_EQ(Value(set.uname), Value(Object{{"sysname", "Linux"}}));
    EXPECT_TRUE(set.lsb.empty());
}

TEST(OpenStack_Backup_Set_Load, keys_are_read_in_order_up_to_the_one_that_is_missing)
{
    for (const char* missing : required_keys) {
        SCOPED_TRACE(missing);
        Object json = required_document();
        json.erase(missing);
        // What later steps would do shows nowhere.
        if (json.contains("pieces")) {
            json["pieces"] = Array{piece("path", 1, "object")};
        }
        if (json.contains("storages")) {
            json["storages"] = Array{storage("pool", 5, {})};
        }
        json["first_time"] = "2024-01-01 00:00:01";
        json["last_full_backup_uuid"] = "later";
        Json_Members expected(OpenStack_Set::fresh_document());
        for (const char* key : required_keys) {
            if (std::string(key) == missing) {
                break;
            }
            if (!is_held(key)) {
                expected.set(key, JSON_Dump(json.at(key)).str());
            }
        }
        OpenStack_Backup_Set set;
        const Log_Capture log;
        EXPECT_FALSE(set << json);
        EXPECT_EQ(Json_Members(to_json(set)).text(), expected.text());
        expect_caught(log, missing);
    }
}

TEST(OpenStack_Backup_Set_Load, keys_are_read_in_order_up_to_one_of_a_wrong_type)
{
    for (const char* wrong : required_keys) {
        SCOPED_TRACE(wrong);
        Object json = required_document();
        json[wrong] = Value(); // null is none of the types
        Json_Members expected(OpenStack_Set::fresh_document());
        for (const char* key : required_keys) {
            if (std::string(key) == wrong) {
                break;
            }
            if (!is_held(key)) {
                expected.set(key, JSON_Dump(json.at(key)).str());
            }
        }
        OpenStack_Backup_Set set;
        const Log_Capture log;
        EXPECT_FALSE(set << json);
        EXPECT_EQ(Json_Members(to_json(set)).text(), expected.text());
        expect_caught(log);
    }
}

TEST(OpenStack_Backup_Set_Load, number_beyond_the_signed_range_is_no_size)
{
    for (const char* key : {"source_size", "size", "first_scn", "last_scn"}) {
        SCOPED_TRACE(key);
        Object json = required_document();
        json[key] = std::numeric_limits<ACE_UINT64>::max();
        OpenStack_Backup_Set set;
        const Log_Capture log;
        EXPECT_FALSE(set << json);
        expect_caught(log);
    }
}

TEST(OpenStack_Backup_Set_Load, empty_time_text_fails_with_two_messages)
{
    for (const char* key : {"first_time", "last_time", "backup_start_time", "backup_end_time"}) {
        SCOPED_TRACE(key);
        Object json = required_document();
        json[key] = "";
        OpenStack_Backup_Set set;
        const Log_Capture log;
        EXPECT_FALSE(set << json);
        ASSERT_EQ(log.count(), 2u) << log.text();
        EXPECT_EQ(log.records()[0].priority, LM_ERROR);
        EXPECT_EQ(log.records()[0].text, empty_time);
        EXPECT_EQ(log.records()[1].priority, LM_ERROR);
        EXPECT_EQ(log.records()[1].text, invalid_time);
        EXPECT_NE(log.records()[0].line, log.records()[1].line);
    }
}

TEST(OpenStack_Backup_Set_Load, text_that_is_no_time_fails_with_one_message)
{
    for (const char* key : {"first_time", "last_time", "backup_start_time", "backup_end_time"}) {
        SCOPED_TRACE(key);
        Object json = required_document();
        json[key] = "2024-02-30 00:00:00";
        OpenStack_Backup_Set set;
        const Log_Capture log;
        EXPECT_FALSE(set << json);
        expect_one_error(log, invalid_time);
    }
}

TEST(OpenStack_Backup_Set_Load, times_are_converted_in_order_up_to_one_that_is_none)
{
    constexpr const char* keys[] = {"first_time", "last_time", "backup_start_time", "backup_end_time"};
    for (std::size_t bad = 0; bad < 4; ++bad) {
        SCOPED_TRACE(keys[bad]);
        Object json = required_document();
        for (const char* key : keys) {
            json[key] = "2001-09-09 01:46:41";
        }
        json[keys[bad]] = "no time";
        json["pieces"] = Array{piece("path", 1, "object")};
        json["storages"] = Array{storage("pool", 5, {})};
        OpenStack_Backup_Set set;
        const Log_Capture log;
        EXPECT_FALSE(set << json);
        const std::time_t times[] = {set.first_time, set.last_time, set.backup_start_time, set.backup_end_time};
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_EQ(times[i], i < bad ? 1000000001 : 0) << keys[i];
        }
        // The keys were all read before, pieces and storages come later.
        EXPECT_EQ(set.volumes_.size(), 2u);
        EXPECT_EQ(set.size, 1000000000002);
        EXPECT_TRUE(set.pieces.empty());
        EXPECT_TRUE(set.storages.empty());
        expect_one_error(log, invalid_time);
    }
}

TEST(OpenStack_Backup_Set_Load, missing_key_is_found_before_a_bad_time)
{
    Object json = required_document();
    json["backup_start_time"] = "";
    json.erase("volumes");
    OpenStack_Backup_Set set;
    const Log_Capture log;
    EXPECT_FALSE(set << json);
    expect_caught(log, "volumes");
}

TEST(OpenStack_Backup_Set_Load, pieces_follow_those_that_stand)
{
    Object first = piece("first path", 18446744073709551615U, "first object");
    first["extended_attrs"] = Object{{"a", 1}};
    Object json = required_document();
    json["pieces"] = Array{first, piece("", 0, "")};
    OpenStack_Backup_Set set;
    set.add_piece("stands", 3);
    EXPECT_TRUE(set << json);
    ASSERT_EQ(set.pieces.size(), 3u);
    EXPECT_EQ(set.pieces[0].path, "stands");
    EXPECT_EQ(set.pieces[1].path, "first path");
    EXPECT_EQ(set.pieces[1].size, 18446744073709551615U);
    EXPECT_EQ(set.pieces[1].object, "first object");
    EXPECT_EQ(Value(set.pieces[1].extended_attrs), Value(Object{{"a", 1}}));
    EXPECT_EQ(set.pieces[2].path, "");
    EXPECT_EQ(set.pieces[2].size, 0u);
    EXPECT_TRUE(set.pieces[2].extended_attrs.empty());
}

TEST(OpenStack_Backup_Set_Load, loading_twice_appends_twice)
{
    Object json = required_document();
    json["pieces"] = Array{piece("path", 1, "object")};
    json["storages"] = Array{storage("pool", 5, {})};
    OpenStack_Backup_Set set;
    EXPECT_TRUE(set << json);
    EXPECT_TRUE(set << json);
    EXPECT_EQ(set.pieces.size(), 2u);
    EXPECT_EQ(set.storages.size(), 2u);
}

TEST(OpenStack_Backup_Set_Load, piece_that_is_not_whole_fails_and_those_before_it_stay)
{
    std::vector<Value> bad = {"text", Value(), Array(), 5};
    for (const char* key : {"path", "size", "object"}) {
        Object without = piece("path", 1, "object");
        without.erase(key);
        bad.emplace_back(without);
        without[key] = false;
        bad.emplace_back(without);
    }
    bad.emplace_back(Object{{"path", "path"}, {"size", -1}, {"object", "object"}});
    for (const Value& element : bad) {
        SCOPED_TRACE(JSON_Dump(element).str());
        Object json = required_document();
        json["pieces"] = Array{piece("first", 1, "object"), element, piece("third", 3, "object")};
        json["storages"] = Array{storage("pool", 5, {})};
        OpenStack_Backup_Set set;
        const Log_Capture log;
        EXPECT_FALSE(set << json);
        ASSERT_EQ(set.pieces.size(), 1u);
        EXPECT_EQ(set.pieces[0].path, "first");
        EXPECT_TRUE(set.storages.empty());
        EXPECT_EQ(set.backup_start_time, 1704240003);
        expect_caught(log);
    }
}

TEST(OpenStack_Backup_Set_Load, attributes_of_a_piece_that_are_no_object_count_as_absent)
{
    Object element = piece("path", 1, "object");
    element["extended_attrs"] = "text";
    Object json = required_document();
    json["pieces"] = Array{element};
    OpenStack_Backup_Set set;
    EXPECT_TRUE(set << json);
    ASSERT_EQ(set.pieces.size(), 1u);
    EXPECT_TRUE(set.pieces[0].extended_attrs.empty());
}

TEST(OpenStack_Backup_Set_Load, size_of_a_storage_becomes_that_of_the_set)
{
    Object json = required_document();
    json["storages"] = Array{storage("first", 5, {}), storage("second", 7, {})};
    OpenStack_Backup_Set set;
    EXPECT_TRUE(set << json);
    EXPECT_EQ(set.size, 7);
    ASSERT_EQ(set.storages.size(), 2u);
    EXPECT_EQ(set.storages[0].size, 0);
    EXPECT_EQ(set.storages[1].size, 0);
}

TEST(OpenStack_Backup_Set_Load, storages_follow_those_that_stand)
{
    Object with_more = storage("loaded", 5, {"replicated", "no such state", "online", "ONLINE", "replicated"});
    with_more["upstream_pool_uuid"] = "not read";
    with_more["extended_attrs"] = Object{{"not", "read"}};
    with_more["set_uuid"] = "not read";
    Object json = required_document();
    json["storages"] = Array{with_more};
    OpenStack_Backup_Set set;
    set.add_storage("stands", 3);
    EXPECT_TRUE(set << json);
    ASSERT_EQ(set.storages.size(), 2u);
    EXPECT_EQ(set.storages[0].pool_uuid, "stands");
    EXPECT_EQ(set.storages[0].size, 3);
    EXPECT_EQ(set.storages[1].pool_uuid, "loaded");
    EXPECT_EQ(set.storages[1].state.value, 17u);
    EXPECT_EQ(set.storages[1].upstream_pool_uuid, "");
    EXPECT_TRUE(set.storages[1].extended_attrs.empty());
    EXPECT_EQ(set.storages[1].set_uuid, "");
}

TEST(OpenStack_Backup_Set_Load, state_that_is_not_a_text_fails_and_storages_before_it_stay)
{
    const Value elements[] = {1, Value(), true, Array{"online"}, Object(), 0.5};
    for (const Value& element : elements) {
        SCOPED_TRACE(JSON_Dump(element).str());
        Object json = required_document();
        json["pieces"] = Array{piece("path", 1, "object")};
        json["storages"] =
            Array{storage("first", 5, {"offline"}), storage("second", 7, Array{"a", element}), storage("third", 9, {})};
        json["last_backup_uuid"] = "later";
        OpenStack_Backup_Set set;
        const Log_Capture log;
        EXPECT_FALSE(set << json);
        ASSERT_EQ(set.storages.size(), 1u);
        EXPECT_EQ(set.storages[0].pool_uuid, "first");
        EXPECT_EQ(set.storages[0].state.value, 2u);
        EXPECT_EQ(set.size, 7) << "the size is read before the state";
        EXPECT_EQ(set.pieces.size(), 1u);
        EXPECT_EQ(set.last_backup_uuid_, "");
        ASSERT_EQ(log.count(), 1u) << log.text();
        EXPECT_EQ(log.records().front().priority, LM_EMERGENCY);
        EXPECT_EQ(log.records().front().text, "Unexpected error in backup_set/common/openstack_backup_set.cpp:"
                                                  + std::to_string(log.records().front().line)
                                                  + ", j is not string!\n");
    }
}

TEST(OpenStack_Backup_Set_Load, storage_that_is_not_whole_fails_and_those_before_it_stay)
{
    struct Bad
    {
        Value element;
        ACE_INT64 size; ///< of the set then
    };
    std::vector<Bad> bad = {{"text", 5}, {Value(), 5}, {Array(), 5}};
    for (const char* key : {"pool_uuid", "size", "state"}) {
        Object without = storage("second", 7, {"online"});
        without.erase(key);
        const ACE_INT64 size = std::string(key) == "state" ? 7 : 5; // pool, size, state: in this order
        bad.push_back({without, size});
        without[key] = false;
        bad.push_back({without, size});
    }
    for (const Bad& second : bad) {
        SCOPED_TRACE(JSON_Dump(second.element).str());
        Object json = required_document();
        json["storages"] = Array{storage("first", 5, {}), second.element, storage("third", 9, {})};
        OpenStack_Backup_Set set;
        const Log_Capture log;
        EXPECT_FALSE(set << json);
        ASSERT_EQ(set.storages.size(), 1u);
        EXPECT_EQ(set.storages[0].pool_uuid, "first");
        EXPECT_EQ(set.size, second.size);
        expect_caught(log);
    }
}

// What `generate` writes can be loaded again when it has two storages or more (one stands under another key, none under no
// key), when its start time can be written and when no piece is larger than the signed range.

TEST(OpenStack_Backup_Set_Load, written_record_with_two_storages_loads_again)
{
    OpenStack_Backup_Set written = filled_record<OpenStack_Set>();
    Value document;
    ASSERT_TRUE(json_spirit::read(to_json(written), document));
    OpenStack_Backup_Set set;
    const Log_Capture log;
    EXPECT_TRUE(set << document.get_obj());
    EXPECT_EQ(log.count(), 0u) << log.text();
    // What the loader leaves aside.
    written.parents.clear();
    written.uname.clear();
    written.lsb.clear();
    written.size = 12; // of the last storage
    for (Backup_Set_Storage& storage : written.storages) {
        storage.size = 0;
        storage.upstream_pool_uuid.clear();
        storage.extended_attrs.clear();
    }
    EXPECT_EQ(to_json(set), to_json(written));
}

TEST(OpenStack_Backup_Set_Load, written_record_with_fewer_storages_lacks_a_key)
{
    OpenStack_Backup_Set written = filled_record<OpenStack_Set>();
    while (!written.storages.empty()) {
        written.storages.pop_back();
        SCOPED_TRACE(written.storages.size());
        Value document;
        ASSERT_TRUE(json_spirit::read(to_json(written), document));
        OpenStack_Backup_Set set;
        const Log_Capture log;
        EXPECT_FALSE(set << document.get_obj());
        expect_caught(log, "storages");
    }
}

TEST(OpenStack_Backup_Set_Load, written_piece_beyond_the_signed_range_is_no_size)
{
    OpenStack_Backup_Set written = filled_record<OpenStack_Set>();
    written.add_piece("large", 9223372036854775808U);
    Value document;
    ASSERT_TRUE(json_spirit::read(to_json(written), document));
    OpenStack_Backup_Set set;
    const Log_Capture log;
    EXPECT_FALSE(set << document.get_obj());
    EXPECT_EQ(set.pieces.size(), 2u) << "those before it";
    expect_caught(log, "size");
}

TEST(OpenStack_Backup_Set_Load, written_start_time_that_no_calendar_has_is_no_time)
{
    OpenStack_Backup_Set written = filled_record<OpenStack_Set>();
    written.backup_start_time = std::numeric_limits<std::time_t>::max();
    Value document;
    ASSERT_TRUE(json_spirit::read(to_json(written), document));
    OpenStack_Backup_Set set;
    const Log_Capture log;
    EXPECT_FALSE(set << document.get_obj());
    EXPECT_EQ(log.count(LM_ERROR, empty_time), 1u) << log.text();
    EXPECT_EQ(log.count(LM_ERROR, invalid_time), 1u) << log.text();
}

TEST(OpenStack_Backup_Set, typed_columns_are_taken_by_the_current_token_and_not_by_the_path)
{
    OpenStack_Backup_Set set;
    ASSERT_TRUE(set.begin_array(0, "outer"));
    ASSERT_TRUE(set.begin_array(0, "")); // two arrays deep, and the current token is empty
    EXPECT_TRUE(set.print_cstr(0, "vm_id", "taken", 5));
    EXPECT_TRUE(set.print_json(0, "profile", Object{{"taken", 1}}));
    EXPECT_TRUE(set.print_json(0, "volumes", Array{"taken"}));
    EXPECT_TRUE(set.print_cstr(0, "name", "not taken", 9));
    EXPECT_TRUE(set.print_json(0, "uname", Object{{"not", "taken"}}));
    EXPECT_EQ(set.vm_id_, "taken");
    EXPECT_EQ(Value(set.profile_), Value(Object{{"taken", 1}}));
    EXPECT_EQ(Value(set.volumes_), Value(Array{"taken"}));
    EXPECT_EQ(set.name, "") << "the common record looks at the path";
    EXPECT_TRUE(set.uname.empty());
}

TEST(OpenStack_Backup_Set, nothing_is_taken_where_the_current_token_is_not_empty)
{
    OpenStack_Backup_Set set;
    ASSERT_TRUE(set.begin_array(0, "")); // an empty token outside does not matter
    ASSERT_TRUE(set.begin_array(0, "inner"));
    EXPECT_TRUE(set.print_cstr(0, "vm_id", "text", 4));
    EXPECT_TRUE(set.print_json(0, "profile", Object{{"a", 1}}));
    EXPECT_TRUE(set.print_json(0, "volumes", Array{"a"}));
    EXPECT_EQ(to_json(set), OpenStack_Set::fresh_document());
}

TEST(OpenStack_Backup_Set, bad_key_of_a_json_column_is_logged_and_true)
{
    OpenStack_Backup_Set set;
    for (const char* key : {static_cast<const char*>(nullptr), ""}) {
        const Log_Capture log;
        EXPECT_TRUE(set.print_json(0, key, Object{{"a", 1}}));
        expect_one_emergency(log, "backup_set/common/openstack_backup_set.cpp", R"(key is NULL or "")");
    }
}

TEST(OpenStack_Backup_Set, last_backups_are_written_only_when_there_are_any)
{
    OpenStack_Backup_Set set;
    EXPECT_EQ(to_json(set), OpenStack_Set::fresh_document());
    set.last_full_backup_uuid_ = "full";
    EXPECT_EQ(to_json(set), fresh_common("openstack") + OpenStack_Set::fresh + R"(,"last_full_backup_uuid":"full"})");
    set.last_backup_uuid_ = "last";
    EXPECT_EQ(to_json(set), fresh_common("openstack") + OpenStack_Set::fresh
                                + R"(,"last_backup_uuid":"last","last_full_backup_uuid":"full"})");
}

TEST(OpenStack_Backup_Set, aliases_are_those_of_the_caller)
{
    Select_SQL sql;
    OpenStack_Backup_Set::init_select_sql(sql, "own", "common");
    EXPECT_TRUE(sql.str().starts_with(common_columns("common") + R"(, "own"."set_uuid" AS "set_uuid", )")) << sql.str();
    EXPECT_TRUE(sql.str().ends_with(R"( FROM "backup_set" AS "common" )"
                                    R"(INNER JOIN "openstack_backup_set" AS "own" )"
                                    R"(ON "own"."set_uuid" = "common"."uuid")"))
        << sql.str();
}

TEST(OpenStack_Backup_Set, pieces_are_found_by_their_object_in_order)
{
    OpenStack_Backup_Set set;
    for (const char* object : {"x", "y", "x", ""}) {
        set.add_piece("path", 1);
        set.pieces.back().object = object;
    }
    const OpenStack_Backup_Set& constant = set;
    static_assert(std::is_same_v<OpenStack_Backup_Set::Pieces, std::vector<Backup_Piece*>>);
    static_assert(std::is_same_v<OpenStack_Backup_Set::Const_Pieces, std::vector<const Backup_Piece*>>);
    EXPECT_EQ(set.get_pieces("x"), (OpenStack_Backup_Set::Pieces{&set.pieces[0], &set.pieces[2]}));
    EXPECT_EQ(constant.get_pieces("x"), (OpenStack_Backup_Set::Const_Pieces{&set.pieces[0], &set.pieces[2]}));
    EXPECT_TRUE(set.get_pieces("z").empty());
    EXPECT_TRUE(constant.get_pieces("X").empty());
    EXPECT_EQ(set.get_piece("x"), &set.pieces[0]);
    EXPECT_EQ(constant.get_piece("y"), &set.pieces[1]);
    EXPECT_EQ(set.get_piece(""), &set.pieces[3]);
    EXPECT_EQ(set.get_piece("z"), nullptr);
    EXPECT_EQ(constant.get_piece("z"), nullptr);
}

TEST(OpenStack_Backup_Set, no_pieces_are_found_in_a_fresh_record)
{
    OpenStack_Backup_Set set;
    const OpenStack_Backup_Set& constant = set;
    EXPECT_EQ(set.get_piece(""), nullptr);
    EXPECT_EQ(constant.get_piece(""), nullptr);
    EXPECT_TRUE(set.get_pieces("").empty());
}

TEST(Convert_Str_To_Time, null_and_empty_texts_are_logged)
{
    const std::string empty;
    for (const std::string* text : {static_cast<const std::string*>(nullptr), &empty}) {
        std::time_t time = 5;
        const Log_Capture log;
        EXPECT_FALSE(convert_str_to_time(text, time));
        EXPECT_EQ(time, 5);
        expect_one_error(log, empty_time);
    }
}

TEST(Convert_Str_To_Time, other_texts_are_read_without_a_message)
{
    const std::string good = "2001-09-09 01:46:41";
    const std::string bad = "2001-09-09";
    std::time_t time = 5;
    const Log_Capture log;
    EXPECT_FALSE(convert_str_to_time(&bad, time));
    EXPECT_EQ(time, 5);
    EXPECT_TRUE(convert_str_to_time(&good, time));
    EXPECT_EQ(time, 1000000001);
    EXPECT_EQ(log.count(), 0u) << log.text();
}

} // namespace record_test
