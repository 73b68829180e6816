// From the rows of a query to records. A record is a printer (it takes its own columns) and is default-constructible.
#pragma once

#include "platform/database/database_connection.h"

#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace database::sql {

/// Lets a fresh `Record` take each row. `Place` says where the records stand: `make()` makes the next one and gives its
/// address, `finish()` comes when it has taken its row and returns false to stop.
template <class Record, class Place>
class Record_Printer final : public Query_Result_Printer
{
public:
    explicit Record_Printer(Place& place) : place_(place) {}

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override
    {
        return record_->Record::print_cstr(index, key, value, length);
    }
    bool print_int(int index, const char* key, ACE_INT64 value) override
    {
        return record_->Record::print_int(index, key, value);
    }
    bool print_uint(int index, const char* key, ACE_UINT64 value) override
    {
        return record_->Record::print_uint(index, key, value);
    }
    bool print_bool(int index, const char* key, bool value) override
    {
        return record_->Record::print_bool(index, key, value);
    }
    bool print_json(int index, const char* key, const json_spirit::Value& value) override
    {
        return record_->Record::print_json(index, key, value);
    }
    bool print_json_text(int index, const char* key, const char* text, std::size_t length) override
    {
        return record_->Record::print_json_text(index, key, text, length);
    }
    bool print_real(int index, const char* key, double value) override
    {
        return record_->Record::print_real(index, key, value);
    }
    // A NULL leaves the record's initial value.
    bool print_null(int, const char*) override { return true; }
    bool begin_array(int index, const char* key) override { return record_->Record::begin_array(index, key); }
    bool end_array() override { return record_->Record::end_array(); }

    // Rows of a nested array reach the record too; only those of the top level begin and end a record.
    bool begin_row() override
    {
        if (depth_++ == 0) {
            record_ = place_.make();
        }
        return true;
    }
    bool end_row() override { return --depth_ == 0 ? place_.finish() : true; }

private:
    Place& place_;
    Record* record_ = nullptr;
    int depth_ = 0;
};

/// One record at a time, handed to `take`.
template <class Record, class Take>
class Passing_Records
{
public:
    explicit Passing_Records(Take& take) : take_(take) {}

    Record* make() { return &record_.emplace(); }
    bool finish() { return take_(std::move(*record_)); }

private:
    Take& take_;
    std::optional<Record> record_;
};

/// All records, made where they stay.
template <class Record>
class Kept_Records
{
public:
    explicit Kept_Records(std::vector<Record>& records) : records_(records) {}

    Record* make() { return &records_.emplace_back(); }
    bool finish() { return true; }

private:
    std::vector<Record>& records_;
};

} // namespace database::sql

/// Calls `take(Record&&)` for each row, in order, holding one record at a time. `take` returns false to stop, which
/// counts as a failure. False on failure; the connection's `last_error` says why.
template <class Record, class Take>
bool for_each_record(Database_Connection& connection, const Select_SQL& sql, Take take,
                     database::sql::Query_Result_Handler* handler = nullptr)
{
    database::sql::Passing_Records<Record, Take> place(take);
    database::sql::Record_Printer<Record, decltype(place)> printer(place);
    return connection.query_and_print(sql, printer, GM_ORM_ROWS, handler);
}

/// All rows as records. On failure the result is empty and the connection's `last_error` says why.
template <class Record>
std::vector<Record> load_records(Database_Connection& connection, const Select_SQL& sql,
                                 database::sql::Query_Result_Handler* handler = nullptr)
{
    std::vector<Record> records;
    database::sql::Kept_Records<Record> place(records);
    database::sql::Record_Printer<Record, decltype(place)> printer(place);
    if (!connection.query_and_print(sql, printer, GM_ORM_ROWS, handler)) {
        records.clear();
    }
    return records;
}
