#include "catalog/store/set_document.h"

#include "backup_set/common/backup_set_state.h"
#include "catalog/schema/common_tables.h"
#include "catalog/store/refusal.h"
#include "platform/json/document.h"
#include "platform/json/yajl_gen.h"
#include "platform/text/posix_time.h"

#include <charconv>
#include <initializer_list>
#include <limits>
#include <unordered_map>
#include <utility>

namespace catalog {
namespace {

using json_document::find_first;
using json_document::Member;
using json_spirit::Value_type;
using Row = std::vector<Binding_Value>;

/// The columns of "backup_piece", in their order.
enum Piece_Column
{
    SET_UUID,
    ID,
    PATH,
    OBJECT,
    SIZE,
    EXTENDED_ATTRS,
    DOCUMENT
};

constexpr const char* epoch = "1970-01-01 00:00:00";

/// Values of the columns that do not come from the document.
using Store_Values = std::initializer_list<std::pair<std::string_view, Binding_Value>>;

const char* with_article(Value_type type)
{
    switch (type) {
    case json_spirit::obj_type:
        return "an object";
    case json_spirit::array_type:
        return "an array";
    case json_spirit::str_type:
        return "a string";
    case json_spirit::bool_type:
        return "a boolean";
    case json_spirit::int_type:
        return "an integer";
    case json_spirit::real_type:
        return "a real number";
    default:
        return json_spirit::type_name(type);
    }
}

bool refuse_type(Error& error, const std::string& key, Value_type found, Value_type wanted)
{
    return refuse(error, key,
                  '"' + key + "\" is " + with_article(found) + ", where " + with_article(wanted) + " belongs");
}

/// A place in the document, made into a text only when a message needs it: "pieces[3].size".
struct Place
{
    std::string_view array;
    std::size_t index = 0;

    std::string of(std::string_view key) const
    {
        if (array.empty()) {
            return std::string(key);
        }
        return element() + (key.empty() ? "" : ".") + std::string(key);
    }
    std::string element() const
    {
        return index == no_index ? std::string(array) : std::string(array) + '[' + std::to_string(index) + ']';
    }

