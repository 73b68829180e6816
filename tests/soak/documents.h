// The documents that the soak test hands over: made from a few numbers, so that a model can tell whether two are the same.
//
// Stateless; thread-safe.
#pragma once

#include "backup_set/common/backup_set.h"
#include "platform/json/value.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace soak {

/// What never changes about a set.
struct Subject
{
    std::string uuid;
    std::size_t type = 0; ///< below `type_count()`
    unsigned number = 0;
};

/// What one document of a set says. Documents with equal contents have equal members in both spellings.
struct Content
{
    int variant = 0; ///< of all members but the pieces
    std::vector<int> pieces;

    auto operator<=>(const Content&) const = default;
};

/// How a document or a piece is written.
enum class Spelling
{
    RECORD, ///< by its record: keys in the record's order
    VALUE   ///< as a JSON value: keys sorted
};

/// A piece as the catalog holds it: it keeps the spelling that it came in.
struct Piece
{
    int number = 0;
    Spelling spelling = Spelling::RECORD;

    auto operator<=>(const Piece&) const = default;
};

std::size_t type_count();

/// The type's id.
const char* type_id(std::size_t type);

/// The type's own table; empty when it has none.
std::string type_table(std::size_t type);

/// Whether the type has a view of its own.
bool has_type_view(std::size_t type);

std::unique_ptr<Backup_Set> make_record(const Subject& subject, const Content& content);
json_spirit::Value make_value(const Subject& subject, const Content& content);

/// What the catalog has to give back: the document byte for byte, with `pieces` in the place of its own.
std::string document_text(const Subject& subject, int variant, Spelling spelling, const std::vector<Piece>& pieces);

std::string piece_text(const Piece& piece);
json_spirit::Array piece_values(const std::vector<int>& pieces);

/// Copies that a set of this variant has.
std::size_t storage_count(int variant);

} // namespace soak
