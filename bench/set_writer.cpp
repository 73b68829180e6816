#include "bench/set_writer.h"

#include "bench/sides.h"
#include "platform/sql/insert_sql.h"

namespace {

std::string insert(const catalog::Table& table, SQL_Dialect dialect, std::size_t rows)
{
    return Insert_SQL(table.name, catalog::inserted_columns(table)).str(dialect, rows);
}

std::string statement_name(const catalog::Table_Rows& rows)
{
    return std::string(rows.table->name) + '_' + std::to_string(rows.rows.size());
}

const std::string begin = "begin_set";
const std::string commit = "commit_set";

} // namespace

void Sqlite_Set_Writer::write(const catalog::Set_Rows& rows)
{
    for (const catalog::Table_Rows& of_table : rows.tables) {
        auto& statement = statements_[of_table.table];
        if (!statement) {
            statement = std::make_unique<Sqlite_Statement>(database_, insert(*of_table.table, SQL_Dialect::SQLITE, 1));
        }
        for (const auto& row : of_table.rows) {
            for (const Binding_Value& value : row) {
                statement->bind(value);
            }
            statement->run();
        }
    }
}

Postgresql_Set_Writer::Postgresql_Set_Writer(const Postgresql_Database& database) : database_(database)
{
    database_.prepare(begin, "BEGIN");
    database_.prepare(commit, "COMMIT");
}

void Postgresql_Set_Writer::prepare(const catalog::Set_Rows& rows)
{
    for (const catalog::Table_Rows& of_table : rows.tables) {
        if (prepared_.insert(statement_name(of_table)).second) {
            database_.prepare(statement_name(of_table),
                              insert(*of_table.table, SQL_Dialect::POSTGRESQL, of_table.rows.size()));
        }
    }
}

void Postgresql_Set_Writer::write(const std::vector<const catalog::Set_Rows*>& sets) const
{
    require(PQenterPipelineMode(database_.get()) == 1, "libpq refuses its pipeline mode");
    database_.send(begin, {});
    std::vector<const Binding_Value*> values;
    for (const catalog::Set_Rows* set : sets) {
        for (const catalog::Table_Rows& of_table : set->tables) {
            values.clear();
            for (const auto& row : of_table.rows) {
                for (const Binding_Value& value : row) {
                    values.push_back(&value);
                }
            }
            database_.send(statement_name(of_table), values);
        }
    }
    database_.send(commit, {});
    database_.finish_pipeline();
    PQexitPipelineMode(database_.get());
}