    static constexpr std::size_t no_index = static_cast<std::size_t>(-1);
};

// One value each: false after a refusal.

bool take_text(const Column& column, const Member& member, const Place& place, Binding_Value& value, Error& error)
{
    std::string text = json_document::unescape(member.text);
    if (text.find('\0') != std::string::npos) {
        const std::string key = place.of(column.document_key());
        return refuse(error, key,
                      '"' + key + "\" holds a NUL character (\\u0000), which the catalog cannot keep in a column");
    }
    if (column.longest != 0 && text.size() > column.longest) {
        const std::string key = place.of(column.document_key());
        return refuse(error, key,
                      '"' + key + "\" has " + std::to_string(text.size()) + " bytes; at most "
                          + std::to_string(column.longest) + " can be kept");
    }
    value = Binding_Value(std::move(text));
    return true;
}

bool take_time(const Column& column, const Member& member, const Place& place, Binding_Value& value, Error& error)
{
    const std::string text = json_document::unescape(member.text);
    if (text.empty()) {
        return true;
    }
    std::time_t time = 0;
    if (iso8601_to_posix_time(std::string_view(text), time)) {
        if (std::optional<std::string> stored = stored_time(time)) {
            value = Binding_Value(std::move(*stored));
            return true;
        }
    }
    const std::string key = place.of(column.document_key());
    return refuse(error, key,
                  '"' + key + "\" is " + excerpt(member.text)
                      + ", which is no time of the form \"YYYY-MM-DD HH:MM:SS\" (years 1 to 9999)");
}

bool take_uuid(const std::string& key, std::string_view text, std::string_view json, UUID_Bytes& uuid, Error& error)
{
    const std::optional<UUID_Bytes> bytes = read_uuid(text);
    if (!bytes) {
        return refuse(error, key, '"' + key + "\" is " + excerpt(json) + ", which is no UUID");
    }
    uuid = *bytes;
    return true;
}

template <class Integer>
bool take_integer(const Column& column, const Member& member, const Place& place, Binding_Value& value, Error& error)
{
    Integer number{};
    const char* const end = member.text.data() + member.text.size();
    const auto [stop, fault] = std::from_chars(member.text.data(), end, number);
    if (fault == std::errc() && stop == end) {
        value = Binding_Value(number);
        return true;
    }
    // "-0" is no unsigned number for from_chars, and yet one of its spellings.
    if (member.text == "-0") {
        value = Binding_Value(Integer{0});
        return true;
    }
    const std::string key = place.of(column.document_key());
    return refuse(error, key,
                  '"' + key + "\" is " + excerpt(member.text) + ", which is beyond the range from "
                      + std::to_string(std::numeric_limits<Integer>::min()) + " to "
                      + std::to_string(std::numeric_limits<Integer>::max()));
}

bool is_integer_of_any_size(const Member& member)
{
    return member.type == json_spirit::int_type
           || (member.type == json_spirit::real_type && member.text.find_first_of(".eE") == std::string_view::npos);
}

Value_type wanted_type(Column_Kind kind)
{
    switch (kind) {
    case Column_Kind::TEXT:
    case Column_Kind::TIME:
    case Column_Kind::UUID:
        return json_spirit::str_type;
    case Column_Kind::INTEGER:
    case Column_Kind::UNSIGNED:
        return json_spirit::int_type;
    case Column_Kind::BOOLEAN:
        return json_spirit::bool_type;
    case Column_Kind::JSON_OBJECT:
        return json_spirit::obj_type;
    case Column_Kind::JSON_ARRAY:
        return json_spirit::array_type;
    }
    return json_spirit::null_type;
}

/// The value of a column from its member. Absent and null: none.
bool take(const Column& column, const Member* member, const Place& place, Binding_Value& value, Error& error)
{
    if (member == nullptr || member->type == json_spirit::null_type) {
        return true;
    }
    const Value_type wanted = wanted_type(column.kind);
    if (wanted == json_spirit::int_type && is_integer_of_any_size(*member)) {
        return column.kind == Column_Kind::INTEGER ? take_integer<std::int64_t>(column, *member, place, value, error)
                                                   : take_integer<std::uint64_t>(column, *member, place, value, error);
    }
    if (column.kind == Column_Kind::INTEGER && member->type == json_spirit::bool_type) {
        value = Binding_Value(std::int64_t{member->text == "true"});
        return true;
    }
    if (member->type != wanted) {
        return refuse_type(error, place.of(column.document_key()), member->type, wanted);
    }
    switch (column.kind) {
    case Column_Kind::TEXT:
        return take_text(column, *member, place, value, error);
    case Column_Kind::TIME:
        return take_time(column, *member, place, value, error);
    case Column_Kind::UUID: {
        const std::string text = json_document::unescape(member->text);
        UUID_Bytes uuid;
        if (text.empty()) {
            return true;
        }
        if (!take_uuid(place.of(column.document_key()), text, member->text, uuid, error)) {
            return false;
        }
        value = Binding_Value(uuid);
        return true;
    }
    case Column_Kind::BOOLEAN:
        value = Binding_Value(member->text == "true");
        return true;
    default:
        value = Binding_Value(member->text);
        return true;
    }
}

/// Makes one row: columns of the document through `find(column)`, the others from `given` (NULL when not there).
template <class Find>
bool make_row(const Table& table, const Set_Type& type, const Place& place, const Store_Values& given, Find find,
              Row& row, Error& error)
{
    row.reserve(table.columns.size());
    for (const Column& column : table.columns) {
        if (column.generated) {
            continue;
        }
        Binding_Value& value = row.emplace_back();
        if (column.source == Column_Source::STORE) {
            for (const auto& [name, store_value] : given) {
                if (name == column.name) {
                    value = store_value;
                }
            }
        } else if (column.only_for == nullptr || std::string_view(column.only_for) == type.id) {
            if (!take(column, find(column), place, value, error)) {
                return false;
            }
        }
    }
    return true;
}

/// The members of the outermost object, each for whom it is.
class Members
{
public:
    Members() = default;
    Members(const Members&) = delete;
    Members& operator=(const Members&) = delete;

