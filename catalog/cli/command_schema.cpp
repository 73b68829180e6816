#include "catalog/cli/command.h"
#include "catalog/cli/session.h"
#include "catalog/schema/schema.h"

namespace catalog::cli {

namespace {

class Schema_Command final : public Command
{
public:
    Schema_Command()
    {
        name = "schema";
        summary = "Shows or migrates the tables of the catalog";
        description =
            "show prints the statements that create the tables, for the engine of the database or the one given; it "
            "opens no database. version prints the version of the schema in the database, 0 when it has none. migrate "
            "brings the database to the version of this program, in one transaction; a new database gets its tables.";
        Option action{"ACTION", "", "What to do", &action_};
        action.choices = {"show", "version", "migrate"};
        action.required = true;
        Option engine{"--engine", "ENGINE", "With show: for this engine", &engine_};
        engine.choices = {"sqlite", "postgresql"};
        options = {action, engine};
        examples = {{"schema show --engine postgresql", "Prints the tables as PostgreSQL creates them"},
                    {"schema migrate --database postgresql:///catalog", "Prepares a database, or updates it"}};
    }

    Exit_Code run(Session& session) override
    {
        if (action_ == "show") {
            session.out.write(create_schema(dialect(session)));
            return DONE;
        }
        if (!engine_.empty()) {
            return session.tell(USAGE, "--engine goes with `schema show` only");
        }
        Exit_Code exit = DONE;
        const std::unique_ptr<Catalog_Store> store =
            session.open_catalog(exit, Catalog_Store::Schema_Policy::LEAVE_ALONE);
        if (store == nullptr) {
            return exit;
        }
        return action_ == "version" ? version(session, *store) : migrate(session, *store);
    }

private:
    SQL_Dialect dialect(const Session& session) const
    {
        const bool postgresql =
            engine_.empty() ? database_url(session.database).starts_with("postgres") : engine_ == "postgresql";
        return postgresql ? SQL_Dialect::POSTGRESQL : SQL_Dialect::SQLITE;
    }

    static Exit_Code version(Session& session, Catalog_Store& store)
    {
        int version = 0;
        Error error;
        if (!store.schema_version(version, error)) {
            return session.tell(error);
        }
        session.out.line(std::to_string(version));
        return DONE;
    }

    static Exit_Code migrate(Session& session, Catalog_Store& store)
    {
        int from = 0;
        int to = 0;
        Error error;
        if (!store.migrate(from, to, error)) {
            return session.tell(error);
        }
        session.out.line(from == to ? "version " + std::to_string(to) + " already"
                                    : "from version " + std::to_string(from) + " to version " + std::to_string(to));
        return DONE;
    }

    std::string action_;
    std::string engine_;
};

} // namespace

std::unique_ptr<Command> make_schema_command()
{
    return std::make_unique<Schema_Command>();
}

} // namespace catalog::cli
