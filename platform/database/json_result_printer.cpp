#include "platform/database/json_result_printer.h"

#include "platform/json/document.h"
#include "platform/json/yajl_gen.h"
#include "platform/text/log.h"

#include <yajl/yajl_gen.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>

namespace {

template <class Integer>
bool write_number(yajl_gen_t* gen, Integer number)
{
    char text[24];
    const char* const end = std::to_chars(text, text + sizeof text, number).ptr;
    return yajl_gen_raw(gen, {text, static_cast<std::size_t>(end - text)});
}

bool needs_no_escape(char c)
{
    return c >= ' ' && c < '\x7f' && c != '"' && c != '\\' && c != '/';
}

} // namespace

JSON_Result_Printer::JSON_Result_Printer(yajl_gen_t* gen) : gen_(gen) {}

void JSON_Result_Printer::key(const char* key)
{
    if (!in_row_.empty() && in_row_.back()) {
        const std::string_view text(key);
        YAJL_Gen(gen_) << YAJL_Gen::Str(key, text.size(), std::ranges::all_of(text, needs_no_escape));
    }
}

bool JSON_Result_Printer::print_cstr(int, const char* key, const char* value, std::size_t length)
{
    this->key(key);
    YAJL_Gen(gen_) << std::string_view(value, length);
    return true;
}

bool JSON_Result_Printer::print_int(int, const char* key, ACE_INT64 value)
{
    this->key(key);
    return write_number(gen_, value);
}

bool JSON_Result_Printer::print_uint(int, const char* key, ACE_UINT64 value)
{
    this->key(key);
    return write_number(gen_, value);
}

bool JSON_Result_Printer::print_bool(int, const char* key, bool value)
{
    this->key(key);
    return yajl_gen_raw(gen_, value ? "true" : "false");
}

bool JSON_Result_Printer::print_json(int, const char* key, const json_spirit::Value& value)
{
    this->key(key);
    return yajl_gen_value(gen_, value);
}

bool JSON_Result_Printer::print_json_text(int, const char* key, const char* text, std::size_t length)
{
    this->key(key);
    std::string error;
    if (json_document::validate({text, length}, &error)) {
        return yajl_gen_raw(gen_, {text, length});
    }
    if (!invalid_json_logged_) {
        invalid_json_logged_ = true;
        log_at(LM_ERROR, "Column '%C' does not hold valid JSON and is written as a string: %C.\n", key, error.c_str());
    }
    YAJL_Gen(gen_) << std::string_view(text, length);
    return true;
}

bool JSON_Result_Printer::print_real(int, const char* key, double value)
{
    this->key(key);
    return std::isfinite(value) ? yajl_gen_value(gen_, value) : yajl_gen_null(gen_) == yajl_gen_status_ok;
}

bool JSON_Result_Printer::print_null(int, const char* key)
{
    this->key(key);
    return yajl_gen_null(gen_) == yajl_gen_status_ok;
}

bool JSON_Result_Printer::begin_row()
{
    if (yajl_gen_map_open(gen_) != yajl_gen_status_ok) {
        return false;
    }
    in_row_.push_back(true);
    return true;
}

bool JSON_Result_Printer::end_row()
{
    in_row_.pop_back();
    return yajl_gen_map_close(gen_) == yajl_gen_status_ok;
}

bool JSON_Result_Printer::begin_array(int, const char* key)
{
    this->key(key);
    if (yajl_gen_array_open(gen_) != yajl_gen_status_ok) {
        return false;
    }
    in_row_.push_back(false);
    return true;
}

bool JSON_Result_Printer::end_array()
{
    in_row_.pop_back();
    return yajl_gen_array_close(gen_) == yajl_gen_status_ok;
}
