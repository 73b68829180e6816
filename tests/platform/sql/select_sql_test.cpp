#include "platform/sql/select_sql.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

using namespace std::string_literals;
using namespace std::string_view_literals;

namespace {

/// The rendered condition alone.
std::string condition(std::string_view text)
{
    const std::string head = R"(SELECT "x" AS "x" FROM "t" AS "b" WHERE )";
    const std::string all = Select_SQL().table("t", "b").add_key("x", "x").where(text).str();
    EXPECT_EQ(all.substr(0, head.size()), head);
    return all.substr(head.size());
}

// Texts that end a name, a text or a statement in some language, or look as if they did.
const std::vector<std::string> hostile_texts = {
    "a\"b",
    "\"",
    "\"\"",
    "a'b",
    "'",
    "a;b",
    "x\"; DROP TABLE t; --",
    "--",
    "/*",
    "*/",
    "a b",
    " a",
    "a.b",
    ".",
    "$1",
    ":a",
    "?",
    "\\",
    "\\\"",
    "a\\",
    "`a`",
    "[a]",
    "a\nb",
    "\xc3\xa4\xe6\xbc\xa2",
    "select",
    "1",
    "(",
    ")",
    ",",
    "a,b",
    "NULL",
};

std::string in_double_quotes(std::string_view name)
{
    std::string result = "\"";
    for (const char c : name) {
        result += c;
        result += c == '"' ? "\"" : "";
    }
    return result + '"';
}

} // namespace

TEST(Select_SQL, composes_a_joined_select_on_one_line)
{
    Select_SQL sql;
    sql.table("backup_set", "b").add_key("b.uuid", "uuid").add_key("b.name", "name");
    sql.add_key("o.database", "database").join("oracle_backup_set", "o", "uuid=o.set_uuid");
    EXPECT_EQ(sql.str(),
              R"(SELECT "b"."uuid" AS "uuid", "b"."name" AS "name", "o"."database" AS "database" )"
              R"(FROM "backup_set" AS "b" INNER JOIN "oracle_backup_set" AS "o" ON "uuid" = "o"."set_uuid")");
}

TEST(Select_SQL, join_may_come_before_the_columns)
{
    Select_SQL sql;
    sql.table("backup_set", "b").add_key("b.uuid", "uuid");
    sql.join("hana_backup_set", "h", "uuid=h.set_uuid").add_key("h.sid", "sid");
    EXPECT_EQ(sql.str(), R"(SELECT "b"."uuid" AS "uuid", "h"."sid" AS "sid" )"
                         R"(FROM "backup_set" AS "b" INNER JOIN "hana_backup_set" AS "h" ON "uuid" = "h"."set_uuid")");
}

TEST(Select_SQL, joins_keep_their_order)
{
    Select_SQL sql;
    sql.table("backup_set", "b").add_key("p.seq", "seq").join("postgres_backup_set", "p", "p.set_uuid=b.uuid");
    sql.join("postgres_physical_set", "ph", "ph.set_uuid=b.uuid");
    EXPECT_EQ(sql.str(), R"(SELECT "p"."seq" AS "seq" FROM "backup_set" AS "b" )"
                         R"(INNER JOIN "postgres_backup_set" AS "p" ON "p"."set_uuid" = "b"."uuid" )"
                         R"(INNER JOIN "postgres_physical_set" AS "ph" ON "ph"."set_uuid" = "b"."uuid")");
}

TEST(Select_SQL, reserved_words_serve_as_aliases_columns_and_keys)
{
    Select_SQL sql;
    sql.table("backup_set", "b").add_key("do.select", "from").add_key("do.seq", ".database");
    sql.join("domino_backup_set", "do", "uuid=do.set_uuid").where("do.order IS NULL");
    EXPECT_EQ(sql.str(), R"(SELECT "do"."select" AS "from", "do"."seq" AS ".database" FROM "backup_set" AS "b" )"
                         R"(INNER JOIN "domino_backup_set" AS "do" ON "uuid" = "do"."set_uuid" )"
                         R"(WHERE "do"."order" IS NULL)");
}

