#include "platform/json/detail/text_buffer.h"

#include <algorithm>
#include <cmath>

namespace json_text {
namespace {

constexpr std::size_t longest_escape = 6; // \u001F
constexpr std::size_t string_chunk = 4096;
constexpr std::string_view replacement_character = "\xef\xbf\xbd";
constexpr std::string_view secret_mask = "\"******\"";

char* put_bytes(char* out, std::string_view bytes)
{
    return std::copy(bytes.begin(), bytes.end(), out);
}

/// One character that is not plain, from `in` on. Moves `in` behind it.
char* put_special(char* out, const char*& in, const char* end)
{
    const auto byte = static_cast<unsigned char>(*in);
    if (byte >= 0x80) {
        const std::size_t length = utf8_sequence_length(in, end);
        if (length == 0) {
            ++in;
            return put_bytes(out, replacement_character);
        }
        const std::string_view character(in, length);
        in += length;
        return put_bytes(out, character);
    }
    ++in;
    switch (byte) {
    case '"':
        return put_bytes(out, "\\\"");
    case '\\':
        return put_bytes(out, "\\\\");
    case '\b':
        return put_bytes(out, "\\b");
    case '\f':
        return put_bytes(out, "\\f");
    case '\n':
        return put_bytes(out, "\\n");
    case '\r':
        return put_bytes(out, "\\r");
    case '\t':
        return put_bytes(out, "\\t");
    default:
        out = put_bytes(out, "\\u00");
        *out++ = static_cast<char>('0' + (byte >> 4));
        *out++ = "0123456789ABCDEF"[byte & 0xf];
        return out;
    }
}

/// Writes the characters that begin before `limit`; the last one may reach to `end`.
char* put_escaped(char* out, const char*& in, const char* limit, const char* end)
{
    while (in < limit) {
        while (limit - in >= 8) {
            const std::uint64_t bytes = load_8_bytes(in);
            if (stops_plain_run(bytes) != 0) {
                break;
            }
            std::memcpy(out, &bytes, sizeof bytes);
            in += 8;
            out += 8;
        }
        while (in < limit && is_plain(*in)) {
            *out++ = *in++;
        }
        if (in < limit) {
            out = put_special(out, in, end);
        }
    }
    return out;
}

} // namespace

std::string valid_utf8(std::string_view text)
{
    std::string valid;
    const char* const end = text.data() + text.size();
    for (const char* at = text.data(); at != end;) {
        const std::size_t length = utf8_sequence_length(at, end);
        valid.append(length == 0 ? replacement_character : std::string_view(at, length));
        at += length == 0 ? 1 : length;
    }
    return valid;
}

void Text_Buffer::grow(std::size_t bytes)
{
    const std::size_t used = view().size();
    const std::size_t size = std::max(2 * static_cast<std::size_t>(end_ - begin_), used + bytes);
    std::unique_ptr<char[]> larger(new char[size]);
    std::memcpy(larger.get(), begin_, used);
    heap_ = std::move(larger);
    begin_ = heap_.get();
    next_ = begin_ + used;
    end_ = begin_ + size;
}

void Text_Buffer::put_real(double real)
{
    make_room(real_room);
    next_ = json_text::put_real(next_, real);
}

void Text_Buffer::put_string(std::string_view text)
{
    make_room(text.size() + 2);
    *next_++ = '"';
    if (copy_plain(next_, text.data(), text.size())) {
        next_ += text.size();
        *next_++ = '"';
        return;
    }
    const char* in = text.data();
    const char* const end = in + text.size();
    while (in < end) {
        const char* const limit = end - in > static_cast<std::ptrdiff_t>(string_chunk) ? in + string_chunk : end;
        make_room(static_cast<std::size_t>(limit - in) * longest_escape + 8);
        next_ = put_escaped(next_, in, limit, end);
    }
    put('"');
}

bool put_value(Text_Buffer& out, const json_spirit::Value& value, Form form)
{
    switch (value.type()) {
    case json_spirit::obj_type:
        return put_value(out, *value.if_obj(), form);
    case json_spirit::array_type:
        return put_value(out, *value.if_array(), form);
    case json_spirit::str_type:
        out.put_string(*value.if_str());
        return true;
    case json_spirit::secure_str_type:
        if (form == Form::FOR_SHOWING) {
            out.put(secret_mask);
        } else {
            out.put_string(*value.if_secure_str());
        }
        return true;
    case json_spirit::bool_type:
        out.put(*value.if_bool() ? "true" : "false");
        return true;
    case json_spirit::int_type:
        if (const std::int64_t* integer = value.if_int64()) {
            out.put_integer(*integer);
        } else {
            out.put_integer(*value.if_uint64());
        }
        return true;
    case json_spirit::real_type:
        if (std::isfinite(*value.if_real())) {
            out.put_real(*value.if_real());
            return true;
        }
        out.put("null");
        return form == Form::FOR_SHOWING;
    case json_spirit::null_type:
        out.put("null");
        return true;
    }
    return false;
}

bool put_value(Text_Buffer& out, const json_spirit::Object& object, Form form)
{
    char before = '{';
    for (const auto& [key, value] : object) {
        out.put(before);
        out.put_string(key);
        out.put(':');
        if (!put_value(out, value, form)) {
            return false;
        }
        before = ',';
    }
    out.put(before == '{' ? std::string_view("{}") : std::string_view("}"));
    return true;
}

bool put_value(Text_Buffer& out, const json_spirit::Array& array, Form form)
{
    char before = '[';
    for (const json_spirit::Value& value : array) {
        out.put(before);
        if (!put_value(out, value, form)) {
            return false;
        }
        before = ',';
    }
    out.put(before == '[' ? std::string_view("[]") : std::string_view("]"));
    return true;
}

} // namespace json_text
