#include "catalog/schema/set_type.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace {
using namespace catalog;
}

TEST(Set_Type, entries_are_found_by_their_id)
{
    for (const Set_Type& type : set_types()) {
        EXPECT_EQ(find_set_type(type.id), &type);
    }
    EXPECT_EQ(find_set_type("no_such_type"), nullptr);
    EXPECT_EQ(find_set_type(""), nullptr);
    EXPECT_EQ(find_set_type("Oracle"), nullptr);
}

TEST(Set_Type, entries_say_what_their_class_does)
{
    for (const Set_Type& type : set_types()) {
        SCOPED_TRACE(type.id);
        EXPECT_STREQ(type.make()->catalog_module, type.catalog_module);
        Select_SQL sql;
        type.init_select(sql, type.aliases);
        if (const char* base = type.base_alias(type.aliases)) {
            EXPECT_NE(sql.str().find("\"backup_set\""), std::string::npos) << sql.str();
            EXPECT_NE(sql.str().find(" AS \"" + std::string(base) + '"'), std::string::npos) << sql.str();
        } else {
            EXPECT_TRUE(sql.empty() || sql.str().find("\"backup_set\"") == std::string::npos) << sql.str();
        }
        for (const char* table : type.tables) {
            EXPECT_NE(sql.str().find('"' + std::string(table) + '"'), std::string::npos) << sql.str();
        }
    }
}

TEST(Set_Type, a_select_takes_the_aliases_that_are_given)
{
    Select_SQL sql;
    const std::vector<const char*> given = {"mine"};
    find_set_type("file")->init_select(sql, given);
    EXPECT_NE(sql.str().find("\"backup_set\" AS \"mine\""), std::string::npos);
    EXPECT_STREQ(find_set_type("file")->base_alias(given), "mine");
}

TEST(Set_Type, a_document_s_type_follows_from_its_module)
{
    EXPECT_EQ(set_type_of("oracle", ""), find_set_type("oracle"));
    EXPECT_EQ(set_type_of("oracle_arch", "file"), find_set_type("oracle_arch"));
    EXPECT_EQ(set_type_of("nonsense", "oracle"), nullptr);
}

TEST(Set_Type, without_a_module_it_follows_from_the_agent)
{
    EXPECT_EQ(set_type_of("", "file"), find_set_type("file"));
    EXPECT_EQ(set_type_of("", "gbase"), find_set_type("mysql"));
    EXPECT_EQ(set_type_of("", ""), nullptr);
    EXPECT_EQ(set_type_of("", "nonsense"), nullptr);
}

TEST(Set_Type, known_ids_are_listed_for_messages)
{
    const std::string known = known_set_types();
    EXPECT_TRUE(known.starts_with("oracle, oracle_arch, ")) << known;
    std::set<std::string> ids;
    for (const Set_Type& type : set_types()) {
        EXPECT_TRUE(ids.insert(type.id).second) << type.id;
        EXPECT_NE(known.find(type.id), std::string::npos);
    }
}
