#include "platform/json/json_generator.h"

#include "platform/json/detail/pretty.h"

#include <yajl/yajl_gen.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace {

/// A copy for pieces as yajl makes them: quotes, commas, colons, names, short values.
void copy_piece(char* out, const char* piece, std::size_t length)
{
    if (length == 1) {
        *out = *piece;
    } else if (length >= 8 && length <= 16) {
        char first[8];
        char last[8]; // may overlap the first
        std::memcpy(first, piece, sizeof first);
        std::memcpy(last, piece + length - sizeof last, sizeof last);
        std::memcpy(out, first, sizeof first);
        std::memcpy(out + length - sizeof last, last, sizeof last);
    } else {
        std::memcpy(out, piece, length);
    }
}

} // namespace

JSON_Text::JSON_Text(Style style) :
    pretty_(style == PRETTY ? std::make_unique<json_text::Pretty_Writer>() : nullptr), gen_(yajl_gen_alloc(nullptr))
{
    if (gen_ == nullptr) {
        throw std::bad_alloc();
    }
    yajl_gen_config(gen_, yajl_gen_print_callback, pretty_ ? &JSON_Text::print_pretty : &JSON_Text::print, this);
}

JSON_Text::~JSON_Text()
{
    yajl_gen_free(gen_);
}

inline void JSON_Text::append(const char* piece, std::size_t length)
{
    if (static_cast<std::size_t>(end_ - next_) < length) {
        grow(length);
    }
    copy_piece(next_, piece, length);
    next_ += length;
}

void JSON_Text::print(void* self, const char* piece, std::size_t length)
{
    static_cast<JSON_Text*>(self)->append(piece, length);
}

void JSON_Text::print_pretty(void* self, const char* piece, std::size_t length)
{
    auto* const text = static_cast<JSON_Text*>(self);
    std::string laid_out;
    text->pretty_->append(laid_out, {piece, length});
    text->append(laid_out.data(), laid_out.size());
}

void JSON_Text::grow(std::size_t length)
{
    constexpr std::size_t smallest = 2048;
    const std::size_t used = view().size();
    room_.resize(std::max({smallest, 2 * room_.size(), used + length}));
    next_ = room_.data() + used;
    end_ = room_.data() + room_.size();
}

std::string JSON_Text::take()
{
    room_.resize(view().size());
    std::string text = std::move(room_);
    room_.clear();
    end_ = room_.data();
    clear();
    return text;
}

void JSON_Text::clear()
{
    next_ = room_.data();
    yajl_gen_reset(gen_, nullptr);
    if (pretty_) {
        *pretty_ = {};
    }
}

std::string to_json(JSON_Generator& object)
{
    JSON_Text text;
    return object.generate(text.get()) ? text.take() : std::string();
}
