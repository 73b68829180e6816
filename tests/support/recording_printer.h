// A printer that writes down what it is told, a call a line.
#pragma once

#include "platform/database/query_result_printer.h"
#include "platform/json/json_dump.h"

#include <string>

class Recording_Printer : public database::sql::Query_Result_Printer
{
public:
    /// `answers` is what each callback but the end of an array returns.
    explicit Recording_Printer(bool answers = true) : answers_(answers) {}

    /// `print_int 3 "size" 12`
    const std::string& text() const { return text_; }

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override
    {
        return note("print_cstr", index, key, quoted(std::string(value, length)));
    }
    bool print_int(int index, const char* key, ACE_INT64 value) override
    {
        return note("print_int", index, key, std::to_string(value));
    }
    bool print_uint(int index, const char* key, ACE_UINT64 value) override
    {
        return note("print_uint", index, key, std::to_string(value));
    }
    bool print_bool(int index, const char* key, bool value) override
    {
        return note("print_bool", index, key, value ? "true" : "false");
    }
    bool print_json(int index, const char* key, const json_spirit::Value& value) override
    {
        return note("print_json", index, key, JSON_Dump(value).str());
    }
    bool print_json_text(int index, const char* key, const char* text, std::size_t length) override
    {
        return note("print_json_text", index, key, std::string(text, length));
    }
    bool print_null(int index, const char* key) override { return note("print_null", index, key, "null"); }
    bool begin_row() override
    {
        text_ += "begin_row\n";
        return answers_;
    }
    bool end_row() override
    {
        text_ += "end_row\n";
        return answers_;
    }
    bool begin_array(int index, const char* key) override { return note("begin_array", index, key, ""); }
    bool end_array() override
    {
        text_ += "end_array\n";
        return true;
    }

private:
    static std::string quoted(const std::string& text) { return JSON_Dump(json_spirit::Value(text)).str(); }

    bool note(const char* call, int index, const char* key, const std::string& value)
    {
        text_ += std::string(call) + ' ' + std::to_string(index) + ' ' + (key == nullptr ? "null" : quoted(key))
                 + (value.empty() ? "" : " ") + value + '\n';
        return answers_;
    }

    std::string text_;
    bool answers_;
};
