#include "catalog/cli/command.h"
#include "catalog/cli/session.h"
#include "catalog/cli/terminal_text.h"
#include "catalog/cli/type_reading.h"

namespace catalog::cli {

namespace {

class Select_SQL_Command final : public Command
{
public:
    Select_SQL_Command()
    {
        name = "select-sql";
        summary = "Prints the SELECT that reads the sets of a type";
        description =
            "Prints the SELECT that the record class of a type composes, with the given table aliases or with "
            "the type's usual ones: as standard SQL, or as it goes to an engine. Needs no database.\n\n"
            "Some types have no select; for these the command fails with exit code 2.";
        Option engine{"--engine", "ENGINE", "Print the engine's own SQL instead of standard SQL", &engine_};
        engine.choices = {"sqlite", "postgresql"};
        options = {type_argument(type_),
                   {"--alias", "ALIAS",
                    "A table alias; given more than once for a type that takes several, in their order", &aliases_},
                   engine};
        examples = {{"select-sql oracle", "Prints the select of Oracle sets"},
                    {"select-sql file --alias s --engine postgresql",
                     "Prints the select of file sets as PostgreSQL runs it, with s for \"backup_set\""}};
    }

    Exit_Code run(Session& session) override
    {
        const Set_Type& type = *find_set_type(type_);
        if (selects_nothing(type)) {
            return tell_selects_nothing(session, type);
        }
        if (aliases_.size() > type.aliases.size()) {
            return session.tell(USAGE, "--alias may be given " + count_of(type.aliases.size(), "time")
                                           + " for the type \"" + type_ + "\"");
        }
        std::vector<const char*> given(type.aliases.begin(), type.aliases.end());
        for (std::size_t i = 0; i < aliases_.size(); ++i) {
            if (aliases_[i].empty()) {
                return session.tell(USAGE, "--alias: an alias cannot be empty");
            }
            given[i] = aliases_[i].c_str();
        }
        try {
            Select_SQL sql;
            type.init_select(sql, given);
            session.out.line(sql.str(dialect()));
        } catch (const SQL_Syntax_Error& error) {
            return session.tell(USAGE, std::string("--alias: ") + error.what());
        }
        return DONE;
    }

private:
    SQL_Dialect dialect() const
    {
        if (engine_.empty()) {
            return SQL_Dialect::STANDARD;
        }
        return engine_ == "sqlite" ? SQL_Dialect::SQLITE : SQL_Dialect::POSTGRESQL;
    }

    std::string type_;
    std::vector<std::string> aliases_;
    std::string engine_;
};

} // namespace

std::unique_ptr<Command> make_select_sql_command()
{
    return std::make_unique<Select_SQL_Command>();
}

} // namespace catalog::cli
