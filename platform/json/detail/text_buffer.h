// A growing piece of JSON text that begins on the stack.
#pragma once

#include "platform/json/detail/number.h"
#include "platform/json/detail/utf8.h"
#include "platform/json/value.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace json_text {

class Text_Buffer
{
public:
    Text_Buffer() : begin_(room_), next_(room_), end_(room_ + sizeof room_) {}
    Text_Buffer(const Text_Buffer&) = delete;
    Text_Buffer& operator=(const Text_Buffer&) = delete;

    std::string_view view() const { return {begin_, static_cast<std::size_t>(next_ - begin_)}; }

    void put(char c)
    {
        make_room(1);
        *next_++ = c;
    }

    void put(std::string_view text)
    {
        make_room(text.size());
        std::memcpy(next_, text.data(), text.size());
        next_ += text.size();
    }

    template <class T>
    void put_integer(T integer)
    {
        char digits[integer_room];
        char* const end = digits + sizeof digits;
        const char* const begin = put_integer_before(end, integer);
        put(std::string_view(begin, static_cast<std::size_t>(end - begin)));
    }
    void put_real(double real);

    /// A JSON string with its quotes. A byte that is not part of valid UTF-8 becomes U+FFFD.
    void put_string(std::string_view text);

private:
    void make_room(std::size_t bytes)
    {
        if (static_cast<std::size_t>(end_ - next_) < bytes) {
            grow(bytes);
        }
    }

    void grow(std::size_t bytes);

    char room_[1024];
    std::unique_ptr<char[]> heap_;
    char* begin_;
    char* next_;
    char* end_;
};

/// The same text with U+FFFD for every byte that is not part of valid UTF-8.
std::string valid_utf8(std::string_view text);

/// How values are written that JSON cannot or should not show.
enum class Form
{
    FOR_SENDING, ///< secrets in clear; a real that is not finite makes the writing fail
    FOR_SHOWING  ///< secrets as a fixed mask; a real that is not finite as null
};

/// False when `value` holds a real that is not finite (in the form FOR_SENDING); the text is void then.
bool put_value(Text_Buffer& out, const json_spirit::Value& value, Form form);
bool put_value(Text_Buffer& out, const json_spirit::Object& object, Form form);
bool put_value(Text_Buffer& out, const json_spirit::Array& array, Form form);

} // namespace json_text
