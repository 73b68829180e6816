#include "tests/support/records/postgres_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(Postgres_Backup_Set, Record_Test, Postgres_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(Postgres_Backup_Set, Set_Record_Test, Postgres_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(Postgres_Backup_Set, Record_On_Engine_Test, On_Engines<Postgres_Set>, Engine_Names);

TEST(Postgres_Backup_Set, select_takes_any_three_aliases)
{
    Select_SQL sql;
    Postgres_Backup_Set::init_select_sql(sql, "one", "two", "three");
    const std::string text = sql.str();
    EXPECT_NE(text.find(R"("three"."lsb" AS "lsb", "one"."seq" AS "seq")"), std::string::npos) << text;
    EXPECT_NE(text.find(R"("one"."format" AS "format", "two"."log_branch" AS "log_branch")"), std::string::npos);
    EXPECT_NE(text.find(R"(FROM "backup_set" AS "three" INNER JOIN "postgres_backup_set" AS "one" )"
                        R"(ON "one"."set_uuid" = "three"."uuid" INNER JOIN "postgres_physical_set" AS "two" )"
                        R"(ON "two"."set_uuid" = "three"."uuid")"),
              std::string::npos)
        << text;
}

TEST(Postgres_Backup_Set, names_of_logs_are_sorted_and_stand_once)
{
    Postgres_Backup_Set set;
    for (const char* name : {"b", "a", "a"}) {
        set.archive_logs.insert(name);
    }
    EXPECT_EQ(to_json(set),
              fresh_common("postgres") + Postgres_Set::fresh + R"(,"archive_log":[{"file":"a"},{"file":"b"}]})");
}

TEST(Postgres_Backup_Set, files_are_written_with_all_four_names)
{
    Postgres_Backup_Set set;
    set.files.push_back({.database = {}, .file = "f", .schema = {}, .table = {}});
    EXPECT_EQ(to_json(set), fresh_common("postgres") + Postgres_Set::fresh
                                + R"(,"backup_files":[{"database":"","file":"f","schema":"","table":""}]})");
}

} // namespace record_test
