#include "platform/sql/sql.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <thread>
#include <vector>

using namespace std::string_literals;
using namespace std::string_view_literals;

namespace {

std::string standard(std::string_view statement)
{
    return SQL(statement).str();
}

} // namespace

TEST(SQL, names_are_quoted_and_keywords_are_not)
{
    EXPECT_EQ(standard("select uuid from backup_set where size > 5"),
              R"(SELECT "uuid" FROM "backup_set" WHERE "size" > 5)");
    EXPECT_EQ(standard("INSERT INTO t(a,b) VALUES(:a,:b) ON CONFLICT(a) DO UPDATE SET b=excluded.b"),
              R"(INSERT INTO "t" ("a", "b") VALUES (:a, :b) ON CONFLICT ("a") DO UPDATE SET "b" = excluded."b")");
    EXPECT_EQ(standard("INSERT INTO t (a) VALUES (:a) ON CONFLICT DO NOTHING RETURNING id"),
              R"(INSERT INTO "t" ("a") VALUES (:a) ON CONFLICT DO NOTHING RETURNING "id")");
    EXPECT_EQ(standard("INSERT INTO t DEFAULT VALUES"), R"(INSERT INTO "t" DEFAULT VALUES)");
    EXPECT_EQ(standard("UPDATE t SET a=NULL, b=CURRENT_TIMESTAMP WHERE c IS NOT NULL"),
              R"(UPDATE "t" SET "a" = NULL, "b" = CURRENT_TIMESTAMP WHERE "c" IS NOT NULL)");
    EXPECT_EQ(standard("DELETE FROM t WHERE a NOT IN (1,2) AND NOT b"),
              R"(DELETE FROM "t" WHERE "a" NOT IN (1, 2) AND NOT "b")");
    EXPECT_EQ(standard("SELECT a FROM t FOR UPDATE SKIP LOCKED"), R"(SELECT "a" FROM "t" FOR UPDATE SKIP LOCKED)");
    EXPECT_EQ(standard("WITH RECURSIVE r AS (SELECT 1 UNION ALL SELECT n+1 FROM r) SELECT * FROM r"),
              R"(WITH RECURSIVE "r" AS (SELECT 1 UNION ALL SELECT "n" + 1 FROM "r") SELECT * FROM "r")");
    EXPECT_EQ(standard("SELECT a,count(*) FROM t GROUP BY a HAVING count(*)>1 ORDER BY a DESC NULLS LAST,b ASC "
                       "LIMIT 1 OFFSET 2"),
              R"(SELECT "a", count(*) FROM "t" GROUP BY "a" HAVING count(*) > 1 ORDER BY "a" DESC NULLS LAST, "b" ASC )"
              "LIMIT 1 OFFSET 2");
    EXPECT_EQ(standard("SELECT DISTINCT a FROM t LEFT OUTER JOIN u USING (a)"),
              R"(SELECT DISTINCT "a" FROM "t" LEFT OUTER JOIN "u" USING ("a"))");
}

TEST(SQL, names_keep_their_case_and_keywords_become_upper_case)
{
    EXPECT_EQ(standard("sElEcT Uuid fRoM Backup_Set"), R"(SELECT "Uuid" FROM "Backup_Set")");
}

TEST(SQL, words_of_statements_are_names_where_they_have_no_such_meaning)
{
    EXPECT_EQ(standard("SELECT first, last, do, nothing, skip, share, conflict, end FROM t"),
              R"(SELECT "first", "last", "do", "nothing", "skip", "share", "conflict", "end" FROM "t")");
    EXPECT_EQ(standard("SELECT t.order, t.select FROM order.group AS t"),
              R"(SELECT "t"."order", "t"."select" FROM "order"."group" AS "t")");
}

TEST(SQL, name_in_double_quotes_is_taken_as_it_is)
{
    EXPECT_EQ(standard(R"(SELECT "limit", "a ""b"";--" FROM t)"), R"(SELECT "limit", "a ""b"";--" FROM "t")");
}

TEST(SQL, text_in_quotes_is_left_alone)
{
    EXPECT_EQ(standard(R"(SELECT 'it''s; -- "fine" :x \' FROM t)"), R"(SELECT 'it''s; -- "fine" :x \' FROM "t")");
}

