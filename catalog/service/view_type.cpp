#include "backup_set/common/backup_piece.h"
#include "backup_set/common/backup_set_result_handler.h"
#include "backup_set/common/translation_tables.h"
#include "catalog/service/view_families.h"
#include "catalog/service/view_form.h"
#include "catalog/service/view_parts.h"
#include "catalog/store/refusal.h"
#include "catalog/store/set_listing.h"
#include "platform/database/json_result_printer.h"
#include "platform/json/json_generator.h"
#include "platform/json/yajl_gen.h"
#include "platform/text/posix_time.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <utility>
#include <vector>

namespace catalog::service {
namespace {

constexpr std::size_t first_sets = 16;
constexpr std::size_t most_sets = 128;

/// A row with more pieces is read in parts of its own.
constexpr std::int64_t bytes_a_piece = 256;

constexpr std::size_t pieces_a_query = 1000;

using Place = Type_Place;

class Place_Printer final : public database::sql::Query_Result_Token_Printer
{
public:
    bool begin_row() override
    {
        places.emplace_back();
        return true;
    }
    bool print_cstr(int index, const char*, const char* value, std::size_t length) override
    {
        if (index == 0) {
            places.back().uuid = read_uuid({value, length}).value_or(UUID_Bytes{});
        } else {
            places.back().start_time.assign(value, length);
        }
        return true;
    }
    bool print_int(int, const char*, ACE_INT64 value) override
    {
        places.back().piece_count = value;
        return true;
    }

    std::vector<Place> places;
};

/// Hands each row over as soon as it is whole.
class Rows_Printer final : public JSON_Result_Printer
{
public:
    using Take = std::function<void(std::string_view uuid, std::string_view json)>;

    Rows_Printer(JSON_Text& text, Take take) : JSON_Result_Printer(text.get()), text_(text), take_(std::move(take)) {}

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override
    {
        if (depth_ == 1 && std::string_view(key) == "uuid") {
            uuid_.assign(value, length);
        }
        return JSON_Result_Printer::print_cstr(index, key, value, length);
    }

    bool begin_row() override
    {
        ++depth_;
        return JSON_Result_Printer::begin_row();
    }
    bool end_row() override
    {
        if (!JSON_Result_Printer::end_row()) {
            return false;
        }
        if (--depth_ == 0) {
            take_(uuid_, text_.view());
            text_.clear();
        }
        return true;
    }

private:
    JSON_Text& text_;
    Take take_;
    std::string uuid_;
    std::size_t depth_ = 0;
};

/// The rows of pieces that the expansion of "pieces" gives, without the column that they are read by.
class Piece_Rows_Printer final : public JSON_Result_Printer
{
public:
    using Take = std::function<void(std::int64_t place, std::string_view json)>;

    Piece_Rows_Printer(JSON_Text& text, Take take) :
        JSON_Result_Printer(text.get()), text_(text), take_(std::move(take))
    {}

    bool print_int(int index, const char* key, ACE_INT64 value) override
    {
        if (index == 0) {
            place_ = value;
            return true;
        }
        return JSON_Result_Printer::print_int(index, key, value);
    }
    bool end_row() override
    {
        if (!JSON_Result_Printer::end_row()) {
            return false;
        }
        take_(place_, text_.view());
        text_.clear();
        return true;
    }

private:
    JSON_Text& text_;
    Take take_;
    std::int64_t place_ = 0;
};

const char* base_of(const Set_Type& type)
{
    return type.base_alias(type.aliases);
}

std::string prefix_of(const Set_Type& type)
{
    return std::string(base_of(type) != nullptr ? base_of(type) : type.aliases.front()) + '.';
}

std::string uuid_column(const Set_Type& type)
{
    return prefix_of(type) + (base_of(type) != nullptr ? "uuid" : "set_uuid");
}

/// For types whose rows are read without translations: the sub-queries are wanted all the same.
database::sql::Query_Result_Handler* handler_of(const Set_Type& type)
{
    static Backup_Set_Result_Handler without_translations(nullptr, &val_trans_end, nullptr,
                                                          Backup_Set_Result_Handler::VF_BASE);
    database::sql::Query_Result_Handler* const own = type.handler();
    return own != nullptr ? own : &without_translations;
}

/// A type's rows by its own select. First the places of some sets are read, by an index, then the rows between the first
/// and the last of them: so many as their pieces let fit a part. The row of a set with more pieces than that is cut.
class Type_View final : public Part_View
{
public:
    struct Form
    {
        bool records; ///< what the records write; else the rows, with storages and pieces
        bool text;    ///< the JSON texts, else the objects
    };

