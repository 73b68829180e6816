#include "catalog/schema/set_type.h"
#include "tests/catalog/cli/cli_test.h"

using namespace cli_test;

namespace {

std::string expected(const catalog::Set_Type& type, SQL_Dialect dialect)
{
    Select_SQL sql;
    type.init_select(sql, type.aliases);
    return sql.str(dialect) + "\n";
}

bool selects(const catalog::Set_Type& type)
{
    Select_SQL sql;
    type.init_select(sql, type.aliases);
    return !sql.empty();
}

} // namespace

TEST(Select_SQL_Command, prints_what_the_class_composes)
{
    for (const catalog::Set_Type& type : catalog::set_types()) {
        if (!selects(type)) {
            continue;
        }
        EXPECT_EQ(run({"select-sql", type.id}).out, expected(type, SQL_Dialect::STANDARD));
        EXPECT_EQ(run({"select-sql", type.id, "--engine", "sqlite"}).out, expected(type, SQL_Dialect::SQLITE));
        EXPECT_EQ(run({"select-sql", type.id, "--engine", "postgresql"}).out, expected(type, SQL_Dialect::POSTGRESQL));
    }
}

TEST(Select_SQL_Command, type_without_a_select_is_a_usage_error_that_points_to_show)
{
    for (const catalog::Set_Type& type : catalog::set_types()) {
        if (!selects(type)) {
            const Result result = run({"select-sql", type.id});
            EXPECT_EQ(result.exit, 2) << type.id;
            EXPECT_EQ(result.out, "");
            EXPECT_NE(result.err.find("backup-set show"), std::string::npos) << result.err;
        }
    }
}

TEST(Select_SQL_Command, alias_replaces_the_usual_one)
{
    const Result result = run({"select-sql", "file", "--alias", "order"});
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_NE(result.out.find("\"order\".\"uuid\" AS \"uuid\""), std::string::npos);
    EXPECT_NE(result.out.find("FROM \"backup_set\" AS \"order\""), std::string::npos);
    EXPECT_EQ(result.out.find("\"b\"."), std::string::npos);
}

TEST(Select_SQL_Command, too_many_aliases_and_empty_ones_are_usage_errors)
{
    Result result = run({"select-sql", "file", "--alias", "a", "--alias", "c"});
    EXPECT_EQ(result.exit, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "backup-set: error: --alias may be given 1 time for the type \"file\"\n");
    result = run({"select-sql", "file", "--alias", ""});
    EXPECT_EQ(result.exit, 2);
    EXPECT_EQ(result.out, "");
}
