// What is refused, and in which words.

#include "backup_set/common/backup_set_state.h"
#include "catalog/store/set_document.h"
#include "tests/catalog/store/catalog_test.h"

#include <limits>
#include <sys/mman.h>

namespace {

using namespace catalog;

class Validation_Test : public Catalog_Test
{
protected:
    void refuses(const std::string& document, const std::string& key, const std::string& message)
    {
        const Error error = refusal(document);
        EXPECT_EQ(error.message, message) << document;
        EXPECT_EQ(error.key, key) << document;
    }

    /// Refuses a small document with these members.
    void refuses_members(const std::string& members, const std::string& key, const std::string& message)
    {
        refuses(small(uuid(1), members), key, message);
    }

    void accepts_members(const std::string& members)
    {
        const Record_Result result = store().record(small(uuid(next_++), members));
        EXPECT_FALSE(result.error) << members << ": " << result.error.message;
    }

private:
    unsigned next_ = 100;
};

} // namespace

CATALOG_TEST_ENGINES(Validation_Test);

TEST_P(Validation_Test, what_is_no_json)
{
    refuses("", "", "the document cannot be recorded: invalid JSON at byte 0: the text ends where a value must stand");
    refuses("{\"uuid\":}", "", "the document cannot be recorded: invalid JSON at byte 8: a value must stand here");
    refuses(small(uuid(1)) + " x", "",
            "the document cannot be recorded: invalid JSON at byte 78: something stands behind the value");
    refuses("{\"a\":\"\xff\"}", "", "the document cannot be recorded: invalid JSON at byte 6: invalid UTF-8");
    refuses(std::string(513, '['), "", "the document cannot be recorded: invalid JSON at byte 512: nested too deeply");
}

TEST_P(Validation_Test, what_is_no_object)
{
    refuses("[]", "", "the document cannot be recorded: the JSON text is not an object");
    refuses("null", "", "the document cannot be recorded: the JSON text is not an object");
}

TEST_P(Validation_Test, what_is_of_no_known_type)
{
    const std::string known = ": no known type of set; known are: " + known_set_types();
    refuses(R"({"uuid":"x"})", "agent", R"("catalog_module" says nothing and "agent" is missing)" + known);
    refuses(R"({"catalog_module":"","agent":""})", "agent",
            R"("catalog_module" says nothing and "agent" is "")" + known);
    refuses(R"({"catalog_module":"paper","agent":"file"})", "catalog_module", R"("catalog_module" is "paper")" + known);
    refuses(R"({"catalog_module":7})", "catalog_module", R"("catalog_module" is an integer, where a string belongs)");
}

TEST_P(Validation_Test, an_agent_s_name_stands_in_for_an_empty_module)
{
    EXPECT_FALSE(store().record(R"({"agent":"file","catalog_module":"","uuid":")" + uuid(1) + "\"}").error);
    EXPECT_FALSE(store().record(R"({"agent":"file","uuid":")" + uuid(2) + "\"}").error);
    EXPECT_EQ(query("SELECT count(*) FROM backup_set WHERE catalog_type = 'file'").at(0).at(0), "2");
}

TEST_P(Validation_Test, a_missing_or_wrong_uuid)
{
    refuses(R"({"catalog_module":"file"})", "uuid", R"("uuid" is missing)");
    refuses(R"({"catalog_module":"file","uuid":null})", "uuid", R"("uuid" is missing)");
    refuses(R"({"catalog_module":"file","uuid":""})", "uuid", R"("uuid" is empty)");
    refuses(R"({"catalog_module":"file","uuid":"abc"})", "uuid", R"("uuid" is "abc", which is no UUID)");
    refuses(R"({"catalog_module":"file","uuid":[]})", "uuid", R"("uuid" is an array, where a string belongs)");
}

TEST_P(Validation_Test, other_uuids_of_the_record)
{
    for (const char* key : {"job_instance_uuid", "definition_uuid", "host_uuid", "resource_uuid"}) {
        const std::string quoted = '"' + std::string(key) + '"';
        refuses_members(quoted + R"(:"host-a")", key, quoted + R"( is "host-a", which is no UUID)");
        accepts_members(quoted + R"(:"")");
        accepts_members(quoted + R"(:null)");
        accepts_members(quoted + R"(:"URN:UUID:0000000000000000000000000000000A")");
    }
    accepts_members(R"("uid":"root","incarnation":"3")"); // uuids or not
}

TEST_P(Validation_Test, wrong_kinds_under_known_keys)
{
    refuses_members(R"("name":5)", "name", R"("name" is an integer, where a string belongs)");
    refuses_members(R"("name":["a"])", "name", R"("name" is an array, where a string belongs)");
    refuses_members(R"("size":"5")", "size", R"("size" is a string, where an integer belongs)");
    refuses_members(R"("size":5.0)", "size", R"("size" is a real number, where an integer belongs)");
    refuses_members(R"("size":1e3)", "size", R"("size" is a real number, where an integer belongs)");
    refuses_members(R"("resource_tree":[])", "resource_tree",
                    R"("resource_tree" is an array, where an object belongs)");
    refuses_members(R"("uname":"Linux")", "uname", R"("uname" is a string, where an object belongs)");
    refuses_members(R"("database":1)", "database", R"("database" is an integer, where a string belongs)");
    refuses_members(R"("backup_start_time":1700000000)", "backup_start_time",
                    R"("backup_start_time" is an integer, where a string belongs)");
    refuses(R"({"catalog_module":"oracle","uuid":")" + uuid(1) + R"(","cdb":1})", "cdb",
            R"("cdb" is an integer, where a boolean belongs)");
}

