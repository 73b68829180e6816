#include "catalog/service/view_families.h"
#include "catalog/service/view_form.h"
#include "catalog/service/view_parts.h"
#include "catalog/service/view_pieces.h"
#include "catalog/store/refusal.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace catalog::service {
namespace {

/// Bytes of a stored document that are read at once: an engine reads the whole of it each time.
constexpr std::int64_t slice = std::int64_t{4} << 20;

constexpr std::size_t pieces_a_query = 1000;

class Slice_Printer final : public database::sql::Query_Result_Token_Printer
{
public:
    explicit Slice_Printer(std::string& text) : text_(text) {}

    bool print_cstr(int, const char*, const char* value, std::size_t length) override
    {
        text_.append(value, length);
        return true;
    }

private:
    std::string& text_;
};

/// Bytes of a stored document.
const SQL& document_slice(SQL_Dialect dialect)
{
    static const SQL sqlite("SELECT substr(CAST(document AS BLOB), :begin, :count) AS slice "
                            "FROM backup_set_document WHERE set_uuid = :uuid");
    static const SQL postgresql("SELECT substring(convert_to(document, 'UTF8'), CAST(:begin AS integer), "
                                "CAST(:count AS integer)) AS slice FROM backup_set_document WHERE set_uuid = :uuid");
    return dialect == SQL_Dialect::SQLITE ? sqlite : postgresql;
}

/// The document of one set: up to where its pieces belong, the pieces, the rest.
class Document_View final : public Part_View
{
public:
    /// Finds the set to show; leaves it empty when there is none to show.
    using Find = std::function<bool(Database_Connection&, std::optional<UUID_Bytes>&, Error&)>;

    enum Form
    {
        BARE,   ///< the document and nothing around it
        OBJECT, ///< as a row
        TEXT    ///< as a row that has the document's text
    };

    Document_View(const View_Limits& limits, Form form, Find find) :
        Part_View(limits), find_(std::move(find)), form_(form)
    {}

private:
    bool read_part(Catalog_Store& store, std::string& text, Error& error) override
    {
        Database_Connection& connection = store.connection();
        Database_Transaction snapshot(connection, Database_Transaction::READ);
        if (!snapshot.begun()) {
            return fail(error, connection.last_error());
        }
        const bool is_first = !watch_;
        if (is_first) {
            std::optional<UUID_Bytes> set;
            if (!find_(connection, set, error)) {
                return false;
            }
            text += form_ != BARE ? R"({"rows":[)" : "";
            if (!set) {
                text += form_ != BARE ? "]}" : "";
                end();
                return true;
            }
            watch_.emplace(*set);
            if (form_ == TEXT) {
                begin_text_row(text, uuid_text(*set));
            }
        }
        if (!watch_->check(connection, error)) {
            return false;
        }
        const std::size_t full = text.size() + (is_first ? limits().document : limits().part);
        const std::size_t before = text.size();
        if (!read_set(connection, text, full, error)) {
            return false;
        }
        if (form_ == TEXT) {
            const std::string read = text.substr(before);
            text.resize(before);
            append_quoted(text, read);
        }
        if (document_ == watch_->document_size()) {
            if (form_ == TEXT) {
                end_text_row(text);
            }
            text += form_ != BARE ? "]}" : "";
            end();
        }
        return true;
    }

    bool read_set(Database_Connection& connection, std::string& text, std::size_t full, Error& error)
    {
        const std::int64_t size = watch_->document_size();
        const std::int64_t pieces_at = watch_->pieces_at().value_or(size);
        if (!read_document(connection, pieces_at, text, full, error) || !read_pieces(connection, text, full, error)) {
            return false;
        }
        if (document_ < pieces_at || place_ < piece_count()) {
            return true;
        }
        return read_document(connection, size, text, full, error);
    }

    /// Goes on with the stored document up to `end`, until the text is full.
    bool read_document(Database_Connection& connection, std::int64_t end, std::string& text, std::size_t full,
                       Error& error)
    {
        while (document_ < end && text.size() < full) {
            const auto room = static_cast<std::int64_t>(full - text.size());
            const std::int64_t count = std::min({end - document_, std::max(room, slice)});
            const std::size_t before = text.size();
            Slice_Printer printer(text);
            SQL sql = document_slice(connection.dialect());
            sql.bind(":uuid", watch_->set()).bind(":begin", document_ + 1).bind(":count", count);
            if (!connection.query_and_print(sql, printer, GM_ORM_ROWS)) {
                return fail(error, connection.last_error());
            }
            if (text.size() - before != static_cast<std::size_t>(count)) {
                return damaged(error, watch_->set(), "the document and the pieces");
            }
            document_ += count;
        }
        return true;
    }