    Type_View(const View_Limits& limits, std::uint64_t limit, const Set_Type& type, Form form,
              std::optional<UUID_Bytes> one_set, std::optional<Place> after) :
        Part_View(limits),
        type_(type), form_(form), one_set_(one_set), last_(std::move(after)),
        left_(limit != 0 ? limit : std::numeric_limits<std::uint64_t>::max())
    {}

private:
    bool read_part(Catalog_Store& store, std::string& text, Error& error) override
    {
        Database_Connection& connection = store.connection();
        Database_Transaction snapshot(connection, Database_Transaction::READ);
        if (!snapshot.begun()) {
            return fail(error, connection.last_error());
        }
        if (!begun_) {
            text += R"({"rows":[)";
            begun_ = true;
        }
        return cut_row_ ? read_pieces(connection, text, error) : read_rows(store, text, error);
    }

    bool read_rows(Catalog_Store& store, std::string& text, Error& error)
    {
        // One more than are wanted tells whether there is a next page.
        const std::size_t sets = left_ < sets_a_query_ ? static_cast<std::size_t>(left_) + 1 : sets_a_query_;
        Place_Printer found;
        if (!store.connection().query_and_print(type_places_select(type_, one_set_, last_, sets), found, GM_ORM_ROWS)) {
            return fail(error, store.connection().last_error());
        }
        if (left_ == 0 || found.places.empty()) {
            close(text, !found.places.empty());
            return true;
        }
        const std::size_t count = fitting(found.places);
        const Place& last = found.places[count - 1];
        const bool is_cut = !form_.records && count == 1 && last.piece_count > most_pieces();
        const std::size_t before = text.size();
        if (!write_rows(store, last, is_cut, text, error)) {
            return false;
        }
        left_ -= count;
        last_ = last;
        sets_a_query_ = std::clamp<std::size_t>(count * limits().part / std::max<std::size_t>(text.size() - before, 1),
                                                1, std::min(count * 2, most_sets));
        if (is_cut && text.size() > before) {
            cut_row_.emplace(last.uuid);
            pieces_read_ = 0;
            return cut_row_->check(store.connection(), error);
        }
        if (found.places.size() < sets && count == found.places.size()) {
            close(text, false);
        }
        return true;
    }

    std::int64_t most_pieces() const { return static_cast<std::int64_t>(limits().part) / bytes_a_piece; }

    /// How many of some sets have no more pieces together than a part takes; one at least.
    std::size_t fitting(const std::vector<Place>& places) const
    {
        std::int64_t pieces = 0;
        std::size_t count = 0;
        const std::size_t wanted = left_ < places.size() ? static_cast<std::size_t>(left_) : places.size();
        if (form_.records) {
            return wanted; // their pieces are no part of them
        }
        while (count < wanted && (count == 0 || pieces + places[count].piece_count <= most_pieces())) {
            pieces += places[count].piece_count;
            ++count;
        }
        return count;
    }