TEST(Select_SQL, second_table_is_a_cross_join)
{
    Select_SQL sql;
    sql.table("backup_set", "b").add_key("b.uuid", "uuid").table("fusioncloud_backup_set", "f");
    sql.add_key("f.vm_id", "vm_id").where("f.set_uuid=b.uuid").join("x", "x", "x.id=b.uuid");
    EXPECT_EQ(sql.str(), R"(SELECT "b"."uuid" AS "uuid", "f"."vm_id" AS "vm_id" FROM "backup_set" AS "b" )"
                         R"(CROSS JOIN "fusioncloud_backup_set" AS "f" INNER JOIN "x" AS "x" ON "x"."id" = "b"."uuid" )"
                         R"(WHERE "f"."set_uuid" = "b"."uuid")");
    EXPECT_EQ(sql.str(SQL_Dialect::POSTGRESQL), sql.str());
}

TEST(Select_SQL, second_table_leaves_sqlite_the_choice_of_the_order)
{
    const Select_SQL sql = Select_SQL().table("a", "a").table("b", "b").add_key("a.x", "x");
    EXPECT_EQ(sql.str(SQL_Dialect::SQLITE), R"(SELECT "a"."x" AS "x" FROM "a" AS "a" INNER JOIN "b" AS "b" ON TRUE)");
}

TEST(Select_SQL, tables_under_one_alias_become_one_derived_table)
{
    Select_SQL sql;
    sql.table("backup_set", "a").add_key("a.uuid", "uuid").table("hive_backup_set", "a").add_key("a.seq", "seq");
    EXPECT_EQ(sql.str(), R"(SELECT "a"."uuid" AS "uuid", "a"."seq" AS "seq" )"
                         R"(FROM (SELECT * FROM "backup_set" INNER JOIN "hive_backup_set" )"
                         R"(ON "backup_set"."uuid" = "hive_backup_set"."set_uuid") AS "a")");
}

TEST(Select_SQL, three_tables_under_one_alias_are_all_related_to_the_first)
{
    Select_SQL sql;
    sql.table("x", "a").table("y", "a").table("z", "a").add_key("a.uuid", "uuid");
    EXPECT_EQ(sql.str(), R"(SELECT "a"."uuid" AS "uuid" FROM (SELECT * FROM "x" )"
                         R"(INNER JOIN "y" ON "x"."uuid" = "y"."set_uuid" )"
                         R"(INNER JOIN "z" ON "x"."uuid" = "z"."set_uuid") AS "a")");
}

TEST(Select_SQL, tables_without_an_alias_are_apart)
{
    EXPECT_EQ(Select_SQL().table("x").table("y").add_key("x.a", "a").str(),
              R"(SELECT "x"."a" AS "a" FROM "x" CROSS JOIN "y")");
}

TEST(Select_SQL, same_key_may_come_twice)
{
    Select_SQL sql;
    sql.table("t", "b").add_key("b.extended_attrs", "extended_attrs").add_key("h.extended_attrs", "extended_attrs");
    EXPECT_EQ(sql.str(), R"(SELECT "b"."extended_attrs" AS "extended_attrs", "h"."extended_attrs" AS "extended_attrs" )"
                         R"(FROM "t" AS "b")");
}

TEST(Select_SQL, column_list_gives_each_column_its_own_name)
{
    Select_SQL sql;
    sql.table("backup_set_storage").select("pool_uuid,state, size ,s.upstream_pool_uuid,\"odd \"\"name\",s.\"limit\"");
    EXPECT_EQ(sql.str(), R"(SELECT "pool_uuid" AS "pool_uuid", "state" AS "state", "size" AS "size", )"
                         R"("s"."upstream_pool_uuid" AS "upstream_pool_uuid", "odd ""name" AS "odd ""name", )"
                         R"("s"."limit" AS "limit" FROM "backup_set_storage")");
    EXPECT_EQ(sql.rendered(SQL_Dialect::SQLITE)->keys,
              (std::vector{"pool_uuid"s, "state"s, "size"s, "upstream_pool_uuid"s, "odd \"name"s, "limit"s}));
}

TEST(Select_SQL, column_list_may_hold_expressions_under_their_own_text)
{
    EXPECT_EQ(Select_SQL().table("t").select("max(a, b), count(*), a+b").str(),
              R"sql(SELECT max("a", "b") AS "max(a, b)", count(*) AS "count(*)", "a" + "b" AS "a+b" FROM "t")sql");
}

TEST(Select_SQL, star_takes_the_keys_of_the_engine)
{
    const Select_SQL sql = Select_SQL().table("t", "b").select("b.*").add_key("1", "one");
    EXPECT_EQ(sql.str(), R"(SELECT "b".*, 1 AS "one" FROM "t" AS "b")");
    EXPECT_TRUE(sql.rendered(SQL_Dialect::STANDARD)->keys.empty());
    EXPECT_EQ(Select_SQL().table("t").select("*").str(), R"(SELECT * FROM "t")");
}