TEST_P(Validation_Test, wrong_kinds_in_pieces)
{
    refuses_members(R"("pieces":{})", "pieces", R"("pieces" is an object, where an array belongs)");
    refuses_members(R"("pieces":[{},[]])", "pieces[1]", R"("pieces[1]" is an array, where an object belongs)");
    refuses_members(R"("pieces":[null])", "pieces[0]", R"("pieces[0]" is null, where an object belongs)");
    refuses_members(R"("pieces":[{},{},{},{"size":"1"}])", "pieces[3].size",
                    R"("pieces[3].size" is a string, where an integer belongs)");
    refuses_members(R"("pieces":[{"path":1}])", "pieces[0].path",
                    R"("pieces[0].path" is an integer, where a string belongs)");
    refuses_members(R"("pieces":[{"extended_attrs":[]}])", "pieces[0].extended_attrs",
                    R"("pieces[0].extended_attrs" is an array, where an object belongs)");
    refuses_members(
        R"("pieces":[{"size":9223372036854775808}])", "pieces[0].size",
        R"("pieces[0].size" is 9223372036854775808, which is beyond the range from -9223372036854775808 to )"
        R"(9223372036854775807)");
}

TEST_P(Validation_Test, wrong_kinds_in_storages)
{
    refuses_members(R"("storage":[])", "storage", R"("storage" is an array, where an object belongs)");
    refuses_members(R"("storages":{})", "storages", R"("storages" is an object, where an array belongs)");
    refuses_members(R"("storages":[{},7])", "storages[1]", R"("storages[1]" is an integer, where an object belongs)");
    refuses_members(R"("storage":{"state":17})", "storage.state",
                    R"("storage.state" is an integer, where an array belongs)");
    refuses_members(R"("storages":[{"pool_uuid":"p"}])", "storages[0].pool_uuid",
                    R"("storages[0].pool_uuid" is "p", which is no UUID)");
    refuses_members(R"("storage":{"upstream_pool_uuid":"p"})", "storage.upstream_pool_uuid",
                    R"("storage.upstream_pool_uuid" is "p", which is no UUID)");
    refuses_members(R"("storage":{},"storages":[])", "storages",
                    R"("storage" and "storages" are both there; a set has one of them)");
}

TEST_P(Validation_Test, state_names_that_are_not_known_add_no_bit)
{
    // Every reader of documents takes them so; the document keeps them.
    accepts_members(R"("storage":{"state":["ONLINE","later",5,null,"expired"]})");
    EXPECT_EQ(query("SELECT state FROM backup_set_storage").at(0).at(0), "8");
    EXPECT_EQ(query("SELECT state_bit FROM backup_set_state"), (std::vector<std::vector<std::string>>{{"8"}}));
}

TEST_P(Validation_Test, wrong_parents)
{
    refuses_members(R"("parents":"x")", "parents", R"("parents" is a string, where an array belongs)");
    refuses_members(R"("parents":[")" + uuid(1) + R"(",3])", "parents[1]",
                    R"("parents[1]" is an integer, where a string belongs)");
    refuses_members(R"("parents":[""])", "parents[0]", R"("parents[0]" is "", which is no UUID)");
    accepts_members(R"("parents":[")" + uuid(1) + R"(",")" + uuid(1) + R"("])");
}

TEST_P(Validation_Test, integers_out_of_range)
{
    refuses_members(R"("first_scn":9223372036854775808)", "first_scn",
                    R"("first_scn" is 9223372036854775808, which is beyond the range from -9223372036854775808 to )"
                    R"(9223372036854775807)");
    refuses_members(R"("last_scn":-9223372036854775809)", "last_scn",
                    R"("last_scn" is -9223372036854775809, which is beyond the range from -9223372036854775808 to )"
                    R"(9223372036854775807)");
    const auto oracle = [](const std::string& members) {
        return R"({"catalog_module":"oracle","uuid":")" + uuid(1) + "\"," + members + '}';
    };
    refuses(oracle(R"("dbid":-1)"), "dbid",
            R"("dbid" is -1, which is beyond the range from 0 to 18446744073709551615)");
    refuses(oracle(R"("dbid":18446744073709551616)"), "dbid",
            R"("dbid" is 18446744073709551616, which is beyond the range from 0 to 18446744073709551615)");
    refuses(oracle(R"("dbid":true)"), "dbid", R"("dbid" is a boolean, where an integer belongs)");
    record(oracle(R"("dbid":18446744073709551615,"reset_scn":-0,"first_scn":-9223372036854775808,"last_scn":false)"));
    EXPECT_EQ(query("SELECT dbid, reset_scn FROM oracle_backup_set").at(0),
              (std::vector<std::string>{"18446744073709551615", "0"}));
    EXPECT_EQ(query("SELECT first_scn, last_scn FROM backup_set").at(0),
              (std::vector<std::string>{"-9223372036854775808", "0"}));
}

