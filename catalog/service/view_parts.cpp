#include "catalog/service/view_parts.h"

#include "catalog/store/refusal.h"
#include "platform/json/json_generator.h"
#include "platform/json/yajl_gen.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace catalog::service {
namespace {

constexpr std::size_t first_rows = 500;
constexpr std::size_t most_rows = 2000;

class Watch_Printer final : public database::sql::Query_Result_Token_Printer
{
public:
    bool begin_row() override
    {
        found = true;
        return true;
    }
    bool print_int(int index, const char*, ACE_INT64 value) override
    {
        if (index == 0) {
            piece_count = value;
        } else if (index == 1) {
            document_size = value;
        } else {
            pieces_at = value;
        }
        return true;
    }

    bool print_cstr(int, const char*, const char* value, std::size_t length) override
    {
        revision.assign(value, length);
        return true;
    }

    bool found = false;
    std::string revision; ///< empty: the set was never updated
    std::int64_t piece_count = 0;
    std::int64_t document_size = 0;
    std::optional<std::int64_t> pieces_at;
};

const SQL& watched(SQL_Dialect dialect)
{
    static const SQL sqlite(
        "SELECT b.piece_count, length(CAST(d.document AS BLOB)) AS document_size, d.pieces_at, c.revision "
        "FROM backup_set b JOIN backup_set_document d ON d.set_uuid = b.uuid "
        "LEFT JOIN backup_set_commit c ON c.set_uuid = b.uuid WHERE b.uuid = :uuid");
    static const SQL postgresql("SELECT b.piece_count, octet_length(d.document) AS document_size, d.pieces_at, "
                                "c.revision FROM backup_set b JOIN backup_set_document d ON d.set_uuid = b.uuid "
                                "LEFT JOIN backup_set_commit c ON c.set_uuid = b.uuid WHERE b.uuid = :uuid");
    return dialect == SQL_Dialect::SQLITE ? sqlite : postgresql;
}

} // namespace

bool Part_View::read(Catalog_Store& store, std::string& text, Error& error)
{
    error = {};
    if (state_ != OPEN) {
        return refuse(error, {}, "the view has nothing more to read");
    }
    const std::size_t before = text.size();
    state_ = FAILED;
    if (!read_part(store, text, error)) {
        text.resize(before);
        return false;
    }
    state_ = ended_ ? ENDED : OPEN;
    return true;
}

Row_View::Row_View(const View_Limits& limits, std::uint64_t limit) :
    Part_View(limits), left_(limit != 0 ? limit : std::numeric_limits<std::uint64_t>::max()), rows_a_query_(first_rows)
{}

void Row_View::take(std::string_view json)
{
    ++seen_;
    if (left_ == 0) {
        has_next_ = true;
        throw Enough();
    }
    if (is_full()) {
        throw Enough();
    }
    if (has_rows_) {
        *text_ += ',';
    }
    *text_ += json;
    has_rows_ = true;
    --left_;
}

bool Row_View::read_part(Catalog_Store& store, std::string& text, Error& error)
{
    text_ = &text;
    begin_ = text.size();
    seen_ = 0;
    if (!begun_) {
        text += R"({"rows":[)";
        begun_ = true;
    }
    // One more than are wanted tells whether there is a next page.
    const std::size_t rows = left_ < rows_a_query_ ? static_cast<std::size_t>(left_) + 1 : rows_a_query_;
    bool has_more = false;
    try {
        if (!query(store, rows, error)) {
            return false;
        }
        has_more = seen_ == rows;
    } catch (const Enough&) {
        has_more = !has_next_;
    }
    rows_a_query_ = is_full() ? seen_ + seen_ / 8 + 1 : std::min(rows_a_query_ * 2, most_rows);
    if (has_more) {
        return true;
    }
    text += ']';
    if (has_next_) {
        JSON_Text key;
        YAJL_Gen(key.get()) << next_key();
        text += R"(,"next":)";
        text += key.view();
    }
    text += '}';
    end();
    return true;
}

bool Set_Watch::check(Database_Connection& connection, Error& error)
{
    Watch_Printer printer;
    if (!connection.query_and_print(SQL(watched(connection.dialect())).bind(":uuid", set_), printer, GM_ORM_ROWS)) {
        return fail(error, connection.last_error());
    }
    if (!printer.found) {
        no_such_set(error, set_);
        if (seen_) {
            error.message += " any more: it was deleted while it was read";
        }
        return false;
    }
    Seen now{printer.piece_count, printer.pieces_at, printer.document_size, std::move(printer.revision)};
    if (!seen_) {
        seen_ = std::move(now);
    } else if (now != *seen_) {
        error = {.kind = Error::CONFLICT,
                 .message = "set " + uuid_text(set_) + " was changed while it was read; read it again",
                 .key = {},
                 .database = {}};
        return false;
    }
    return true;
}

bool no_such_set(Error& error, const UUID_Bytes& set)
{
    error = {
        .kind = Error::NOT_FOUND, .message = "the catalog has no set " + uuid_text(set), .key = "uuid", .database = {}};
    return false;
}

bool damaged(Error& error, const UUID_Bytes& set, const std::string& what)
{
    Database_Error damage;
    damage.kind = Database_Error::CORRUPT;
    damage.message = what + " of set " + uuid_text(set) + " are damaged";
    return fail(error, damage);
}

} // namespace catalog::service