    void take(std::vector<Member> members)
    {
        members_ = std::move(members);
        for (const Member& member : members_) {
            first_.emplace(member.key, &member);
        }
    }

    /// Gives the type what it has repeated of the common record's keys.
    void claim(const Set_Type& type)
    {
        for (const Repeated_Key& repeated : type.repeated_keys) {
            const auto own = own_.emplace(repeated.key, nullptr).first;
            for (auto member = members_.rbegin(); member != members_.rend(); ++member) {
                if (member->key == repeated.key) {
                    if (member->type == repeated.type) {
                        own->second = &*member;
                    }
                    break;
                }
            }
        }
    }

    /// A member of the common record, or null.
    const Member* common(std::string_view key) const
    {
        const auto found = first_.find(key);
        if (found == first_.end()) {
            return nullptr;
        }
        const auto own = own_.find(key);
        return own != own_.end() && own->second == found->second ? nullptr : found->second;
    }

    /// A member of the type, or null.
    const Member* typed(std::string_view key) const
    {
        const auto own = own_.find(key);
        if (own != own_.end()) {
            return own->second;
        }
        const auto found = first_.find(key);
        return found != first_.end() ? found->second : nullptr;
    }

private:
    std::vector<Member> members_;
    std::unordered_map<std::string_view, const Member*> first_;
    std::unordered_map<std::string_view, const Member*> own_; ///< of the repeated keys; null: there is none
};

/// A text under a key that has to be a string when it is there.
bool take_string(const Member* member, std::string_view key, std::string& text, Error& error)
{
    if (member == nullptr || member->type == json_spirit::null_type) {
        return true;
    }
    if (member->type != json_spirit::str_type) {
        return refuse_type(error, std::string(key), member->type, json_spirit::str_type);
    }
    text = json_document::unescape(member->text);
    return true;
}

bool is_there(const Member* member)
{
    return member != nullptr && member->type != json_spirit::null_type;
}

class Reader
{
public:
    /// `document` is valid.
    Reader(std::string_view document, Set_Rows& result, Error& error) :
        document_(json_document::compact(document)), result_(result), error_(error)
    {}

    bool read()
    {
        std::vector<Member> members;
        std::string reason;
        if (!json_document::split_object(document_, members, &reason)) {
            return refuse(error_, {}, "the document cannot be recorded: " + reason);
        }
        members_.take(std::move(members));
        if (!find_type() || !find_uuid() || !read_start_time() || !read_parents() || !read_storages() || !read_pieces()
            || !read_set() || !read_typed())
        {
            return false;
        }
        add(backup_set_table, std::move(set_));
        add(backup_set_document_table, stored_document());
        add(backup_set_parent_table, std::move(parents_));
        add(backup_set_state_table, state_rows());
        add(backup_set_storage_table, std::move(storages_));
        add(backup_piece_table, std::move(pieces_));
        for (Table_Rows& table : typed_) {
            result_.tables.push_back(std::move(table));
        }
        return true;
    }

private:
    bool find_type()
    {
        std::string module;
        std::string agent;
        if (!take_string(members_.common("catalog_module"), "catalog_module", module, error_)
            || !take_string(members_.common("agent"), "agent", agent, error_))
        {
            return false;
        }
        result_.type = set_type_of(module, agent);
        if (result_.type != nullptr) {
            members_.claim(*result_.type);
            return true;
        }
        const char* const key = module.empty() ? "agent" : "catalog_module";
        const Member* const member = members_.common(key);
        return refuse(error_, key,
                      (module.empty() ? "\"catalog_module\" says nothing and \"" : "\"") + std::string(key)
                          + (is_there(member) ? "\" is " + excerpt(member->text) : "\" is missing")
                          + ": no known type of set; known are: " + known_set_types());
    }

