#include "platform/json/yajl_gen.h"

#include "platform/json/detail/text_buffer.h"
#include "platform/text/log.h"

#include <yajl/yajl_gen.h>

namespace {

using json_text::Form;
using json_text::Text_Buffer;

/// The innermost guard of this thread, and how many of its guards could not open their container.
[[gnu::tls_model("initial-exec")]] constinit thread_local YAJL_Level* innermost = nullptr;
[[gnu::tls_model("initial-exec")]] constinit thread_local unsigned refused_levels = 0;

bool is_inside_refused_level(const yajl_gen_t* gen)
{
    return refused_levels != 0 && YAJL_Level::refuses(gen);
}

bool write_raw(yajl_gen_t* gen, std::string_view text)
{
    return yajl_gen_number(gen, text.data(), text.size()) == yajl_gen_status_ok;
}

const unsigned char* bytes(const char* text)
{
    return reinterpret_cast<const unsigned char*>(text);
}

/// Writes a text as a value, or as a key where a key must stand. `quoted` is its JSON string.
bool write_quoted(yajl_gen_t* gen, std::string_view text, std::string_view quoted)
{
    const yajl_gen_status status = yajl_gen_number(gen, quoted.data(), quoted.size());
    if (status != yajl_gen_keys_must_be_strings) {
        return status == yajl_gen_status_ok;
    }
    if (text.empty()) {
        return yajl_gen_string(gen, bytes(""), 0) == yajl_gen_status_ok; // its address may be null
    }
    if (quoted.size() == text.size() + 2) { // nothing was escaped or replaced
        return yajl_gen_string(gen, bytes(text.data()), text.size()) == yajl_gen_status_ok;
    }
    const std::string clean = json_text::valid_utf8(text);
    return yajl_gen_string(gen, bytes(clean.data()), clean.size()) == yajl_gen_status_ok;
}

bool write_text(yajl_gen_t* gen, std::string_view text)
{
    char quoted[256];
    if (text.size() <= sizeof quoted - 2 && json_text::copy_plain(quoted + 1, text.data(), text.size())) {
        quoted[0] = '"';
        quoted[text.size() + 1] = '"';
        return write_quoted(gen, text, {quoted, text.size() + 2});
    }
    Text_Buffer buffer;
    buffer.put_string(text);
    return write_quoted(gen, text, buffer.view());
}

template <class Container>
bool write_container(yajl_gen_t* gen, const Container& container)
{
    Text_Buffer text;
    return !is_inside_refused_level(gen) && put_value(text, container, Form::FOR_SENDING)
           && write_raw(gen, text.view());
}

template <class T>
void write_integer(yajl_gen_t* gen, T integer)
{
    char digits[json_text::integer_room];
    char* const end = digits + sizeof digits;
    const char* const begin = json_text::put_integer_before(end, integer);
    yajl_gen_raw(gen, {begin, static_cast<std::size_t>(end - begin)});
}

template <class T>
void write_or_null(yajl_gen_t* gen, const T& value)
{
    if (!yajl_gen_value(gen, value) && !is_inside_refused_level(gen) && write_raw(gen, "null")) {
        log_at(LM_ERROR, "A JSON value holds a real that is not finite, null is written.\n");
    }
}

} // namespace

YAJL_Gen::~YAJL_Gen()
{
    if (own_) {
        yajl_gen_free(gen_);
    }
}

const YAJL_Gen& YAJL_Gen::operator<<(const Str& text) const
{
    if (!text.plain) {
        return *this << (text.text == nullptr ? std::string_view() : std::string_view(text.text, text.length));
    }
    if (!is_inside_refused_level(gen_)) {
        yajl_gen_string(gen_, bytes(text.text), text.length);
    }
    return *this;
}

const YAJL_Gen& YAJL_Gen::operator<<(std::string_view text) const
{
    if (!is_inside_refused_level(gen_)) {
        write_text(gen_, text);
    }
    return *this;
}

const YAJL_Gen& YAJL_Gen::operator<<(const json_spirit::Value& value) const
{
    write_or_null(gen_, value);
    return *this;
}

const YAJL_Gen& YAJL_Gen::operator<<(const json_spirit::Object& object) const
{
    write_or_null(gen_, object);
    return *this;
}

const YAJL_Gen& YAJL_Gen::operator<<(const json_spirit::Array& array) const
{
    write_or_null(gen_, array);
    return *this;
}

const YAJL_Gen& YAJL_Gen::write_bool(bool boolean) const
{
    yajl_gen_raw(gen_, boolean ? "true" : "false");
    return *this;
}

const YAJL_Gen& YAJL_Gen::write_int(std::int64_t integer) const
{
    write_integer(gen_, integer);
    return *this;
}

const YAJL_Gen& YAJL_Gen::write_uint(std::uint64_t integer) const
{
    write_integer(gen_, integer);
    return *this;
}

YAJL_Level::YAJL_Level(yajl_gen_t* gen, Kind kind) : gen_(gen), kind_(kind), outer_(innermost)
{
    const YAJL_Level* outer = outer_;
    while (outer != nullptr && outer->gen_ != gen) {
        outer = outer->outer_;
    }
    depth_ = outer == nullptr ? 1 : outer->depth_ + 1;
    if (outer == nullptr || outer->open_) {
        open();
    }
    innermost = this;
    refused_levels += open_ ? 0 : 1;
}

void YAJL_Level::open()
{
    if (depth_ > max_levels) {
        // yajl cannot be asked: it spoils its state when it refuses.
        yajl_gen_null(gen_);
        log_at(LM_ERROR, "JSON is nested deeper than %u levels, null is written.\n", max_levels);
        return;
    }
    const yajl_gen_status status = kind_ == MAP ? yajl_gen_map_open(gen_) : yajl_gen_array_open(gen_);
    open_ = status == yajl_gen_status_ok;
}

YAJL_Level::~YAJL_Level()
{
    YAJL_Level** link = &innermost;
    while (*link != this) {
        link = &(*link)->outer_;
    }
    *link = outer_;
    if (!open_) {
        --refused_levels;
    } else if (kind_ == ARRAY) {
        yajl_gen_array_close(gen_);
    } else {
        // A key that was left without its value, by an exception say, would spoil the document. Where a key may stand
        // yajl refuses this and writes nothing.
        if (write_raw(gen_, "null")) {
            log_at(LM_ERROR, "A member of a JSON object was left without a value, null is written.\n");
        }
        yajl_gen_map_close(gen_);
    }
}

bool YAJL_Level::refuses(const yajl_gen_t* gen)
{
    for (const YAJL_Level* level = innermost; level != nullptr; level = level->outer_) {
        if (level->gen_ == gen) {
            return !level->open_;
        }
    }
    return false;
}

bool yajl_gen_value(yajl_gen_t* gen, const json_spirit::Value& value)
{
    switch (value.type()) {
    case json_spirit::str_type:
        return !is_inside_refused_level(gen) && write_text(gen, *value.if_str());
    case json_spirit::secure_str_type:
        return !is_inside_refused_level(gen) && write_text(gen, *value.if_secure_str());
    default:
        return write_container(gen, value);
    }
}

bool yajl_gen_value(yajl_gen_t* gen, const json_spirit::Object& object)
{
    return write_container(gen, object);
}

bool yajl_gen_value(yajl_gen_t* gen, const json_spirit::Array& array)
{
    return write_container(gen, array);
}

bool yajl_gen_raw(yajl_gen_t* gen, std::string_view text)
{
    return !is_inside_refused_level(gen) && write_raw(gen, text);
}
