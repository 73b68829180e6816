// A catalog that cannot do what it is asked for says why, and nothing is half done.

#include "tests/catalog/store/catalog_test.h"

#include <libpq-fe.h>

namespace {

using namespace catalog;

class Failure_Test : public Catalog_Test
{
protected:
    /// A document with a row in every table that documents reach.
    std::string whole(unsigned number)
    {
        return small(uuid(number),
                     R"("parents":[")" + uuid(99) + R"("],"pieces":[{"path":"p"}],"storage":{"state":["online"]})");
    }

    void expect_nothing_recorded()
    {
        const auto other = open();
        for (const Table* table : tables()) {
            if (std::string_view(table->name) != "catalog_schema") {
                EXPECT_EQ(query(other->connection(), "SELECT count(*) FROM " + std::string(table->name)).at(0).at(0),
                          "0")
                    << table->name;
            }
        }
    }

    /// Makes each new row of a table do this; `body` is of the engine's own language.
    void on_insert(const std::string& table, const std::string& body, const std::string& kind = "TRIGGER",
                   const std::string& when = "")
    {
        if (on_postgresql()) {
            run("CREATE FUNCTION interfere() RETURNS trigger LANGUAGE plpgsql AS $$ BEGIN " + body
                + " RETURN NEW; END $$; CREATE " + kind + " interference AFTER INSERT ON " + table + ' ' + when
                + " FOR EACH ROW EXECUTE FUNCTION interfere();");
        } else {
            run("CREATE TRIGGER interference AFTER INSERT ON " + table + " BEGIN " + body + " END;");
        }
    }

    void stop_interfering()
    {
        run(on_postgresql() ? "DROP FUNCTION interfere() CASCADE" : "DROP TRIGGER interference");
    }

    /// A store that does not wait for others.
    std::unique_ptr<Catalog_Store> impatient()
    {
        Error error;
        auto store =
            Catalog_Store::open(url() + (on_postgresql() ? "&options=-c%20lock_timeout%3D100" : "?busy_timeout=50"),
                                Catalog_Store::Schema_Policy::CREATE, error);
        EXPECT_NE(store, nullptr) << error.message;
        return store;
    }
};

/// Failures that only an engine with connections has.
class Server_Failure_Test : public Failure_Test
{};

} // namespace

CATALOG_TEST_ENGINES(Failure_Test);
INSTANTIATE_TEST_SUITE_P(engines, Server_Failure_Test, ::testing::Values(Engine::POSTGRESQL), engine_name);

TEST_P(Failure_Test, a_catalog_that_cannot_be_opened_says_why)
{
    Log_Capture log;
    Error error;
    const std::string nowhere = on_postgresql() ? url() + "_no_such_user" : "sqlite:/no/such/directory/catalog.db";
    EXPECT_EQ(Catalog_Store::open(nowhere, Catalog_Store::Schema_Policy::CREATE, error), nullptr);
    EXPECT_EQ(error.kind, Error::DATABASE);
    EXPECT_FALSE(error.message.empty());
    EXPECT_EQ(error.message.find('\n'), std::string::npos) << error.message;
}

TEST_P(Failure_Test, what_is_no_url_says_so)
{
    Log_Capture log;
    Error error;
    EXPECT_EQ(Catalog_Store::open("nonsense", Catalog_Store::Schema_Policy::CREATE, error), nullptr);
    EXPECT_EQ(error.kind, Error::DATABASE);
}

TEST_P(Failure_Test, a_failure_at_any_table_leaves_none_with_rows)
{
    for (const std::string name : {"backup_set", "backup_set_document", "backup_set_parent", "backup_set_state",
                                   "backup_set_storage", "backup_piece", "oracle_exp_backup_set"})
    {
        SCOPED_TRACE(name);
        on_insert(name, on_postgresql() ? "RAISE EXCEPTION 'stop';" : "SELECT RAISE(ABORT, 'stop');");
        {
            Log_Capture log;
            const Record_Result result = store().record(whole(1));
            EXPECT_EQ(result.error.kind, Error::DATABASE);
            EXPECT_NE(result.error.message.find("stop"), std::string::npos) << result.error.message;
            EXPECT_EQ(result.uuid, "");
        }
        expect_nothing_recorded();
        stop_interfering();
    }
    record(whole(1));
}

TEST_P(Failure_Test, a_locked_catalog_says_that_trying_again_helps)
{
    static_cast<void>(store());
    const auto hasty = impatient();
    const auto other = connect();
    ASSERT_TRUE(other->begin_write());
    if (on_postgresql()) {
        ASSERT_TRUE(other->execute_script("LOCK TABLE backup_set"));
    }
    {
        Log_Capture log;
        const Record_Result result = hasty->record(whole(1));
        EXPECT_EQ(result.error.kind, Error::DATABASE);
        EXPECT_EQ(result.error.database.kind, Database_Error::BUSY);
        EXPECT_TRUE(result.error.message.ends_with("; nothing was changed, try again")) << result.error.message;
        const std::vector<std::string> several = {whole(1), whole(2)};
        for (const Record_Result& one : hasty->record(several)) {
            EXPECT_EQ(one.error.database.kind, Database_Error::BUSY);
        }
    }
    ASSERT_TRUE(other->rollback());
    expect_nothing_recorded();
    EXPECT_FALSE(hasty->record(whole(1)).error);
}