    bool find_uuid()
    {
        const Member* const member = members_.common("uuid");
        std::string text;
        if (!take_string(member, "uuid", text, error_)) {
            return false;
        }
        if (text.empty()) {
            return refuse(error_, "uuid", is_there(member) ? "\"uuid\" is empty" : "\"uuid\" is missing");
        }
        return take_uuid("uuid", text, member->text, result_.uuid, error_);
    }

    bool read_start_time()
    {
        const Column& column = backup_set_table.columns[start_time_index()];
        if (!take(column, members_.common(column.document_key()), {}, start_time_, error_)) {
            return false;
        }
        if (start_time_ == Binding_Value()) {
            start_time_ = Binding_Value(epoch);
        }
        return true;
    }

    static std::size_t start_time_index()
    {
        static const std::size_t index = [] {
            std::size_t at = 0;
            while (std::string_view(backup_set_table.columns[at].name) != "backup_start_time") {
                ++at;
            }
            return at;
        }();
        return index;
    }

    bool read_parents()
    {
        std::vector<Member> elements;
        if (!split_array("parents", elements)) {
            return false;
        }
        Place place{"parents"};
        for (const Member& element : elements) {
            UUID_Bytes parent;
            if (element.type != json_spirit::str_type) {
                return refuse_type(error_, place.of({}), element.type, json_spirit::str_type);
            }
            if (!take_uuid(place.of({}), json_document::unescape(element.text), element.text, parent, error_)) {
                return false;
            }
            ++place.index;
            parents_.push_back({Binding_Value(result_.uuid), Binding_Value(static_cast<std::int64_t>(place.index)),
                                Binding_Value(parent)});
        }
        return true;
    }

    bool read_storages()
    {
        const Member* const one = members_.common("storage");
        if (is_there(one)) {
            if (is_there(members_.common("storages"))) {
                return refuse(error_, "storages", "\"storage\" and \"storages\" are both there; a set has one of them");
            }
            return read_storage(*one, {"storage", Place::no_index});
        }
        std::vector<Member> elements;
        if (!split_array("storages", elements)) {
            return false;
        }
        Place place{"storages"};
        for (const Member& element : elements) {
            if (!read_storage(element, place)) {
                return false;
            }
            ++place.index;
        }
        return true;
    }

    bool read_storage(const Member& element, const Place& place)
    {
        std::vector<Member> members;
        std::uint64_t bits = 0;
        if (!split_element(element, place, members) || !read_state(find_first(members, "state"), place, bits)) {
            return false;
        }
        states_ |= bits;
        return make_row(
            backup_set_storage_table, *result_.type, place,
            {{"set_uuid", Binding_Value(result_.uuid)},
             {"state", Binding_Value(static_cast<std::int64_t>(bits))},
             {"backup_start_time", start_time_}},
            [&members](const Column& column) { return find_first(members, column.document_key()); },
            storages_.emplace_back(), error_);
    }

    /// Names that are not known, and what is no string, stand for no bit: so it is everywhere. The document keeps them.
    bool read_state(const Member* state, const Place& place, std::uint64_t& bits)
    {
        if (!is_there(state)) {
            return true;
        }
        std::vector<Member> names;
        if (state->type != json_spirit::array_type) {
            return refuse_type(error_, place.of("state"), state->type, json_spirit::array_type);
        }
        json_document::split_array(state->text, names);
        for (const Member& name : names) {
            if (name.type == json_spirit::str_type) {
                ACE_UINT64 value = bits;
                to_value(json_document::unescape(name.text), value);
                bits = value;
            }
        }
        return true;
    }

    bool read_pieces()
    {
        std::vector<Member> elements;
        if (!split_array("pieces", elements)) {
            return false;
        }
        Place place{"pieces"};
        pieces_.reserve(elements.size());
        for (const Member& element : elements) {
            if (!read_piece(element, place)) {
                return false;
            }
            ++place.index;
        }
        return true;
    }