TEST(SQL, function_calls_are_left_alone)
{
    EXPECT_EQ(standard("SELECT coalesce( max(a), 0 ), length (b) FROM json_each(:x)"),
              R"(SELECT coalesce(max("a"), 0), "length" ("b") FROM json_each(:x))");
}

TEST(SQL, types_are_left_alone)
{
    EXPECT_EQ(standard("SELECT CAST(a AS varchar(10)), cast(b+1 AS double precision), c::bigint FROM t"),
              R"(SELECT CAST("a" AS varchar(10)), cast("b" + 1 AS double precision), "c"::bigint FROM "t")");
}

TEST(SQL, numbers_are_left_alone)
{
    EXPECT_EQ(standard("SELECT 0,1.5,.5,1.,2e10,2.5E-3 FROM t"), R"(SELECT 0, 1.5, .5, 1., 2e10, 2.5E-3 FROM "t")");
}

TEST(SQL, signs_do_not_become_comments)
{
    EXPECT_EQ(standard("SELECT -a, - -1, a - -b, -(a), a*-1, ~a"),
              R"(SELECT -"a", - -1, "a" - -"b", -("a"), "a" * -1, ~"a")");
}

TEST(SQL, operators_stand_between_blanks)
{
    EXPECT_EQ(standard("SELECT a||b,a<>b,a!=b,a<=b,a>=b,a<b,a>b,a%b,a&b,a|b,a<<b,a>>b,a/b,a->b,a->>b"),
              R"(SELECT "a" || "b", "a" <> "b", "a" != "b", "a" <= "b", "a" >= "b", "a" < "b", "a" > "b", "a" % "b", )"
              R"("a" & "b", "a" | "b", "a" << "b", "a" >> "b", "a" / "b", "a" -> "b", "a" ->> "b")");
}

TEST(SQL, ampersand_before_a_quote_is_an_operator)
{
    EXPECT_EQ(standard("SELECT U&\"\\0041\""), "SELECT \"U\" & \"\\0041\"");
}

TEST(SQL, every_space_is_one_blank)
{
    EXPECT_EQ(standard("\tSELECT\n  a\r\n\f,\vb  "), R"(SELECT "a", "b")");
}

TEST(SQL, case_has_its_keywords)
{
    EXPECT_EQ(standard("SELECT case when a like 'x%' escape '!' then 1 else 2 end, when, then, else, end FROM t"),
              R"(SELECT CASE WHEN "a" LIKE 'x%' ESCAPE '!' THEN 1 ELSE 2 END, "when", "then", "else", "end" FROM "t")");
    EXPECT_EQ(standard("SELECT CASE a WHEN 1 THEN CASE WHEN b THEN 2 END ELSE 3 END FROM t"),
              R"(SELECT CASE "a" WHEN 1 THEN CASE WHEN "b" THEN 2 END ELSE 3 END FROM "t")");
}

TEST(SQL, parameters_are_numbered_for_postgresql_and_each_name_has_one_number)
{
    const SQL sql("SELECT a FROM t WHERE b=:one AND c=:two AND d=:one AND e='::one'");
    EXPECT_EQ(sql.str(SQL_Dialect::POSTGRESQL),
              R"(SELECT "a" FROM "t" WHERE "b" = $1 AND "c" = $2 AND "d" = $1 AND "e" = '::one')");
    EXPECT_EQ(sql.str(SQL_Dialect::SQLITE),
              R"(SELECT "a" FROM "t" WHERE "b" = :one AND "c" = :two AND "d" = :one AND "e" = '::one')");
    EXPECT_EQ(sql.str(), sql.str(SQL_Dialect::STANDARD));
    for (const SQL_Dialect dialect : {SQL_Dialect::STANDARD, SQL_Dialect::SQLITE, SQL_Dialect::POSTGRESQL}) {
        EXPECT_EQ(sql.rendered(dialect)->parameters, (std::vector{":one"s, ":two"s}));
    }
}

