// The pieces of a set as they come step by step, and where they stand in its document. Plain values of one thread.
#pragma once

#include "platform/text/uuid.h"

#include <cstddef>
#include <set>
#include <string>
#include <string_view>

namespace catalog {

/// The array of pieces of a valid document; empty when it has none (no such key, null, or no array).
std::string_view pieces_of(std::string_view document);

/// A valid compact document with `pieces` (a JSON array) in the place of its first "pieces"; a document without one gets
/// it as its last member, unless there is nothing to hold. All else stays byte for byte.
std::string with_pieces(std::string_view document, std::string_view pieces);

/// Pieces in the order in which they came, each once.
class Piece_List
{
public:
    /// Adds the pieces of a valid compact JSON array behind the others; those that are there already are left out.
    void add(std::string_view pieces);

    std::size_t size() const { return seen_.size(); }

    /// All of them as a JSON array.
    std::string array() const { return '[' + text_ + ']'; }

private:
    std::string text_;
    std::set<UUID_Bytes> seen_; ///< digests of what makes pieces equal
};

} // namespace catalog
