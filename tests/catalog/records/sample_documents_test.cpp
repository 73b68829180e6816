// The sample document of each type, recorded in a catalog.
#include "catalog/schema/set_type.h"
#include "platform/json/document.h"
#include "tests/catalog/store/catalog_test.h"

#include <algorithm>
#include <fstream>
#include <sstream>

namespace {

using namespace catalog;

/// A document without the white space between its tokens.
std::string compact(const std::string& document)
{
    std::string text;
    bool in_text = false;
    for (std::size_t i = 0; i < document.size(); ++i) {
        const char c = document[i];
        if (in_text && c == '\\') {
            text += c;
            text += document.at(++i);
            continue;
        }
        in_text ^= c == '"';
        if (in_text || (c != ' ' && c != '\n' && c != '\r' && c != '\t')) {
            text += c;
        }
    }
    return text;
}

std::string sample(const Set_Type& type)
{
    const std::string path = BACKUP_SET_SOURCE_DIR "/examples/documents/" + std::string(type.id) + ".json";
    std::ifstream file(path);
    if (!file) {
        throw std::runtime_error("cannot read " + path);
    }
    std::stringstream text;
    text << file.rdbuf();
    return compact(text.str());
}

std::ptrdiff_t times(const std::string& document, const char* key)
{
    std::vector<json_document::Member> members;
    std::string error;
    if (!json_document::split_object(document, members, &error)) {
        throw std::runtime_error(error);
    }
    return std::ranges::count(members, key, &json_document::Member::key);
}

class Sample_Documents_Test : public Catalog_Test
{};

} // namespace

CATALOG_TEST_ENGINES(Sample_Documents_Test);

TEST_P(Sample_Documents_Test, come_back_key_for_key)
{
    std::vector<std::pair<std::string, std::string>> recorded;
    for (const Set_Type& type : set_types()) {
        SCOPED_TRACE(type.id);
        const std::string document = sample(type);
        recorded.emplace_back(record(document), document);
    }
    EXPECT_EQ(recorded.size(), 36u);
    for (const auto& [uuid, document] : recorded) {
        EXPECT_EQ(Catalog_Test::document(uuid), document);
    }
}

TEST_P(Sample_Documents_Test, are_kept_under_their_type)
{
    std::vector<std::vector<std::string>> expected;
    for (const Set_Type& type : set_types()) {
        record(sample(type));
        expected.push_back({type.id, "1"});
    }
    std::vector<std::vector<std::string>> kept =
        query("SELECT catalog_type, count(*) FROM backup_set GROUP BY catalog_type");
    std::ranges::sort(expected);
    std::ranges::sort(kept);
    EXPECT_EQ(kept, expected);
}

TEST_P(Sample_Documents_Test, hold_a_key_of_two_meanings_twice)
{
    std::vector<std::string> with_two;
    for (const Set_Type& type : set_types()) {
        for (const Repeated_Key& repeated : type.repeated_keys) {
            if (times(Catalog_Test::document(record(sample(type))), repeated.key) == 2) {
                with_two.push_back(type.id);
            }
        }
    }
    // Exchange writes "storages" twice only where there are several common ones; the sample has one, under "storage".
    EXPECT_EQ(with_two, (std::vector<std::string>{"hana", "windows_bmr"}));
}

TEST_P(Sample_Documents_Test, are_found_by_their_type_s_select)
{
    for (const Set_Type& type : set_types()) {
        SCOPED_TRACE(type.id);
        const std::string uuid = record(sample(type));
        Select_SQL sql;
        Error error;
        if (!store().type_select(type, uuid, sql, error)) {
            EXPECT_TRUE(type.tables.empty()) << error.message;
            continue;
        }
        std::size_t found = 0;
        const auto take = [&](Backup_Set& set) {
            ++found;
            EXPECT_EQ(set.uuid, type.base_alias(type.aliases) != nullptr ? uuid : "");
            return true;
        };
        const Log_Capture log;
        EXPECT_TRUE(type.load(store().connection(), sql, take, type.handler()))
            << store().connection().last_error().text();
        EXPECT_EQ(found, 1u);
        EXPECT_EQ(log.count(), 0u) << log.text();
    }
}
