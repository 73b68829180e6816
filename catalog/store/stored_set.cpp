#include "catalog/store/stored_set.h"

#include "catalog/store/refusal.h"
#include "platform/database/query_result_printer.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace catalog {
namespace {

/// Takes the stored document of one set.
class Document_Printer : public database::sql::Query_Result_Token_Printer
{
public:
    bool begin_row() override
    {
        found = true;
        return true;
    }
    bool print_cstr(int, const char*, const char* value, std::size_t length) override
    {
        document.assign(value, length);
        return true;
    }
    bool print_int(int index, const char*, ACE_INT64 value) override
    {
        (index == 1 ? pieces_at : pieces) = value;
        return true;
    }

    bool found = false;
    std::string document;
    std::optional<std::int64_t> pieces_at;
    std::optional<std::int64_t> pieces;
};

/// Hands the rows of pieces to a builder.
class Piece_Printer : public database::sql::Query_Result_Token_Printer
{
public:
    explicit Piece_Printer(Document_Builder& builder) : builder_(builder) {}

    bool begin_row() override
    {
        piece_ = {};
        return true;
    }
    bool print_cstr(int index, const char*, const char* value, std::size_t length) override
    {
        (index == 0 ? piece_.path : index == 1 ? piece_.object : piece_.document).emplace(value, length);
        return true;
    }
    bool print_int(int, const char*, ACE_INT64 value) override
    {
        piece_.size = value;
        return true;
    }
    bool print_json_text(int, const char*, const char* text, std::size_t length) override
    {
        piece_.extended_attrs.emplace(text, length);
        return true;
    }
    bool end_row() override
    {
        damaged_ = damaged_ || !builder_.add(piece_);
        return true;
    }

    bool damaged() const { return damaged_; }

private:
    Document_Builder& builder_;
    Stored_Piece piece_;
    bool damaged_ = false;
};

} // namespace

bool not_found(Error& error, const UUID_Bytes& uuid)
{
    error = {
        .kind = Error::NOT_FOUND, .message = "the catalog has no set " + uuid_text(uuid), .key = {}, .database = {}};
    return false;
}

bool read_set_uuid(std::string_view text, UUID_Bytes& uuid, Error& error)
{
    const std::optional<UUID_Bytes> bytes = read_uuid(text);
    if (!bytes) {
        return refuse(error, {}, shown(text) + " is no UUID of a set");
    }
    uuid = *bytes;
    return true;
}

namespace {

/// The stored form of a set's document.
const Select_SQL& stored_document()
{
    static const Select_SQL sql = Select_SQL()
                                      .table("backup_set_document", "d")
                                      .select("d.document,d.pieces_at,b.piece_count")
                                      .join("backup_set", "b", "b.uuid = d.set_uuid")
                                      .where("d.set_uuid = :set_uuid");
    return sql;
}

const Select_SQL& stored_pieces()
{
    static const Select_SQL sql = Select_SQL()
                                      .table("backup_piece")
                                      .select("path,object,document,size,extended_attrs")
                                      .where("set_uuid = :set_uuid")
                                      .order_by("id");
    return sql;
}

} // namespace

bool read_back(Database_Connection& connection, const UUID_Bytes& uuid, std::string& document, Error& error)
{
    Document_Printer stored;
    if (!connection.query_and_print(Select_SQL(stored_document()).bind(":set_uuid", uuid), stored, GM_ORM_ROWS)) {
        return fail(error, connection.last_error());
    }
    if (!stored.found) {
        return not_found(error, uuid);
    }
    Document_Builder builder(std::move(stored.document), stored.pieces_at);
    if (stored.pieces_at) {
        Piece_Printer printer(builder);
        if (!connection.query_and_print(Select_SQL(stored_pieces()).bind(":set_uuid", uuid), printer, GM_ORM_ROWS)) {
            return fail(error, connection.last_error());
        }
        if (printer.damaged() || builder.pieces() != stored.pieces) {
            // Rows of a set are written together: so the set was deleted meanwhile, or somebody touched its rows.
            Document_Printer again;
            if (!connection.query_and_print(Select_SQL(stored_document()).bind(":set_uuid", uuid), again, GM_ORM_ROWS))
            {
                return fail(error, connection.last_error());
            }
            if (!again.found) {
                return not_found(error, uuid);
            }
            Database_Error damage;
            damage.kind = Database_Error::CORRUPT;
            damage.message = "the pieces of set " + uuid_text(uuid)
                             + " are damaged: " + std::to_string(builder.pieces()) + " of "
                             + std::to_string(stored.pieces.value_or(0)) + " can be read";
            return fail(error, damage);
        }
    }
    document = builder.take();
    return true;
}

bool is_committed(Database_Connection& connection, const UUID_Bytes& uuid, bool& there, Error& error)
{
    Document_Printer printer;
    Select_SQL sql;
    sql.table("backup_set").select("uuid").where("uuid = :uuid").bind(":uuid", uuid);
    if (!connection.query_and_print(sql, printer, GM_ORM_ROWS)) {
        return fail(error, connection.last_error());
    }
    there = printer.found;
    return true;
}

bool concerns_content(const Database_Error& error)
{
    return error.kind == Database_Error::CONSTRAINT || error.kind == Database_Error::STATEMENT
           || error.kind == Database_Error::OTHER;
}

Row_Collector::Rows& Row_Collector::of(const Table& table)
{
    const auto place = std::ranges::find(tables_, &table, &Rows::table);
    return place != tables_.end() ? *place
                                  : tables_.emplace_back(Rows{&table, Insert_SQL(table.name, inserted_columns(table))});
}

void Row_Collector::add(Set_Rows set)
{
    for (Table_Rows& rows : set.tables) {
        Insert_SQL& insert = of(*rows.table).insert;
        for (std::vector<Binding_Value>& row : rows.rows) {
            insert.row(std::move(row));
        }
    }
}

void Row_Collector::add(const Table& table, std::vector<Binding_Value> row)
{
    of(table).insert.row(std::move(row));
}

std::vector<Database_Connection::Statement> Row_Collector::take()
{
    std::vector<Database_Connection::Statement> statements;
    statements.reserve(tables_.size());
    for (Rows& rows : tables_) {
        statements.emplace_back(std::move(rows.insert));
    }
    tables_.clear();
    return statements;
}

} // namespace catalog
