// Takes any text as the document of a set. What is accepted comes back from its rows as it was but for white space: each
// member in its place, unknown and repeated keys included, and no piece is lost.
#include "catalog/store/set_document.h"

#include "catalog/schema/common_tables.h"
#include "fuzz/fuzz.h"
#include "platform/json/document.h"

#include <string>
#include <utility>
#include <variant>

namespace {

using catalog::Set_Rows;
using catalog::Table_Rows;
using fuzz::check;
using Row = std::vector<Binding_Value>;

const Table_Rows* rows_of(const Set_Rows& set, const catalog::Table& table)
{
    for (const Table_Rows& rows : set.tables) {
        if (rows.table == &table) {
            return &rows;
        }
    }
    return nullptr;
}

const Binding_Value& value_of(const catalog::Table& table, const Row& row, std::string_view column)
{
    const std::vector<std::string> columns = catalog::inserted_columns(table);
    check(columns.size() == row.size(), "a row has a value for each column");
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (columns[i] == column) {
            return row[i];
        }
    }
    check(false, "the column is there");
    std::abort();
}

template <class Held>
std::optional<Held> held(const Binding_Value& value)
{
    const Held* const found = std::get_if<Held>(&value.held());
    check(found != nullptr || value == Binding_Value(), "a value is of its column's type");
    return found != nullptr ? std::optional<Held>(*found) : std::nullopt;
}

/// The document as the store puts it together from its rows.
std::string document_of(const Set_Rows& set)
{
    const catalog::Table& documents = catalog::backup_set_document_table;
    const Row& row = rows_of(set, documents)->rows.front();
    catalog::Document_Builder builder(held<std::string>(value_of(documents, row, "document")).value(),
                                      held<std::int64_t>(value_of(documents, row, "pieces_at")));
    const catalog::Table& table = catalog::backup_piece_table;
    if (const Table_Rows* const pieces = rows_of(set, table)) {
        for (const Row& piece : pieces->rows) {
            check(builder.add({held<std::string>(value_of(table, piece, "path")),
                               held<std::string>(value_of(table, piece, "object")),
                               held<std::int64_t>(value_of(table, piece, "size")),
                               held<std::string>(value_of(table, piece, "extended_attrs")),
                               held<std::string>(value_of(table, piece, "document"))}),
                  "a piece's row can be put back");
        }
    }
    return builder.take();
}

bool same_rows(const Set_Rows& a, const Set_Rows& b)
{
    if (a.type != b.type || a.uuid != b.uuid || a.tables.size() != b.tables.size()) {
        return false;
    }
    for (std::size_t i = 0; i < a.tables.size(); ++i) {
        if (a.tables[i].table != b.tables[i].table || a.tables[i].rows != b.tables[i].rows) {
            return false;
        }
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    fuzz::log_nothing();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text = fuzz::text_of(data, size);
    Set_Rows rows;
    catalog::Error error;
    if (json_document::validate(text)) {
        std::vector<json_document::Member> elements;
        if (json_document::split_array(text, elements)) {
            std::size_t count = 0;
            check(catalog::check_pieces(text, count, error) ? count == elements.size() : !error.message.empty(),
                  "pieces are counted, or refused with a reason");
        }
    }
    if (!catalog::read_document(text, rows, error)) {
        check(error.kind == catalog::Error::REFUSED && !error.message.empty(), "a refusal has a reason");
        return 0;
    }
    check(rows.type != nullptr && rows_of(rows, catalog::backup_set_table) != nullptr, "an accepted set has its row");
    const std::string document = document_of(rows);
    check(document == json_document::compact(text), "the document comes back as it was");

    Set_Rows again;
    check(catalog::read_document(document, again, error), "a document that comes back can be recorded");
    check(same_rows(rows, again), "and has the same rows");
    return 0;
}