    bool read_piece(const Member& element, const Place& place)
    {
        std::vector<Member> members;
        Row& row = pieces_.emplace_back();
        if (!split_element(element, place, members)
            || !make_row(
                backup_piece_table, *result_.type, place,
                {{"set_uuid", Binding_Value(result_.uuid)},
                 {"id", Binding_Value(static_cast<std::int64_t>(place.index + 1))}},
                [&members](const Column& column) { return find_first(members, column.document_key()); }, row, error_))
        {
            return false;
        }
        const auto* const path = std::get_if<std::string>(&row[PATH].held());
        const auto* const object = std::get_if<std::string>(&row[OBJECT].held());
        const auto* const size = std::get_if<std::int64_t>(&row[SIZE].held());
        const auto* const attrs = std::get_if<std::string>(&row[EXTENDED_ATTRS].held());
        if (path == nullptr || object == nullptr || size == nullptr || attrs == nullptr
            || writer_.write(*path, *object, *size, *attrs) != element.text)
        {
            row[DOCUMENT] = Binding_Value(element.text);
        }
        return true;
    }

    bool read_set()
    {
        const bool made = make_row(
            backup_set_table, *result_.type, {},
            {{"catalog_type", Binding_Value(result_.type->id)},
             {"piece_count", Binding_Value(static_cast<std::int64_t>(pieces_.size()))},
             {"copy_states", Binding_Value(static_cast<std::int64_t>(states_))}},
            [this](const Column& column) { return members_.common(column.document_key()); }, set_, error_);
        if (made) {
            set_[start_time_index()] = start_time_;
        }
        return made;
    }

    bool read_typed()
    {
        for (const char* name : result_.type->tables) {
            const Table* const table = find_table(name);
            Table_Rows& rows = typed_.emplace_back(Table_Rows{table, {}});
            if (!make_row(
                    *table, *result_.type, {}, {{"set_uuid", Binding_Value(result_.uuid)}},
                    [this](const Column& column) { return members_.typed(column.document_key()); },
                    rows.rows.emplace_back(), error_))
            {
                return false;
            }
        }
        return true;
    }

    /// The elements of an array of the common record; none when it is not there.
    bool split_array(const char* key, std::vector<Member>& elements)
    {
        const Member* const member = members_.common(key);
        if (!is_there(member)) {
            return true;
        }
        if (member->type != json_spirit::array_type) {
            return refuse_type(error_, key, member->type, json_spirit::array_type);
        }
        return json_document::split_array(member->text, elements);
    }

    bool split_element(const Member& element, const Place& place, std::vector<Member>& members)
    {
        if (element.type != json_spirit::obj_type) {
            return refuse_type(error_, place.of({}), element.type, json_spirit::obj_type);
        }
        return json_document::split_object(element.text, members);
    }

    Row stored_document()
    {
        if (pieces_.empty()) {
            return {Binding_Value(result_.uuid), Binding_Value(std::move(document_)), Binding_Value()};
        }
        const std::string_view pieces = members_.common("pieces")->text;
        const auto inside = static_cast<std::size_t>(pieces.data() + 1 - document_.data());
        std::string rest = document_.substr(0, inside);
        rest.append(document_, inside + pieces.size() - 2);
        return {Binding_Value(result_.uuid), Binding_Value(std::move(rest)),
                Binding_Value(static_cast<std::int64_t>(inside))};
    }

    std::vector<Row> state_rows() const
    {
        std::vector<Row> rows;
        for (std::uint64_t left = states_; left != 0; left &= left - 1) {
            const auto bit = static_cast<std::int64_t>(left & (~left + 1));
            rows.push_back({Binding_Value(result_.uuid), Binding_Value(bit), start_time_});
        }
        return rows;
    }

    void add(const Table& table, Row row)
    {
        result_.tables.emplace_back(Table_Rows{&table, {}}).rows.push_back(std::move(row));
    }