TEST(Select_SQL, conditions_are_joined_by_and_in_their_order)
{
    Select_SQL sql;
    sql.table("t").add_key("a", "a").where("b=:b").where(Where_SQL("c=1").add("d=2 OR e=3")).where("f");
    EXPECT_EQ(sql.str(), R"(SELECT "a" AS "a" FROM "t" WHERE "b" = :b AND "c" = 1 AND ("d" = 2 OR "e" = 3) AND "f")");
}

TEST(Select_SQL, condition_is_in_parentheses_only_when_it_needs_them)
{
    EXPECT_EQ(condition("a OR b"), R"(("a" OR "b"))");
    EXPECT_EQ(condition("(a OR b)"), R"(("a" OR "b"))");
    EXPECT_EQ(condition("a AND b"), R"("a" AND "b")");
    EXPECT_EQ(condition("x='a OR b'"), R"("x" = 'a OR b')");
    EXPECT_EQ(condition("f(a or b) or c"), R"((f("a" OR "b") OR "c"))");
}

TEST(Select_SQL, empty_where_changes_nothing)
{
    EXPECT_EQ(Select_SQL().table("t").add_key("a", "a").where(Where_SQL()).str(), R"(SELECT "a" AS "a" FROM "t")");
}

TEST(Select_SQL, condition_may_hold_a_sub_select)
{
    EXPECT_EQ(condition("EXISTS (SELECT 1 FROM backup_piece AS p WHERE p.set_uuid=b.uuid LIMIT 1)"),
              R"(EXISTS (SELECT 1 FROM "backup_piece" AS "p" WHERE "p"."set_uuid" = "b"."uuid" LIMIT 1))");
    EXPECT_EQ(condition("a IN (SELECT a FROM t) AND limit=1"), R"("a" IN (SELECT "a" FROM "t") AND "limit" = 1)");
}

TEST(Select_SQL, operators_made_of_words_are_keywords_in_conditions)
{
    EXPECT_EQ(condition("a is not null and b between 1 and 2 and not c like 'x' and d in (1)"),
              R"("a" IS NOT NULL AND "b" BETWEEN 1 AND 2 AND NOT "c" LIKE 'x' AND "d" IN (1))");
    EXPECT_EQ(condition("a IS DISTINCT FROM b AND c COLLATE NOCASE = true"),
              R"("a" IS DISTINCT FROM "b" AND "c" COLLATE "NOCASE" = TRUE)");
}

TEST(Select_SQL, words_of_statements_are_names_in_conditions)
{
    EXPECT_EQ(condition("order=1 AND limit=2 AND from=3 AND select=4 AND desc=5 AND end=6"),
              R"("order" = 1 AND "limit" = 2 AND "from" = 3 AND "select" = 4 AND "desc" = 5 AND "end" = 6)");
    EXPECT_EQ(condition("a = 1 ORDER BY b"), R"("a" = 1 "ORDER" "BY" "b")") << "a condition holds no clause";
}

TEST(Select_SQL, what_is_not_one_expression_is_refused)
{
    for (const std::string_view text :
         {""sv, " "sv, "1=1) OR (1=1"sv, "a, b"sv, "a; b"sv, "a -- b"sv, "'a"sv, "\"a"sv, "a\0b"sv, "a /* b"sv})
    {
        EXPECT_THROW(Select_SQL().table("t").add_key(text, "k").str(), SQL_Syntax_Error) << text;
        EXPECT_THROW(Select_SQL().table("t").add_key("k", "k").where(text).str(), SQL_Syntax_Error) << text;
        EXPECT_THROW(Select_SQL().table("t").add_key("k", "k").join("u", "u", text).str(), SQL_Syntax_Error) << text;
        if (text != "a, b") {
            EXPECT_THROW(Select_SQL().table("t").add_key("k", "k").order_by(text).str(), SQL_Syntax_Error) << text;
            EXPECT_THROW(Select_SQL().table("t").select(text).str(), SQL_Syntax_Error) << text;
        }
    }
}

TEST(Select_SQL, order_by_takes_directions)
{
    Select_SQL sql;
    sql.table("t", "b").add_key("a", "a").order_by("b.start DESC").order_by("desc ASC NULLS LAST, c collate nocase");
    EXPECT_EQ(sql.str(), R"(SELECT "a" AS "a" FROM "t" AS "b" )"
                         R"(ORDER BY "b"."start" DESC, "desc" ASC NULLS LAST, "c" COLLATE "nocase")");
}

