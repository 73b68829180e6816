// The statements behind a listing of sets, the keys of its pages, and its rows as JSON.
#pragma once

#include "catalog/store/catalog_store.h"
#include "platform/database/query_result_printer.h"
#include "platform/json/yajl_gen.h"
#include "platform/sql/select_sql.h"
#include "platform/text/uuid.h"

#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace catalog {

/// The key of the page behind a set: its start time, a slash and its uuid, "2024-05-01T22:00:00Z/0d5a…".
std::string page_key(const Set_Summary& last);
std::string page_key(std::time_t start_time, const std::string& uuid);

/// What such a key says.
struct Page_Key
{
    std::string start_time; ///< as the database has it
    UUID_Bytes uuid;
};

/// Reads a key that `page_key` has made; nothing else is one.
std::optional<Page_Key> read_page_key(std::string_view text);

/// Writes a set as listings show it: an object; times as "YYYY-MM-DD HH:MM:SS", null where there is none.
void write_summary(const YAJL_Gen& gen, const Set_Summary& set);

/// The same without the braces, for those who have more to say of it.
void write_summary_members(const YAJL_Gen& gen, const Set_Summary& set);

/// Adds the columns that a `Summary_Printer` takes, of "backup_set" under an alias.
void add_summary_columns(Select_SQL& sql, const std::string& alias);

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