    void add(const Table& table, std::vector<Row> rows)
    {
        if (!rows.empty()) {
            result_.tables.push_back({&table, std::move(rows)});
        }
    }

    std::string document_;
    Members members_; ///< views into `document_`
    Set_Rows& result_;
    Error& error_;

    Binding_Value start_time_;
    std::uint64_t states_ = 0;
    Row set_;
    std::vector<Row> parents_;
    std::vector<Row> storages_;
    std::vector<Row> pieces_;
    std::vector<Table_Rows> typed_;
    Piece_Writer writer_;
};

} // namespace

std::vector<std::string> inserted_columns(const Table& table)
{
    std::vector<std::string> names;
    for (const Column& column : table.columns) {
        if (!column.generated) {
            names.emplace_back(column.name);
        }
    }
    return names;
}

bool read_document(std::string_view document, Set_Rows& rows, Error& error)
{
    error = {};
    rows = {};
    if (document.size() > longest_document) {
        return refuse(error, {},
                      "the document has " + std::to_string(document.size()) + " bytes; at most "
                          + std::to_string(longest_document) + " can be recorded");
    }
    std::string reason;
    if (!json_document::validate(document, &reason)) {
        return refuse(error, {}, "the document cannot be recorded: " + reason);
    }
    return Reader(document, rows, error).read();
}

bool check_pieces(std::string_view pieces, std::size_t& count, Error& error)
{
    std::vector<Member> elements;
    json_document::split_array(pieces, elements);
    Place place{"pieces"};
    for (const Member& element : elements) {
        if (element.type != json_spirit::obj_type) {
            return refuse_type(error, place.of({}), element.type, json_spirit::obj_type);
        }
        std::vector<Member> members;
        Row row;
        // The columns of pieces are those of all types.
        if (!json_document::split_object(element.text, members)
            || !make_row(
                backup_piece_table, set_types().front(), place, {},
                [&members](const Column& column) { return find_first(members, column.document_key()); }, row, error))
        {
            return false;
        }
        ++place.index;
    }
    count = elements.size();
    return true;
}

std::string_view Piece_Writer::write(std::string_view path, std::string_view object, std::int64_t size,
                                     std::string_view extended_attrs)
{
    text_.clear();
    const YAJL_Gen gen(text_.get());
    {
        const YAJL_Map_Guard map(gen);
        gen << "path"_key << path;
        gen << "object"_key << object;
        gen << "size"_key << size;
        gen << "extended_attrs"_key;
        yajl_gen_raw(gen.get(), extended_attrs);
    }
    return text_.view();
}

Document_Builder::Document_Builder(std::string stored, std::optional<std::int64_t> pieces_at) :
    stored_(std::move(stored)), pieces_at_(std::string::npos)
{
    if (pieces_at && *pieces_at > 0 && static_cast<std::uint64_t>(*pieces_at) < stored_.size()) {
        pieces_at_ = static_cast<std::size_t>(*pieces_at);
    }
}

bool Document_Builder::add(const Stored_Piece& piece)
{
    const bool whole = piece.path && piece.object && piece.size && piece.extended_attrs;
    if (pieces_at_ == std::string::npos || (!piece.document && !whole)) {
        return false;
    }
    if (pieces_++ > 0) {
        spliced_ += ',';
    }
    spliced_ += piece.document ? std::string_view(*piece.document)
                               : writer_.write(*piece.path, *piece.object, *piece.size, *piece.extended_attrs);
    return true;
}

std::string Document_Builder::take()
{
    if (pieces_ > 0) {
        stored_.insert(pieces_at_, spliced_);
    }
    return std::move(stored_);
}

std::optional<std::string> stored_time(std::time_t time)
{
    constexpr std::time_t first = -62135596800; // 0001-01-01 00:00:00
    constexpr std::time_t last = 253402300799;  // 9999-12-31 23:59:59
    if (time < first || time > last) {
        return std::nullopt;
    }
    return std::string(POSIX_Time_To_ISO8601(time, "%Y-%m-%d %H:%M:%S").view());
}

} // namespace catalog
