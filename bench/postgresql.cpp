#include "bench/postgresql.h"

#include "bench/sides.h"
#include "platform/text/uuid.h"

#include <type_traits>
#include <variant>

Postgresql_Database::Postgresql_Database(const std::string& url) : connection_(PQconnectdb(url.c_str()))
{
    if (PQstatus(connection_) != CONNECTION_OK) {
        fail();
    }
}

Postgresql_Database::~Postgresql_Database()
{
    PQfinish(connection_);
}

void Postgresql_Database::fail() const
{
    require(false, PQerrorMessage(connection_));
    std::abort();
}

Postgresql_Result Postgresql_Database::execute(const std::string& statements) const
{
    Postgresql_Result result(PQexec(connection_, statements.c_str()), PQclear);
    const ExecStatusType status = PQresultStatus(result.get());
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK && status != PGRES_COPY_IN) {
        fail();
    }
    return result;
}

void Postgresql_Database::prepare(const std::string& name, const std::string& statement) const
{
    const Postgresql_Result result(PQprepare(connection_, name.c_str(), statement.c_str(), 0, nullptr), PQclear);
    if (PQresultStatus(result.get()) != PGRES_COMMAND_OK) {
        fail();
    }
}

void Postgresql_Database::send(const std::string& name, const std::vector<const Binding_Value*>& values) const
{
    std::vector<std::string> texts(values.size());
    std::vector<const char*> parameters(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto* const text = std::get_if<std::string>(&values[i]->held());
        if (text != nullptr) {
            parameters[i] = text->c_str();
        } else if (postgresql_text(*values[i], texts[i])) {
            parameters[i] = texts[i].c_str();
        }
    }
    if (PQsendQueryPrepared(connection_, name.c_str(), static_cast<int>(values.size()), parameters.data(), nullptr,
                            nullptr, 0)
        != 1)
    {
        fail();
    }
}

void Postgresql_Database::finish_pipeline() const
{
    if (PQpipelineSync(connection_) != 1) {
        fail();
    }
    while (true) {
        const Postgresql_Result result(PQgetResult(connection_), PQclear); // null between two statements
        switch (PQresultStatus(result.get())) {
        case PGRES_PIPELINE_SYNC:
            return;
        case PGRES_COMMAND_OK:
        case PGRES_TUPLES_OK:
            break;
        default:
            if (result) {
                fail();
            }
        }
    }
}

void Postgresql_Database::copy_in(const std::string& statement, std::string_view lines) const
{
    execute(statement);
    if (PQputCopyData(connection_, lines.data(), static_cast<int>(lines.size())) != 1
        || PQputCopyEnd(connection_, nullptr) != 1)
    {
        fail();
    }
    while (PGresult* result = PQgetResult(connection_)) {
        const bool done = PQresultStatus(result) == PGRES_COMMAND_OK;
        PQclear(result);
        if (!done) {
            fail();
        }
    }
}

bool postgresql_text(const Binding_Value& value, std::string& text)
{
    return std::visit(
        [&text](const auto& held) {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, std::monostate>) {
                return false;
            } else if constexpr (std::is_same_v<Held, bool>) {
                text = held ? "t" : "f";
            } else if constexpr (std::is_arithmetic_v<Held>) {
                text = std::to_string(held);
            } else if constexpr (std::is_same_v<Held, std::string>) {
                text = held;
            } else if constexpr (std::is_same_v<Held, Binding_Value::UUID>) {
                text.resize(uuid_text_length + 1);
                write_uuid(held.data(), text.data());
                text.resize(uuid_text_length);
            } else {
                require(false, "the sets hold no bytes");
            }
            return true;
        },
        value.held());
}