    /// The rows behind the last one up to `last`. One that is to be cut ends with its open array of pieces.
    bool write_rows(Catalog_Store& store, const Place& last, bool is_cut, std::string& text, Error& error)
    {
        Select_SQL sql;
        if (!store.type_select(type_, one_set_ ? uuid_text(*one_set_) : std::string(), sql, error)) {
            return false;
        }
        if (last_) {
            add_place(sql, type_, *last_, "<");
        }
        add_place(sql, type_, last, ">=");
        if (form_.records) {
            return write_records(store.connection(), sql, text, error);
        }
        if (base_of(type_) == nullptr) {
            sql.add_key(uuid_column(type_), "uuid");
        }
        sql.add_key(uuid_column(type_), "storages");
        if (!is_cut) {
            sql.add_key(uuid_column(type_), "pieces");
        }
        JSON_Text json;
        Rows_Printer printer(json, [&](std::string_view uuid, std::string_view row) {
            begin_row(text, uuid);
            append(text, is_cut ? row.substr(0, row.size() - 1) : row);
            if (is_cut) {
                append(text, R"(,"pieces":[)");
            } else {
                end_row(text);
            }
        });
        return store.connection().query_and_print(sql, printer, GM_ORM_ROWS, handler_of(type_))
               || fail(error, store.connection().last_error());
    }

    bool write_records(Database_Connection& connection, const Select_SQL& sql, std::string& text, Error& error)
    {
        JSON_Text json;
        bool written = true;
        const auto take = [&](Backup_Set& record) {
            json.clear();
            written = record.generate(json.get());
            begin_row(text, record.uuid);
            append(text, json.view());
            end_row(text);
            return written;
        };
        if (type_.load(connection, sql, take, type_.handler())) {
            return true;
        }
        Database_Error reason = connection.last_error();
        if (!written) {
            reason.kind = Database_Error::CORRUPT;
            reason.message = "a set of type \"" + std::string(type_.id) + "\" cannot be written";
        }
        return fail(error, reason);
    }

    void begin_row(std::string& text, std::string_view uuid)
    {
        text += has_rows_ ? "," : "";
        has_rows_ = true;
        if (form_.text) {
            begin_text_row(text, uuid);
        }
    }

    /// Goes on with the JSON of a row.
    void append(std::string& text, std::string_view json) const
    {
        if (form_.text) {
            append_quoted(text, json);
        } else {
            text += json;
        }
    }

    void end_row(std::string& text) const
    {
        if (form_.text) {
            end_text_row(text);
        }
    }

    /// Goes on with the pieces of a row that is cut.
    bool read_pieces(Database_Connection& connection, std::string& text, Error& error)
    {
        if (!cut_row_->check(connection, error)) {
            return false;
        }
        static const Select_SQL pieces = Select_SQL()
                                             .table("backup_piece")
                                             .select("id,object,size,path")
                                             .where("set_uuid = :set_uuid")
                                             .where("id > :after")
                                             .order_by("id");
        Select_SQL sql = pieces;
        sql.bind(":set_uuid", cut_row_->set()).bind(":after", pieces_read_).limit(pieces_a_query);
        const std::size_t full = text.size() + limits().part;
        std::size_t seen = 0;
        JSON_Text json;
        Piece_Rows_Printer printer(json, [&](std::int64_t place, std::string_view row) {
            if (text.size() >= full) {
                throw Enough();
            }
            text += pieces_read_ > 0 ? "," : "";
            append(text, row);
            pieces_read_ = place;
            ++seen;
        });
        bool has_more = true;
        try {
            if (!connection.query_and_print(sql, printer, GM_ORM_ROWS, Backup_Piece::result_handler())) {
                return fail(error, connection.last_error());
            }
            has_more = seen == pieces_a_query;
        } catch (const Enough&) {
        }
        if (!has_more) {
            text += "]}";
            end_row(text);
            cut_row_.reset();
        }
        return true;
    }

    void close(std::string& text, bool has_next)
    {
        text += ']';
        if (has_next) {
            JSON_Text key;
            YAJL_Gen(key.get()) << next_key();
            text += R"(,"next":)";
            text += key.view();
        }
        text += '}';
        end();
    }