TEST(Select_SQL, limit_zero_lifts_the_limit)
{
    Select_SQL sql;
    sql.table("t").add_key("a", "a").limit(5);
    EXPECT_EQ(sql.str(), R"(SELECT "a" AS "a" FROM "t" LIMIT 5)");
    EXPECT_EQ(sql.rendered(SQL_Dialect::STANDARD)->limit, 5u);
    sql.limit(0);
    EXPECT_EQ(sql.str(), R"(SELECT "a" AS "a" FROM "t")");
    EXPECT_EQ(sql.rendered(SQL_Dialect::STANDARD)->limit, std::nullopt);
    sql.limit(std::numeric_limits<std::size_t>::max());
    EXPECT_EQ(sql.str(), R"(SELECT "a" AS "a" FROM "t" LIMIT 18446744073709551615)");
}

TEST(Select_SQL, parameters_of_all_clauses_share_their_numbers)
{
    Select_SQL sql;
    sql.table("t", "b").add_key("b.a + :x", "a").join("u", "u", "u.id=:y").where("b.c=:x").order_by("b.d * :z");
    EXPECT_EQ(sql.str(SQL_Dialect::POSTGRESQL),
              R"(SELECT "b"."a" + $1 AS "a" FROM "t" AS "b" INNER JOIN "u" AS "u" ON "u"."id" = $2 )"
              R"(WHERE "b"."c" = $1 ORDER BY "b"."d" * $3)");
    EXPECT_EQ(sql.rendered(SQL_Dialect::POSTGRESQL)->parameters, (std::vector{":x"s, ":y"s, ":z"s}));
}

TEST(Select_SQL, where_brings_its_values)
{
    Select_SQL sql;
    sql.table("t").add_key("a", "a").where(Where_SQL("a=:a").bind(":a", 1)).bind(":b", 2);
    EXPECT_EQ(sql.bindings(), (SQL_Bindings{{":a", 1}, {":b", 2}}));
}

TEST(Select_SQL, conditions_with_one_parameter_name_and_two_values_keep_both)
{
    Select_SQL sql;
    sql.table("t").add_key("a", "a").where(Where_SQL("a=:v").bind(":v", 1));
    sql.where(Where_SQL("b=:v AND c=':v' AND \":v\"=:v2 AND d=e::v").bind(":v", 2).bind(":v_2", 3));
    sql.where(Where_SQL("f=:v").bind(":v", 1));
    EXPECT_EQ(sql.str(), R"(SELECT "a" AS "a" FROM "t" WHERE "a" = :v AND )"
                         R"("b" = :v_3 AND "c" = ':v' AND ":v" = :v2 AND "d" = "e"::v AND "f" = :v)");
    EXPECT_EQ(sql.bindings(), (SQL_Bindings{{":v", 1}, {":v_3", 2}, {":v_2", 3}}));
}

TEST(Select_SQL, is_empty_until_it_has_a_table_or_a_column)
{
    EXPECT_TRUE(Select_SQL().empty());
    EXPECT_TRUE(Select_SQL().where("a=1").limit(1).empty());
    EXPECT_FALSE(Select_SQL().table("t").empty());
    EXPECT_FALSE(Select_SQL().add_key("1", "one").empty());
}

TEST(Select_SQL, without_columns_or_with_a_join_to_nothing_it_is_refused)
{
    EXPECT_THROW(Select_SQL().str(), SQL_Syntax_Error);
    EXPECT_THROW(Select_SQL().table("t").str(), SQL_Syntax_Error);
    EXPECT_THROW(Select_SQL().add_key("1", "one").join("t", "t", "a=b").str(), SQL_Syntax_Error);
    EXPECT_EQ(Select_SQL().add_key("1", "one").str(), R"(SELECT 1 AS "one")");
}

TEST(Select_SQL, every_text_serves_as_table_alias_and_key)
{
    for (const std::string& text : hostile_texts) {
        Select_SQL sql;
        sql.table(text, text).add_key(text + ".uuid", text).join("u", text + "2", text + "2.a=" + text + ".b");
        EXPECT_EQ(sql.str(), "SELECT " + in_double_quotes(text) + ".\"uuid\" AS " + in_double_quotes(text) + " FROM "
                                 + in_double_quotes(text) + " AS " + in_double_quotes(text) + " INNER JOIN \"u\" AS "
                                 + in_double_quotes(text + "2") + " ON " + in_double_quotes(text + "2")
                                 + ".\"a\" = " + in_double_quotes(text) + ".\"b\"")
            << text;
    }
}

