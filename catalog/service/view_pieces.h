// The pieces of a set as its document writes them, read by key.
#pragma once

#include "catalog/store/set_document.h"
#include "platform/database/query_result_printer.h"
#include "platform/sql/select_sql.h"
#include "platform/text/uuid.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

namespace catalog::service {

/// The pieces behind one of a set, in the order of its document, for a `Piece_Printer`.
Select_SQL pieces_select(const UUID_Bytes& set, std::int64_t after, std::size_t rows);

/// Hands each piece to `take`, with its place from 1. Its exceptions pass through.
class Piece_Printer final : public database::sql::Query_Result_Token_Printer
{
public:
    using Take = std::function<void(std::int64_t place, std::string_view json)>;

    explicit Piece_Printer(Take take);

    bool begin_row() override;
    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_int(int index, const char* key, ACE_INT64 value) override;
    bool print_json_text(int index, const char* key, const char* text, std::size_t length) override;
    bool end_row() override;

    /// A row was no piece; it was not handed over.
    bool damaged() const { return damaged_; }

private:
    Take take_;
    std::int64_t place_ = 0;
    Stored_Piece piece_;
    Piece_Writer writer_;
    bool damaged_ = false;
};

} // namespace catalog::service