TEST_P(Failure_Test, a_read_only_catalog_can_be_read_and_not_written)
{
    record(whole(1));
    run(on_postgresql() ? "SET default_transaction_read_only = on" : "PRAGMA query_only = ON");
    Log_Capture log;
    const Record_Result result = store().record(whole(2));
    EXPECT_EQ(result.error.kind, Error::DATABASE);
    EXPECT_EQ(result.error.database.kind, Database_Error::READ_ONLY);
    EXPECT_EQ(document(uuid(1)), whole(1));
    EXPECT_EQ(count("backup_set"), 1);
}

TEST_P(Failure_Test, a_full_disk_is_told)
{
    if (on_postgresql()) {
        on_insert("backup_piece", "RAISE EXCEPTION 'no space left' USING ERRCODE = '53100';");
    } else {
        run("PRAGMA max_page_count = 400");
    }
    Log_Capture log;
    const Record_Result result =
        store().record(small(uuid(1), R"("pieces":[{"path":")" + std::string(2000000, 'x') + "\"}]"));
    EXPECT_EQ(result.error.kind, Error::DATABASE);
    EXPECT_EQ(result.error.database.kind, Database_Error::FULL) << result.error.message;
    expect_nothing_recorded();
}

TEST_P(Failure_Test, a_catalog_that_is_gone_is_told_by_every_operation)
{
    record(whole(1));
    for (const char* table : {"backup_set_media", "backup_set_storage", "backup_set_state", "backup_set_document"}) {
        run("DROP TABLE " + std::string(table));
    }
    Log_Capture log;
    Error error;
    std::string text;
    EXPECT_FALSE(store().document(uuid(1), text, error));
    EXPECT_EQ(error.kind, Error::DATABASE);
    Set_Page page;
    EXPECT_FALSE(store().list({.state = "online"}, 10, {}, page, error));
    EXPECT_EQ(error.kind, Error::DATABASE);
    std::vector<Storage_Copy> copies;
    EXPECT_FALSE(store().storages(uuid(1), copies, error));
    EXPECT_EQ(error.kind, Error::DATABASE);
    EXPECT_FALSE(store().copies_in_pool(uuid(1), 1, copies, error));
    EXPECT_EQ(error.kind, Error::DATABASE);
    EXPECT_EQ(store().record(whole(2)).error.kind, Error::DATABASE);
}

TEST_P(Server_Failure_Test, a_connection_that_dies_in_the_middle_leaves_nothing)
{
    for (const char* table : {"backup_set", "backup_set_document", "backup_piece", "oracle_exp_backup_set"}) {
        SCOPED_TRACE(table);
        on_insert(table, "PERFORM pg_terminate_backend(pg_backend_pid());");
        {
            Log_Capture log;
            const Record_Result result = store().record(whole(1));
            EXPECT_EQ(result.error.kind, Error::DATABASE);
            EXPECT_EQ(result.error.database.kind, Database_Error::CONNECTION_LOST) << result.error.message;
            EXPECT_TRUE(result.error.database.retryable());
        }
        expect_nothing_recorded();
        stop_interfering();
    }
    EXPECT_FALSE(store().record(whole(1)).error);
    EXPECT_EQ(document(uuid(1)), whole(1));
}

TEST_P(Server_Failure_Test, a_connection_that_dies_at_the_commit_leaves_nothing)
{
    on_insert("backup_set", "PERFORM pg_terminate_backend(pg_backend_pid());", "CONSTRAINT TRIGGER",
              "DEFERRABLE INITIALLY DEFERRED");
    {
        Log_Capture log;
        EXPECT_EQ(store().record(whole(1)).error.database.kind, Database_Error::CONNECTION_LOST);
    }
    expect_nothing_recorded();
    stop_interfering();
    EXPECT_FALSE(store().record(whole(1)).error);
}

TEST_P(Server_Failure_Test, a_connection_that_died_meanwhile_is_made_anew)
{
    record(whole(1));
    const auto other = open();
    ASSERT_TRUE(other->connection().execute_script(
        "SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE datname = current_database() "
        "AND pid <> pg_backend_pid()"));
    Log_Capture log;
    Record_Result result = store().record(whole(2));
    if (result.error) { // the first to notice may have to say so
        EXPECT_EQ(result.error.database.kind, Database_Error::CONNECTION_LOST);
        result = store().record(whole(2));
    }
    EXPECT_FALSE(result.error) << result.error.message;
    EXPECT_EQ(document(uuid(2)), whole(2));
}

TEST_P(Failure_Test, pieces_that_vanish_while_a_set_is_read_are_no_damage_when_the_set_is_gone)
{
    record(whole(1));
    run("DELETE FROM backup_set");
    std::string text;
    Error error;
    EXPECT_FALSE(store().document(uuid(1), text, error));
    EXPECT_EQ(error.kind, Error::NOT_FOUND);
}