    std::string next_key() const
    {
        if (last_->start_time.empty()) {
            return uuid_text(last_->uuid);
        }
        std::time_t time = 0;
        iso8601_to_posix_time(std::string_view(last_->start_time), time);
        return page_key(time, uuid_text(last_->uuid));
    }

    const Set_Type& type_;
    const Form form_;
    std::optional<UUID_Bytes> one_set_;
    std::optional<Place> last_;
    std::uint64_t left_;
    std::size_t sets_a_query_ = first_sets;
    bool begun_ = false;
    bool has_rows_ = false;

    std::optional<Set_Watch> cut_row_; ///< the set whose pieces are being read
    std::int64_t pieces_read_ = 0;     ///< place of the last one
};

} // namespace

void add_place(Select_SQL& sql, const Set_Type& type, const Place& place, const char* relation)
{
    const std::string names = std::string_view(relation) == "<" ? ":after" : ":last";
    sql.bind(names + "_uuid", place.uuid);
    if (base_of(type) == nullptr) {
        sql.where(uuid_column(type) + ' ' + relation + ' ' + names + "_uuid");
        return;
    }
    sql.bind(names + "_time", place.start_time);
    sql.where('(' + prefix_of(type) + "backup_start_time, " + uuid_column(type) + ") " + relation + " (" + names
              + "_time, " + names + "_uuid)");
}

Select_SQL type_places_select(const Set_Type& type, const std::optional<UUID_Bytes>& one_set,
                              const std::optional<Place>& after, std::size_t sets)
{
    const std::string prefix = prefix_of(type);
    Select_SQL sql;
    if (base_of(type) != nullptr) {
        sql.table("backup_set", base_of(type));
        sql.add_key(uuid_column(type), "uuid");
        sql.add_key(prefix + "backup_start_time", "backup_start_time");
        sql.add_key(prefix + "piece_count", "piece_count");
        sql.where(prefix + "catalog_type = :catalog_type").bind(":catalog_type", type.id);
        sql.order_by(prefix + "backup_start_time DESC");
    } else {
        sql.table(type.tables.front(), type.aliases.front());
        sql.join("backup_set", "base", "base.uuid = " + uuid_column(type));
        sql.add_key(uuid_column(type), "uuid");
        sql.add_key("base.piece_count", "piece_count");
    }
    if (one_set) {
        sql.where(uuid_column(type) + " = :uuid").bind(":uuid", *one_set);
    }
    if (after) {
        add_place(sql, type, *after, "<");
    }
    sql.order_by(uuid_column(type) + " DESC").limit(sets);
    return sql;
}

static Opened_View open_type_view(const View_Description& view, bool records, const View_Arguments& arguments,
                                  const View_Limits& limits, Error& error)
{
    const std::string after = arguments.text("after");
    std::optional<Place> place;
    if (!after.empty()) {
        if (view.type->base_alias(view.type->aliases) == nullptr) {
            const std::optional<UUID_Bytes> uuid = read_uuid(after);
            if (!uuid) {
                return refuse_key(error, arguments);
            }
            place.emplace().uuid = *uuid;
        } else {
            const std::optional<Page_Key> key = read_page_key(after);
            if (!key) {
                return refuse_key(error, arguments);
            }
            place = Place{key->start_time, key->uuid};
        }
    }
    const Type_View::Form form{records, wants_text(arguments)};
    return std::make_unique<Type_View>(limits, arguments.count("limit"), *view.type, form, arguments.uuid("uuid"),
                                       std::move(place));
}

Opened_View open_type_sets(const View_Description& view, const View_Arguments& arguments, const View_Limits& limits,
                           Error& error)
{
    return open_type_view(view, false, arguments, limits, error);
}

Opened_View open_type_records(const View_Description& view, const View_Arguments& arguments, const View_Limits& limits,
                              Error& error)
{
    return open_type_view(view, true, arguments, limits, error);
}

} // namespace catalog::service
