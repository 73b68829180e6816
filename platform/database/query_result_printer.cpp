#include "platform/database/query_result_printer.h"

#include "platform/text/log.h"

#include <utility>

namespace database::sql {

bool Query_Result_Printer::print_real(int index, const char* key, double value)
{
    return print_json(index, key, value);
}

bool Query_Result_Printer::print_json_text(int index, const char* key, const char* text, std::size_t length)
{
    json_spirit::Value value;
    std::string error;
    if (!json_spirit::read({text, length}, value, &error)) {
        return print_malformed_json(index, key, text, length, error);
    }
    return print_json(index, key, value);
}

bool Query_Result_Printer::print_malformed_json(int index, const char* key, const char* text, std::size_t length,
                                                const std::string& error)
{
    log_at(LM_ERROR, "Column '%C' does not hold valid JSON: %C.\n", key, error.c_str());
    return print_cstr(index, key, text, length);
}

bool Query_Result_Printer::begin_row()
{
    return true;
}

bool Query_Result_Printer::end_row()
{
    return true;
}

Printer_Array_Guard::Printer_Array_Guard(Query_Result_Printer& printer, int index, const char* key) :
    printer_(printer), open_(printer.begin_array(index, key))
{}

Printer_Array_Guard::~Printer_Array_Guard()
{
    if (open_) {
        printer_.end_array();
    }
}

bool Query_Result_Token_Printer::print_cstr(int, const char*, const char*, std::size_t)
{
    return true;
}

bool Query_Result_Token_Printer::print_int(int, const char*, ACE_INT64)
{
    return true;
}

bool Query_Result_Token_Printer::print_uint(int, const char*, ACE_UINT64)
{
    return true;
}

bool Query_Result_Token_Printer::print_bool(int, const char*, bool)
{
    return true;
}

bool Query_Result_Token_Printer::print_json(int, const char*, const json_spirit::Value&)
{
    return true;
}

bool Query_Result_Token_Printer::print_null(int, const char*)
{
    return true;
}

bool Query_Result_Token_Printer::print_json_text(int index, const char* key, const char* text, std::size_t length)
{
    class Scope
    {
    public:
        Scope(json_spirit::Value*& own, json_spirit::Value& value) : own_(own), outer_(std::exchange(own, &value)) {}
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;
        ~Scope() { own_ = outer_; }

    private:
        json_spirit::Value*& own_;
        json_spirit::Value* outer_;
    };

    json_spirit::Value value;
    std::string error;
    if (!json_spirit::read({text, length}, value, &error)) {
        return print_malformed_json(index, key, text, length, error);
    }
    const Scope scope(own_json_.value, value);
    return print_json(index, key, value);
}

bool Query_Result_Token_Printer::begin_array(int, const char* key)
{
    tokens_.emplace_back(key != nullptr ? key : "");
    return true;
}

bool Query_Result_Token_Printer::end_array()
{
    if (tokens_.empty()) {
        return false;
    }
    tokens_.pop_back();
    return true;
}

const std::string& Query_Result_Token_Printer::token() const
{
    static const std::string none;
    return tokens_.empty() ? none : tokens_.back();
}

} // namespace database::sql
