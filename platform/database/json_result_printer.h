// Rows straight to JSON: each row an object, each column a member, nested arrays as arrays.
#pragma once

#include "platform/database/query_result_printer.h"
#include "platform/export.h"

#include <vector>

struct yajl_gen_t;

/// Writes to a yajl generator that it does not own. Stored JSON passes through unparsed; what is not valid JSON is written
/// as a string, which is logged once. NULL and reals that are not finite become null. The caller opens and closes what surrounds the rows.
/// After a failed query what was written ends inside a row: it is of no use.
class BACKUP_PLATFORM_EXPORT JSON_Result_Printer : public database::sql::Query_Result_Printer
{
public:
    explicit JSON_Result_Printer(yajl_gen_t* gen);

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_int(int index, const char* key, ACE_INT64 value) override;
    bool print_uint(int index, const char* key, ACE_UINT64 value) override;
    bool print_bool(int index, const char* key, bool value) override;
    bool print_json(int index, const char* key, const json_spirit::Value& value) override;
    bool print_json_text(int index, const char* key, const char* text, std::size_t length) override;
    bool print_real(int index, const char* key, double value) override;
    bool print_null(int index, const char* key) override;
    bool begin_row() override;
    bool end_row() override;
    bool begin_array(int index, const char* key) override;
    bool end_array() override;

private:
    /// Writes the key of a value, where values have keys.
    void key(const char* key);

    yajl_gen_t* gen_;
    /// Innermost last: inside a row values have keys, directly inside an array they have none.
    std::vector<bool> in_row_;
    bool invalid_json_logged_ = false;
};
