#include "catalog/schema/set_type.h"
#include "platform/json/document.h"
#include "tests/catalog/cli/cli_test.h"

using namespace cli_test;

namespace {

class Load_Command : public On_Both_Engines
{
protected:
    void record(const std::string& text)
    {
        const Result result = catalog->run({"record", "-"}, text);
        ASSERT_EQ(result.exit, 0) << result.err;
    }
};

INSTANTIATE_TEST_SUITE_P(Engines, Load_Command, ::testing::Values("sqlite", "postgresql"), engine_name);

} // namespace

TEST_P(Load_Command, prints_what_the_record_writes_of_its_columns)
{
    Sample sample;
    sample.type = "file";
    sample.pieces = 0;
    sample.storages = 0; // neither is a column
    record(document(sample));
    const Result result = catalog->run({"load", "file"});
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_EQ(result.out, document(sample) + "\n");
    EXPECT_EQ(result.err, "");
}

TEST_P(Load_Command, loads_all_sets_of_the_type_and_no_others)
{
    Sample file;
    file.number = 50;
    file.type = "file";
    record(documents(1, 20) + document(file));
    EXPECT_EQ(lines(catalog->run({"load", "oracle"}).out).size(), 20u);
    EXPECT_EQ(lines(catalog->run({"load", "file"}).out).size(), 1u);
    const Result none = catalog->run({"load", "oracle_exp"});
    EXPECT_EQ(none.exit, 0);
    EXPECT_EQ(none.out, "");
}

TEST_P(Load_Command, loads_one_set)
{
    record(documents(1, 3));
    const Result result = catalog->run({"load", "oracle", "--uuid", "{000000A1-0000-4000-8000-000000000002}"});
    EXPECT_EQ(result.exit, 0) << result.err;
    ASSERT_EQ(lines(result.out).size(), 1u);
    EXPECT_EQ(count(result.out, sample_uuid(2)), 1u);
}

TEST_P(Load_Command, set_of_another_type_or_none_is_not_found)
{
    record(document(1));
    for (const char* type : {"file", "oracle_arch"}) {
        const Result result = catalog->run({"load", type, "--uuid", sample_uuid(1)});
        EXPECT_EQ(result.exit, 3);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(lines(result.err).size(), 1u) << result.err;
    }
}

TEST_P(Load_Command, type_without_a_select_is_a_usage_error_that_points_to_show)
{
    for (const catalog::Set_Type& type : catalog::set_types()) {
        Select_SQL sql;
        type.init_select(sql, type.aliases);
        if (sql.empty()) {
            for (const char* command : {"load", "rows"}) {
                const Result result = catalog->run({command, type.id});
                EXPECT_EQ(result.exit, 2) << type.id;
                EXPECT_EQ(result.out, "");
                EXPECT_NE(result.err.find("`backup-set show UUID`"), std::string::npos) << result.err;
            }
        }
    }
}

TEST_P(Load_Command, type_that_reads_its_own_table_alone_says_what_is_missing)
{
    for (const catalog::Set_Type& type : catalog::set_types()) {
        Select_SQL sql;
        type.init_select(sql, type.aliases);
        const bool alone = !sql.empty() && type.base_alias(type.aliases) == nullptr;
        for (const char* command : {"load", "rows"}) {
            if (!sql.empty()) {
                const Result result = catalog->run({command, type.id});
                EXPECT_EQ(result.exit, 0) << type.id << ": " << result.err;
                EXPECT_EQ(lines(result.err).size(), alone ? 1u : 0u) << type.id << ": " << result.err;
                if (alone) {
                    EXPECT_EQ(count(result.err, type.tables.front()), 1u) << type.id << ": " << result.err;
                }
            }
        }
    }
}

TEST_P(Load_Command, a_failing_query_is_told_once)
{
    record(document(1));
    catalog->execute("DROP TABLE oracle_backup_set");
    const Result result = catalog->run({"load", "oracle"});
    EXPECT_EQ(result.exit, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(lines(result.err).size(), 1u) << result.err;
    EXPECT_NE(result.err.find("oracle_backup_set"), std::string::npos) << result.err;
}
