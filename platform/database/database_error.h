// What went wrong in a database, and what can be done about it.
#pragma once

#include "platform/export.h"

#include <string>

struct BACKUP_PLATFORM_EXPORT Database_Error
{
    enum Kind
    {
        NONE,            ///< the last operation succeeded
        STATEMENT,       ///< the statement is malformed, or names what is not there
        CONSTRAINT,      ///< a rule of the schema refused the data (a key that is there already, a missing parent)
        BUSY,            ///< locked by others, deadlocked, or not serializable
        FULL,            ///< no space left
        READ_ONLY,       ///< the database cannot be written
        CORRUPT,         ///< the file is not a database, or is damaged
        CONNECTION_LOST, ///< the server or the file is gone
        CANCELLED,       ///< ended by a time limit or by the caller; or a printer returned false
        OTHER
    };

    Kind kind = NONE;
    std::string code;      ///< the engine's own: a SQLSTATE, or SQLite's extended result code as a number
    std::string message;   ///< one line
    std::string statement; ///< the failed statement, without values
    std::string where;     ///< file and line of the place that reports

    bool retryable() const { return kind == BUSY || kind == CONNECTION_LOST; }
    bool reconnect() const { return kind == CONNECTION_LOST; }
    explicit operator bool() const { return kind != NONE; }

    /// One line: message, code, statement.
    std::string text() const;
};
