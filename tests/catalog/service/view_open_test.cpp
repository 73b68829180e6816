#include "catalog/service/view.h"
#include "tests/catalog/service/view_test.h"

namespace {

using namespace catalog;
using namespace catalog::service;
using json_spirit::Value;

class View_Open_Test : public View_Test
{};

const std::string some = "00000000-0000-4000-8000-000000000001";

} // namespace

INSTANTIATE_TEST_SUITE_P(no_database, View_Open_Test, ::testing::Values(Engine::SQLITE), engine_name);

TEST_P(View_Open_Test, an_unknown_module_is_refused_with_all_that_exist)
{
    const Error error = refusal_of("orcale", "sets", {});
    EXPECT_EQ(error.key, "module");
    EXPECT_EQ(
        error.message,
        "unknown module \"orcale\"; there are: backup_set, oracle, oracle_arch, oracle_exp, postgres, mssql, file, "
        "hive, dmdb, dmdb_log, dmdb_logical, hana, db2, gaussdb, mongodb, domino, oscar, oscar_brcmd, kingbase, "
        "cachedb, ndmp, oceanbase, informix, sybase, exchange, sharepoint, vmware, hyperv, openstack, ics, "
        "fusioncompute, fusioncloud, h3c_cas, cloudos, k8s");
    EXPECT_EQ(refusal_of("", "sets", {}).key, "module");
}

TEST_P(View_Open_Test, a_type_without_a_select_has_no_views)
{
    const Error error = refusal_of("mysql", "sets", {});
    EXPECT_EQ(error.key, "module");
    EXPECT_EQ(error.message,
              "module mysql has no views, for the type has no select: its sets come by module backup_set, view set");
}

TEST_P(View_Open_Test, an_unknown_view_is_refused_with_all_of_the_module)
{
    const Error error = refusal_of("backup_set", "set\ns", {});
    EXPECT_EQ(error.key, "view");
    EXPECT_EQ(error.message, "unknown view \"set?s\"; module backup_set has: sets, set, latest, chain, storages, "
                             "pieces, pool");
    EXPECT_EQ(refusal_of("oracle", "set", {}).message, "unknown view \"set\"; module oracle has: sets, records");
}

TEST_P(View_Open_Test, an_unknown_parameter_is_refused_with_all_of_the_view)
{
    const Error error = refusal_of("set", {{"uuid", some}, {"uid", some}});
    EXPECT_EQ(error.key, "uid");
    EXPECT_EQ(error.message, "unknown parameter \"uid\"; view set of module backup_set has: uuid, form");
    EXPECT_EQ(refusal_of("oracle", "sets", {{"host", "x"}}).message,
              "unknown parameter \"host\"; view sets of module oracle has: uuid, limit, after, form");
    EXPECT_EQ(refusal_of("set", {{"", some}}).message,
              "unknown parameter \"\"; view set of module backup_set has: uuid, form");
}

TEST_P(View_Open_Test, a_missing_parameter_is_refused)
{
    const Error error = refusal_of("latest", {{"type", "oracle"}});
    EXPECT_EQ(error.key, "resource");
    EXPECT_EQ(error.message,
              "\"resource\" is missing: view latest of module backup_set needs it; it has: resource, type, form");
    for (const Value& none : {Value(), Value(""), Value(json_spirit::Secure_String(""))}) {
        EXPECT_EQ(refusal_of("set", {{"uuid", none}}).message,
                  "\"uuid\" is missing: view set of module backup_set needs it; it has: uuid, form");
    }
}

TEST_P(View_Open_Test, a_value_of_a_type_that_is_no_parameter_is_refused)
{
    const Value values[] = {Value(1.5), Value(json_spirit::Array{}), Value(Object{})};
    const char* names[] = {"real", "array", "object"};
    for (std::size_t i = 0; i < std::size(values); ++i) {
        const Error error = refusal_of("sets", {{"limit", values[i]}});
        EXPECT_EQ(error.key, "limit");
        EXPECT_EQ(error.message,
                  "\"limit\" is of the type " + std::string(names[i]) + ", where a string or an integer belongs");
    }
}

