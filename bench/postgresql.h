// PostgreSQL's C interface as a hand-written program uses it.
#pragma once

#include "platform/sql/binding_value.h"

#include <libpq-fe.h>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

using Postgresql_Result = std::unique_ptr<PGresult, decltype(&PQclear)>;

class Postgresql_Database
{
public:
    explicit Postgresql_Database(const std::string& url);
    Postgresql_Database(const Postgresql_Database&) = delete;
    Postgresql_Database& operator=(const Postgresql_Database&) = delete;
    ~Postgresql_Database();

    PGconn* get() const { return connection_; }

    /// Runs statements as they stand; the result of the last one.
    Postgresql_Result execute(const std::string& statements) const;

    void prepare(const std::string& name, const std::string& statement) const;

    /// Sends a prepared statement with its values, in pipeline mode.
    void send(const std::string& name, const std::vector<const Binding_Value*>& values) const;

    /// Sends the end of a pipeline, and waits until all that was sent has been done.
    void finish_pipeline() const;

    /// Loads lines in the form of COPY.
    void copy_in(const std::string& statement, std::string_view lines) const;

    [[noreturn]] void fail() const;

private:
    PGconn* connection_;
};

/// A value as PostgreSQL reads it; NULL is nothing.
bool postgresql_text(const Binding_Value& value, std::string& text);