TEST_P(Validation_Test, times_that_are_none)
{
    const std::string end = R"(, which is no time of the form "YYYY-MM-DD HH:MM:SS" (years 1 to 9999))";
    refuses_members(R"("first_time":"yesterday")", "first_time", R"("first_time" is "yesterday")" + end);
    refuses_members(R"("first_time":"2024-02-30 00:00:00")", "first_time",
                    R"("first_time" is "2024-02-30 00:00:00")" + end);
    refuses_members(R"("last_time":"0000-12-31 00:00:00")", "last_time",
                    R"("last_time" is "0000-12-31 00:00:00")" + end);
    refuses_members(R"("backup_end_time":"9999-12-31 23:59:59-00:01")", "backup_end_time",
                    R"("backup_end_time" is "9999-12-31 23:59:59-00:01")" + end);
}

TEST_P(Validation_Test, times_are_kept_in_utc_to_the_second_and_empty_ones_not_at_all)
{
    record(small(uuid(1), R"("first_time":"2024-05-01T22:00:00.75+08:00","last_time":"","backup_start_time":"",)"
                          R"("backup_end_time":"0001-01-01 00:00:00")"));
    record(small(uuid(2), R"("backup_start_time":"9999-12-31 23:59:59","first_time":"1969-12-31 23:59:59")"));
    EXPECT_EQ(query("SELECT first_time, last_time, backup_start_time, backup_end_time FROM backup_set ORDER BY uuid"),
              (std::vector<std::vector<std::string>>{
                  {"2024-05-01 14:00:00", "NULL", "1970-01-01 00:00:00", "0001-01-01 00:00:00"},
                  {"1969-12-31 23:59:59", "NULL", "9999-12-31 23:59:59", "NULL"}}));
}

TEST_P(Validation_Test, a_nul_character_in_a_column)
{
    refuses_members(R"("name":"a\u0000b")", "name",
                    R"("name" holds a NUL character (\u0000), which the catalog cannot keep in a column)");
    refuses_members(R"("pieces":[{"path":"\u0000"}])", "pieces[0].path",
                    R"("pieces[0].path" holds a NUL character (\u0000), which the catalog cannot keep in a column)");
    accepts_members(R"("unknown":"a\u0000b","extended_attrs":{"a":"\u0000"},"resource_tree":{"\u0000":1})");
}

TEST_P(Validation_Test, texts_that_are_too_long_for_an_index)
{
    const std::string longest = [] {
        // Nothing in it can be compressed away.
        std::string text;
        unsigned state = 1;
        while (text.size() < 2000) {
            state = state * 1664525 + 1013904223;
            text += static_cast<char>('0' + (state >> 24) % 75);
            if (text.back() == '\\') {
                text.pop_back();
            }
        }
        return text;
    }();
    accepts_members("\"host\":\"" + longest + "\",\"minor_resource_id\":\"" + longest + '"');
    refuses_members("\"host\":\"" + longest + "x\"", "host", R"("host" has 2001 bytes; at most 2000 can be kept)");
    refuses_members("\"minor_resource_id\":\"" + longest + "x\"", "minor_resource_id",
                    R"("minor_resource_id" has 2001 bytes; at most 2000 can be kept)");
}

TEST_P(Validation_Test, known_keys_that_are_absent_or_null_are_null_columns)
{
    record(small(uuid(1)));
    record(small(uuid(2), R"("name":null,"size":null,"resource_tree":null,"first_time":null,"exp_type":null)"));
    EXPECT_EQ(query("SELECT name, size, resource_tree, first_time, host FROM backup_set"),
              (std::vector<std::vector<std::string>>(2, std::vector<std::string>(5, "NULL"))));
    EXPECT_EQ(query("SELECT exp_type, exp_mode FROM oracle_exp_backup_set"),
              (std::vector<std::vector<std::string>>(2, std::vector<std::string>(2, "NULL"))));
}

TEST_P(Validation_Test, long_values_are_cut_in_messages_between_characters)
{
    const std::string text = std::string(58, 'x') + "éé";
    refuses_members("\"host_uuid\":\"" + text + '"', "host_uuid",
                    "\"host_uuid\" is \"" + std::string(58, 'x') + "..., which is no UUID");
}

TEST_P(Validation_Test, a_document_beyond_the_longest)
{
    // Pages that nobody touches take no memory: the length alone is looked at.
    const std::size_t length = longest_document + 1;
    void* const pages = ::mmap(nullptr, length, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(pages, MAP_FAILED);
    const Record_Result result = store().record(std::string_view(static_cast<const char*>(pages), length));
    ::munmap(pages, length);
    EXPECT_EQ(result.error.kind, Error::REFUSED);
    EXPECT_EQ(result.error.message, "the document has 536870913 bytes; at most 536870912 can be recorded");
}
