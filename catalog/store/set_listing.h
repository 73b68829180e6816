// The statements behind a listing of sets, and the keys of its pages.
#pragma once

#include "catalog/store/catalog_store.h"
#include "platform/database/query_result_printer.h"
#include "platform/sql/select_sql.h"
#include "platform/text/uuid.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace catalog {

/// The key of the page behind a set: its start time, a slash and its uuid, "2024-05-01T22:00:00Z/0d5a…".
std::string page_key(const Set_Summary& last);

/// The columns that a listing shows.
class Summary_Printer : public database::sql::Query_Result_Token_Printer
{
public:
    explicit Summary_Printer(std::vector<Set_Summary>& sets) : sets_(sets) {}

    bool begin_row() override;
    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_int(int index, const char* key, ACE_INT64 value) override;

private:
    std::vector<Set_Summary>& sets_;
};

/// The select of a listing, for a `Summary_Printer`: at most `limit` rows, from the page key `after` on when there is one.
/// REFUSED when a filter or the key is not valid. Nothing at all can match where `sql` stays empty.
bool list_select(const Set_Filter& filter, std::size_t limit, std::string_view after, Select_SQL& sql, Error& error);

/// The select of the copies in a pool, newest set first.
Select_SQL copies_in_pool_select(const UUID_Bytes& pool, std::size_t limit);

/// The select of a set's copies, in the order of its document.
Select_SQL storages_select(const UUID_Bytes& set);

/// The copies that rows of the two selects above stand for.
class Copy_Printer : public database::sql::Query_Result_Token_Printer
{
public:
    explicit Copy_Printer(std::vector<Storage_Copy>& copies) : copies_(copies) {}

    bool begin_row() override;
    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_int(int index, const char* key, ACE_INT64 value) override;

private:
    std::vector<Storage_Copy>& copies_;
};

} // namespace catalog