    /// Goes on with the pieces until the text is full.
    bool read_pieces(Database_Connection& connection, std::string& text, std::size_t full, Error& error)
    {
        while (place_ < piece_count() && text.size() < full) {
            const std::int64_t before = place_;
            bool in_order = true;
            Piece_Printer printer([&](std::int64_t place, std::string_view json) {
                if (text.size() >= full) {
                    throw Enough();
                }
                in_order = in_order && place == place_ + 1;
                if (place_ > 0) {
                    text += ',';
                }
                text += json;
                place_ = place;
            });
            try {
                if (!connection.query_and_print(pieces_select(watch_->set(), place_, pieces_a_query), printer,
                                                GM_ORM_ROWS)) {
                    return fail(error, connection.last_error());
                }
            } catch (const Enough&) {
            }
            if (printer.damaged() || !in_order || place_ == before) {
                return damaged(error, watch_->set(), "the pieces");
            }
        }
        return true;
    }

    std::int64_t piece_count() const { return watch_->pieces_at() ? watch_->piece_count() : 0; }

    Find find_;
    Form form_;
    std::optional<Set_Watch> watch_;
    std::int64_t document_ = 0; ///< bytes of the stored document that have been read
    std::int64_t place_ = 0;    ///< of the last piece that has been read
};

Document_View::Form form_of(const View_Arguments& arguments)
{
    return wants_text(arguments) ? Document_View::TEXT : Document_View::OBJECT;
}

Opened_View view_of(const UUID_Bytes& uuid, Document_View::Form form, const View_Limits& limits)
{
    return std::make_unique<Document_View>(limits, form,
                                           [uuid](Database_Connection&, std::optional<UUID_Bytes>& set, Error&) {
                                               set = uuid;
                                               return true;
                                           });
}

class Uuid_Printer final : public database::sql::Query_Result_Token_Printer
{
public:
    bool print_cstr(int, const char*, const char* value, std::size_t length) override
    {
        uuid = read_uuid({value, length});
        return true;
    }

    std::optional<UUID_Bytes> uuid;
};

/// The newest set of a resource: by its end. Where none has an end: by its start.
bool find_latest(Database_Connection& connection, const UUID_Bytes& resource, const std::string& type,
                 std::optional<UUID_Bytes>& set, Error& error)
{
    for (const bool ended : {true, false}) {
        Uuid_Printer printer;
        if (!connection.query_and_print(latest_select(resource, type, ended), printer, GM_ORM_ROWS)) {
            return fail(error, connection.last_error());
        }
        set = printer.uuid;
        if (set) {
            return true;
        }
    }
    return true;
}

} // namespace

Select_SQL latest_select(const UUID_Bytes& resource, const std::string& type, bool ended)
{
    Select_SQL sql;
    sql.table("backup_set").select("uuid").where("resource_uuid = :resource").bind(":resource", resource);
    if (!type.empty()) {
        sql.where("catalog_type = :type").bind(":type", type);
    }
    if (ended) {
        sql.where("backup_end_time IS NOT NULL").order_by("backup_end_time DESC");
    }
    sql.order_by("backup_start_time DESC").order_by("uuid DESC").limit(1);
    return sql;
}

Opened_View open_set(const View_Description&, const View_Arguments& arguments, const View_Limits& limits, Error&)
{
    return view_of(*arguments.uuid("uuid"), form_of(arguments), limits);
}

Opened_View open_latest(const View_Description&, const View_Arguments& arguments, const View_Limits& limits, Error&)
{
    return std::make_unique<Document_View>(
        limits, form_of(arguments),
        [resource = *arguments.uuid("resource"),
         type = arguments.text("type")](Database_Connection& connection, std::optional<UUID_Bytes>& set, Error& error) {
            return find_latest(connection, resource, type, set, error);
        });
}

std::unique_ptr<View> open_document(std::string_view uuid, Error& error, const View_Limits& limits)
{
    error = {};
    const std::optional<UUID_Bytes> bytes = read_uuid(uuid);
    if (!bytes) {
        refuse(error, "uuid", shown(uuid) + " is no UUID of a set");
        return nullptr;
    }
    return view_of(*bytes, Document_View::BARE, limits);
}

} // namespace catalog::service
