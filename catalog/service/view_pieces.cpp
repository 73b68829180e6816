#include "catalog/service/view_pieces.h"

#include "catalog/service/view_families.h"
#include "catalog/service/view_parts.h"
#include "catalog/store/refusal.h"

#include <charconv>
#include <utility>

namespace catalog::service {
namespace {

/// The columns of `pieces_select`, in their order.
enum Piece_Column
{
    ID,
    PATH,
    OBJECT,
    DOCUMENT,
    SIZE,
    EXTENDED_ATTRS
};

class Pieces_View final : public Row_View
{
public:
    Pieces_View(const View_Limits& limits, std::uint64_t limit, const UUID_Bytes& set, std::int64_t after) :
        Row_View(limits, limit), watch_(set), place_(after)
    {}

private:
    bool query(Catalog_Store& store, std::size_t rows, Error& error) override
    {
        Database_Connection& connection = store.connection();
        Database_Transaction snapshot(connection, Database_Transaction::READ);
        if (!snapshot.begun()) {
            return fail(error, connection.last_error());
        }
        if (!watch_.check(connection, error)) {
            return false;
        }
        Piece_Printer printer([this](std::int64_t place, std::string_view json) {
            take(json);
            place_ = place;
        });
        if (!connection.query_and_print(pieces_select(watch_.set(), place_, rows), printer, GM_ORM_ROWS)) {
            return fail(error, connection.last_error());
        }
        return !printer.damaged() || damaged(error, watch_.set(), "the pieces");
    }

    std::string next_key() const override { return std::to_string(place_); }

    Set_Watch watch_;
    std::int64_t place_;
};

} // namespace

Select_SQL pieces_select(const UUID_Bytes& set, std::int64_t after, std::size_t rows)
{
    static const Select_SQL sql = Select_SQL()
                                      .table("backup_piece")
                                      .select("id,path,object,document,size,extended_attrs")
                                      .where("set_uuid = :set_uuid")
                                      .where("id > :after")
                                      .order_by("id");
    Select_SQL select = sql;
    select.bind(":set_uuid", set).bind(":after", after).limit(rows);
    return select;
}

Piece_Printer::Piece_Printer(Take take) : take_(std::move(take)) {}

bool Piece_Printer::begin_row()
{
    piece_ = {};
    return true;
}

bool Piece_Printer::print_cstr(int index, const char*, const char* value, std::size_t length)
{
    (index == PATH ? piece_.path : index == OBJECT ? piece_.object : piece_.document).emplace(value, length);
    return true;
}

bool Piece_Printer::print_int(int index, const char*, ACE_INT64 value)
{
    if (index == ID) {
        place_ = value;
    } else {
        piece_.size = value;
    }
    return true;
}

bool Piece_Printer::print_json_text(int, const char*, const char* text, std::size_t length)
{
    piece_.extended_attrs.emplace(text, length);
    return true;
}

bool Piece_Printer::end_row()
{
    if (piece_.document) {
        take_(place_, *piece_.document);
    } else if (piece_.path && piece_.object && piece_.size && piece_.extended_attrs) {
        take_(place_, writer_.write(*piece_.path, *piece_.object, *piece_.size, *piece_.extended_attrs));
    } else {
        damaged_ = true;
    }
    return true;
}

Opened_View open_pieces(const View_Description&, const View_Arguments& arguments, const View_Limits& limits,
                        Error& error)
{
    const std::string after = arguments.text("after");
    std::int64_t place = 0;
    if (!after.empty()) {
        const auto [stop, fault] = std::from_chars(after.data(), after.data() + after.size(), place);
        if (fault != std::errc() || stop != after.data() + after.size() || place < 1) {
            return refuse_key(error, arguments);
        }
    }
    return std::make_unique<Pieces_View>(limits, arguments.count("limit"), *arguments.uuid("uuid"), place);
}

} // namespace catalog::service