TEST(Select_SQL, every_text_serves_as_the_name_of_a_table_without_an_alias)
{
    for (const std::string& text : hostile_texts) {
        EXPECT_EQ(Select_SQL().table(text).add_key(text + ".uuid", "uuid").str(),
                  "SELECT " + in_double_quotes(text) + ".\"uuid\" AS \"uuid\" FROM " + in_double_quotes(text))
            << text;
    }
}

TEST(Select_SQL, every_text_serves_as_an_alias_of_two_tables)
{
    for (const std::string& text : hostile_texts) {
        EXPECT_EQ(Select_SQL().table(text, text).table("h", text).add_key(text + ".seq", "seq").str(),
                  "SELECT " + in_double_quotes(text) + ".\"seq\" AS \"seq\" FROM (SELECT * FROM "
                      + in_double_quotes(text) + " INNER JOIN \"h\" ON " + in_double_quotes(text)
                      + ".\"uuid\" = \"h\".\"set_uuid\") AS " + in_double_quotes(text))
            << text;
    }
}

TEST(Select_SQL, longest_alias_is_recognised_first)
{
    Select_SQL sql;
    sql.table("t", "a").join("u", "a.b", "a.x=a.b.x").add_key("a.b.y", "y");
    EXPECT_EQ(sql.str(), R"(SELECT "a.b"."y" AS "y" FROM "t" AS "a" INNER JOIN "u" AS "a.b" ON "a"."x" = "a.b"."x")");
}

TEST(Select_SQL, alias_that_looks_like_a_number_leaves_numbers_alone)
{
    Select_SQL sql;
    sql.table("t", "1").add_key("1.a + 1.5", "x");
    EXPECT_EQ(sql.str(), R"(SELECT "1"."a" + 1.5 AS "x" FROM "t" AS "1")");
}

TEST(Select_SQL, empty_names_and_nuls_are_refused)
{
    const std::string nul("a\0b", 3);
    EXPECT_THROW(Select_SQL().table("").add_key("a", "a").str(), SQL_Syntax_Error);
    EXPECT_THROW(Select_SQL().table(nul).add_key("a", "a").str(), SQL_Syntax_Error);
    EXPECT_THROW(Select_SQL().table("t", nul).add_key("a", "a").str(), SQL_Syntax_Error);
    EXPECT_THROW(Select_SQL().table("t", nul).add_key(nul + ".a", "a").str(), SQL_Syntax_Error);
    EXPECT_THROW(Select_SQL().table("t").add_key("a", "").str(), SQL_Syntax_Error);
    EXPECT_THROW(Select_SQL().table("t").add_key("a", nul).str(), SQL_Syntax_Error);
    EXPECT_THROW(Select_SQL().table("t").add_key("a", "a").join("", "u", "1=1").str(), SQL_Syntax_Error);
}

TEST(Select_SQL, changing_a_copy_leaves_the_original)
{
    const Select_SQL original = Select_SQL().table("t").add_key("a", "a");
    const std::string before = original.str();
    Select_SQL copy = original;
    copy.where("b=1").limit(2);
    EXPECT_EQ(original.str(), before);
    EXPECT_EQ(copy.str(), before + R"( WHERE "b" = 1 LIMIT 2)");
}

TEST(Select_SQL, changing_after_rendering_is_seen)
{
    Select_SQL sql;
    sql.table("t").add_key("a", "a");
    const auto rendered = sql.rendered(SQL_Dialect::SQLITE);
    sql.add_key("b", "b");
    EXPECT_EQ(sql.str(SQL_Dialect::SQLITE), R"(SELECT "a" AS "a", "b" AS "b" FROM "t")");
    EXPECT_EQ(rendered->text, R"(SELECT "a" AS "a" FROM "t")");
}

TEST(Select_SQL, binding_a_copy_does_not_render_anew)
{
    const Select_SQL original = Select_SQL().table("t").add_key("a", "a").where("b=:b");
    Select_SQL copy = original;
    copy.bind(":b", 1);
    EXPECT_EQ(copy.rendered(SQL_Dialect::POSTGRESQL).get(), original.rendered(SQL_Dialect::POSTGRESQL).get());
}

TEST(Select_SQL, rendering_says_that_it_is_composed)
{
    EXPECT_TRUE(Select_SQL().add_key("1", "a").rendered(SQL_Dialect::STANDARD)->composed_select);
    EXPECT_FALSE(SQL("SELECT 1").rendered(SQL_Dialect::STANDARD)->composed_select);
}
