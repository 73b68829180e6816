#include "platform/json/json_generator.h"

#include "platform/json/detail/pretty.h"

#include <yajl/yajl_gen.h>

#include <new>

JSON_Text::JSON_Text(Style style) : gen_(yajl_gen_alloc(nullptr))
{
    if (gen_ == nullptr) {
        throw std::bad_alloc();
    }
    if (style == PRETTY) {
        pretty_ = std::make_unique<json_text::Pretty_Writer>();
    }
    yajl_gen_config(gen_, yajl_gen_print_callback, &JSON_Text::print, this);
}

JSON_Text::~JSON_Text()
{
    yajl_gen_free(gen_);
}

void JSON_Text::print(void* self, const char* piece, std::size_t length)
{
    auto* const text = static_cast<JSON_Text*>(self);
    if (text->pretty_) {
        text->pretty_->append(text->text_, {piece, length});
    } else {
        text->text_.append(piece, length);
    }
}

std::string JSON_Text::take()
{
    std::string text = std::move(text_);
    clear();
    return text;
}

void JSON_Text::clear()
{
    text_.clear();
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
