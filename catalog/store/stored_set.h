// What the parts of the store share: the rows of sets on their way in, and documents on their way back.
#pragma once

#include "catalog/store/catalog_error.h"
#include "catalog/store/set_document.h"
#include "platform/database/database_connection.h"
#include "platform/text/uuid.h"

#include <string>
#include <string_view>
#include <vector>

namespace catalog {

/// Makes `error` tell that there is no such set. Always returns false.
bool not_found(Error& error, const UUID_Bytes& uuid);

/// Reads the UUID of a set as a caller names it. REFUSED when it is none.
bool read_set_uuid(std::string_view text, UUID_Bytes& uuid, Error& error);

/// The whole document of a committed set. NOT_FOUND when there is none.
bool read_back(Database_Connection& connection, const UUID_Bytes& uuid, std::string& document, Error& error);

bool is_committed(Database_Connection& connection, const UUID_Bytes& uuid, bool& there, Error& error);

/// Whether a failure concerns what was to be written, not the state of the database.
bool concerns_content(const Database_Error& error);

/// Collects new rows by their tables: one insert for each, in the order in which the tables came first.
class Row_Collector
{
public:
    void add(Set_Rows set);
    void add(const Table& table, std::vector<Binding_Value> row);

    bool empty() const { return tables_.empty(); }

    std::vector<Database_Connection::Statement> take();

private:
    struct Rows
    {
        const Table* table;
        Insert_SQL insert;
    };

    Rows& of(const Table& table);

    std::vector<Rows> tables_;
};

} // namespace catalog