TEST(SQL, parameter_whose_name_begins_another_is_its_own)
{
    EXPECT_EQ(SQL("SELECT :a, :ab, :a").str(SQL_Dialect::POSTGRESQL), "SELECT $1, $2, $1");
}

TEST(SQL, what_is_not_one_statement_is_refused)
{
    for (const std::string_view statement : {
             ""sv,
             "   "sv,
             "SELECT 1; DROP TABLE t"sv,
             "SELECT 1;"sv,
             "SELECT 1 -- comment"sv,
             "SELECT 1--1"sv,
             "SELECT /* comment */ 1"sv,
             "SELECT 'open"sv,
             "SELECT 'open''"sv,
             "SELECT \"open"sv,
             "SELECT (1"sv,
             "SELECT 1)"sv,
             "SELECT )1("sv,
             "SELECT a\0b"sv,
             "SELECT 'a\0b'"sv,
             "SELECT \"a\0b\""sv,
             "SELECT \"\""sv,
             "SELECT a\x01"sv,
             "SELECT E'\\''"sv,
             "SELECT x'00'"sv,
             "SELECT $1"sv,
             "SELECT $$a$$"sv,
             "SELECT ?"sv,
             "SELECT ?1"sv,
             "SELECT @a"sv,
             "SELECT #a"sv,
             "SELECT `a`"sv,
             "SELECT [a]"sv,
             "SELECT a\\b"sv,
             "SELECT {a}"sv,
             "SELECT 1abc"sv,
             "SELECT 0x1F"sv,
             "SELECT 1e"sv,
             "SELECT 1e+"sv,
             "SELECT : a"sv,
         })
    {
        EXPECT_THROW(standard(statement), SQL_Syntax_Error) << statement;
    }
}

TEST(SQL, refusal_quotes_the_place)
{
    try {
        standard("SELECT a; b");
        FAIL();
    } catch (const SQL_Syntax_Error& error) {
        EXPECT_STREQ(error.what(), "a statement separator at byte 8 of: SELECT a; b");
    }
}

TEST(SQL, default_statement_is_refused)
{
    EXPECT_THROW(SQL().str(), SQL_Syntax_Error);
}

TEST(SQL, bind_replaces_the_value_of_a_name)
{
    SQL sql("SELECT :a");
    sql.bind(":a", 1).bind(":b", "x").bind(":a", 2);
    EXPECT_EQ(sql.bindings(), (SQL_Bindings{{":a", 2}, {":b", "x"}}));
}

TEST(SQL, copies_share_what_was_rendered_and_keep_their_own_values)
{
    const SQL original("SELECT :a");
    SQL copy = original;
    copy.bind(":a", 1);
    EXPECT_TRUE(original.bindings().empty());
    EXPECT_EQ(copy.rendered(SQL_Dialect::SQLITE), original.rendered(SQL_Dialect::SQLITE));
    EXPECT_EQ(copy.rendered(SQL_Dialect::SQLITE).get(), original.rendered(SQL_Dialect::SQLITE).get());
}

TEST(SQL, what_was_rendered_outlives_its_statement)
{
    std::shared_ptr<const Rendered_SQL> rendered;
    {
        const SQL sql("SELECT 1");
        rendered = sql.rendered(SQL_Dialect::SQLITE);
    }
    EXPECT_EQ(rendered->text, "SELECT 1");
}

TEST(SQL, hash_is_the_same_for_the_same_text)
{
    EXPECT_EQ(SQL("SELECT  1").rendered(SQL_Dialect::SQLITE)->hash,
              SQL("SELECT 1").rendered(SQL_Dialect::SQLITE)->hash);
    EXPECT_NE(SQL("SELECT 2").rendered(SQL_Dialect::SQLITE)->hash, SQL("SELECT 1").rendered(SQL_Dialect::SQLITE)->hash);
}

TEST(SQL, copies_in_other_threads_render_at_the_same_time)
{
    for (int turn = 0; turn < 50; ++turn) {
        const SQL original("SELECT a FROM t WHERE b = :b");
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([copy = original] {
                EXPECT_EQ(copy.str(SQL_Dialect::POSTGRESQL), R"(SELECT "a" FROM "t" WHERE "b" = $1)");
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
}