TEST_P(View_Open_Test, wrong_values_are_refused)
{
    const auto refused = [](const char* parameter, const Value& value, const std::string& message) {
        const Error error = refusal_of("sets", {{parameter, value}});
        EXPECT_EQ(error.key, parameter);
        EXPECT_EQ(error.message, message);
    };
    const std::string number = ", which is no whole number from 1 to 1000";
    refused("limit", 0, "\"limit\" is \"0\"" + number);
    refused("limit", -1, "\"limit\" is \"-1\"" + number);
    refused("limit", "1001", "\"limit\" is \"1001\"" + number);
    refused("limit", " 1", "\"limit\" is \" 1\"" + number);
    refused("limit", "1e2", "\"limit\" is \"1e2\"" + number);
    refused("limit", "99999999999999999999", "\"limit\" is \"99999999999999999999\"" + number);
    refused("limit", true, "\"limit\" is \"true\"" + number);
    refused("resource", "disk' OR '1'='1", "\"resource\" is \"disk' OR '1'='1\", which is no UUID");
    refused("type", "Oracle", "\"type\" is \"Oracle\", which is no type of set; known are: " + known_set_types());
    refused(
        "state", "on",
        "\"state\" is \"on\", which is no state; known are: online, offline, nearline, expired, replicated, warmup, "
        "incomplete, unsync, virtual");
    refused("life", "dead", "\"life\" is \"dead\", which is none of: committed, open, complete, any");
    const std::string time = ", which is no time of the form \"YYYY-MM-DD HH:MM:SS\" or \"YYYY-MM-DD\"";
    refused("since", "2024-02-30", "\"since\" is \"2024-02-30\"" + time);
    refused("until", 1704067200, "\"until\" is \"1704067200\"" + time);
    refused("host", std::string("a\0b", 3), "\"host\" is \"a?b\", which is not UTF-8 text without NUL");
    refused("minor_resource", "\xff", "\"minor_resource\" is \"\xff\", which is not UTF-8 text without NUL");
    refused("host", "\xed\xa0\x80", "\"host\" is \"\xed\xa0\x80\", which is not UTF-8 text without NUL");
    refused("after", "2024-01-01",
            "\"after\" is \"2024-01-01\", which is no key of a page: a page gives one as \"next\"");
}

TEST_P(View_Open_Test, keys_of_other_views_are_refused)
{
    const std::string set_key = "2024-01-01T00:00:00Z/" + some;
    const auto refused = [](const char* module, const char* view, Object parameters, const std::string& key) {
        parameters["after"] = key;
        EXPECT_EQ(refusal_of(module, view, parameters).key, "after") << view << ' ' << key;
    };
    for (const std::string& key : {std::string("1"), set_key + "/1", some, set_key + "'"}) {
        refused("backup_set", "sets", {}, key);
        refused("oracle", "sets", {}, key);
    }
    for (const std::string& key :
         {std::string("0"), std::string("-1"), std::string("1x"), set_key, some, std::string("9223372036854775808")})
    {
        refused("backup_set", "pieces", {{"uuid", some}}, key);
    }
    for (const std::string& key : {std::string("1"), set_key, set_key + "/", set_key + "/x", "/" + some + "/1"}) {
        refused("backup_set", "pool", {{"pool", some}}, key);
    }
    for (const std::string& key : {std::string("1"), set_key}) {
        refused("hyperv", "sets", {}, key);
    }
}

TEST_P(View_Open_Test, filters_of_committed_sets_and_keys_do_not_fit_other_lives)
{
    for (const char* filter : {"host", "resource", "minor_resource", "state", "since", "until"}) {
        const std::string name = filter;
        const std::string value = name == "resource" ? some : name == "state" ? "online" : "2024-01-01";
        const Error error = refusal_of("sets", {{"life", "any"}, {name, value}});
        EXPECT_EQ(error.key, name);
        EXPECT_EQ(error.message, '"' + name + "\" chooses among committed sets only, \"life\" is \"any\"");
    }
    const std::string key = "2024-01-01T00:00:00Z/" + some;
    EXPECT_EQ(refusal_of("sets", {{"after", "open/" + key}}).key, "after");
    EXPECT_EQ(refusal_of("sets", {{"life", "open"}, {"after", key}}).key, "after");
    EXPECT_EQ(refusal_of("sets", {{"life", "any"}, {"after", "open/"}}).key, "after");
}

TEST_P(View_Open_Test, a_view_is_opened_without_a_database)
{
    Error error;
    error.kind = Error::DATABASE;
    const auto view = open_view("backup_set", "sets", {{"limit", "10"}}, error);
    ASSERT_NE(view, nullptr);
    EXPECT_FALSE(error);
    EXPECT_FALSE(view->at_end());
}

TEST_P(View_Open_Test, each_view_is_described_once_and_its_parameters_too)
{
    std::vector<std::string> names;
    for (const View_Description& view : view_descriptions()) {
        names.push_back(std::string(view.module) + '/' + view.name);
        EXPECT_EQ(view.type != nullptr, std::string_view(view.module) != "backup_set");
        EXPECT_FALSE(std::string_view(view.purpose).empty());
        std::vector<std::string> parameters;
        for (const View_Parameter& parameter : view.parameters) {
            parameters.emplace_back(parameter.name);
            EXPECT_FALSE(std::string_view(parameter.meaning).empty()) << parameter.name;
            EXPECT_TRUE(parameter.kind == Parameter_Kind::COUNT || (parameter.usual == 0 && parameter.most == 0));
        }
        std::ranges::sort(parameters);
        EXPECT_EQ(std::ranges::adjacent_find(parameters), parameters.end()) << names.back();
    }
    EXPECT_EQ(names.size(), 7u + 2 * 34u);
    std::ranges::sort(names);
    EXPECT_EQ(std::ranges::adjacent_find(names), names.end());
}
