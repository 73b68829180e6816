// From a set's document to the rows that the catalog keeps of it, and back to the document.
//
// The document is kept as it came, without white space, and with its first array of pieces emptied: the pieces are rows of
// their own, which are spliced in again on reading. So nothing of a document is lost and its pieces are not stored twice.
#pragma once

#include "catalog/schema/set_type.h"
#include "catalog/store/catalog_error.h"
#include "platform/json/json_generator.h"
#include "platform/sql/binding_value.h"
#include "platform/text/uuid.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace catalog {

/// Bytes that a document may have. Both engines keep values of this size.
inline constexpr std::size_t longest_document = std::size_t{512} << 20;

/// New rows of one table: a value for each column of `inserted_columns`.
struct Table_Rows
{
    const Table* table;
    std::vector<std::vector<Binding_Value>> rows;
};

/// The columns of a table that an insert gives a value: all but the generated ones.
std::vector<std::string> inserted_columns(const Table& table);

/// All that the catalog keeps of one set.
struct Set_Rows
{
    const Set_Type* type = nullptr;
    UUID_Bytes uuid{};
    std::vector<Table_Rows> tables; ///< parents before children; none is without rows
};

/// Reads and checks a document. False, with a reason for people, when it cannot be recorded.
bool read_document(std::string_view document, Set_Rows& rows, Error& error);

/// Checks an array of pieces (valid JSON) as `read_document` checks those of a document. `count` gets their number.
bool check_pieces(std::string_view pieces, std::size_t& count, Error& error);

/// A stored piece, as its columns say.
struct Stored_Piece
{
    std::optional<std::string> path;
    std::optional<std::string> object;
    std::optional<std::int64_t> size;
    std::optional<std::string> extended_attrs; ///< JSON text
    std::optional<std::string> document;       ///< JSON text, where it is not what `Piece_Writer` makes of the others
};

/// Writes pieces as `Backup_Piece` writes them.
class Piece_Writer
{
public:
    /// The JSON of a piece; valid until the next call. The piece has all its columns.
    std::string_view write(std::string_view path, std::string_view object, std::int64_t size,
                           std::string_view extended_attrs);

private:
    JSON_Text text_;
};

/// Puts a stored document together again.
class Document_Builder
{
public:
    /// `pieces_at`: where the pieces belong; nothing when the set has none.
    Document_Builder(std::string stored, std::optional<std::int64_t> pieces_at);

    /// The next piece, in the order of the document. False when the row cannot be one.
    bool add(const Stored_Piece& piece);

    std::int64_t pieces() const { return pieces_; }

    std::string take();

private:
    std::string stored_;
    std::size_t pieces_at_;
    std::string spliced_;
    std::int64_t pieces_ = 0;
    Piece_Writer writer_;
};

/// What a text names a time as: "YYYY-MM-DD HH:MM:SS" in UTC, as both engines keep it. Nothing beyond the years 1 to 9999.
std::optional<std::string> stored_time(std::time_t time);

} // namespace catalog
