// A user of the installed package: a record that takes columns and writes its document, and rows of a database as JSON.

#include "backup_set/common/file_backup_set.h"
#include "platform/database/database_connection.h"
#include "platform/database/json_result_printer.h"
#include "platform/json/json_generator.h"
#include "platform/json/value.h"

#include <yajl/yajl_gen.h>

#include <cstring>
#include <iostream>
#include <memory>
#include <string>

namespace {

bool record_writes_what_it_took()
{
    File_Backup_Set set;
    set.uuid = "6ba7b810-9dad-11d1-80b4-00c04fd430c8";
    if (!set.print_cstr(0, "name", "nightly", std::strlen("nightly")) || !set.print_int(1, "size", 4096)) {
        return false;
    }
    json_spirit::Value document;
    if (!json_spirit::read(to_json(set), document)) {
        return false;
    }
    const json_spirit::Object& members = document.get_obj();
    return members.at("uuid").get_str() == set.uuid && members.at("name").get_str() == "nightly"
           && members.at("size").get_int64() == 4096;
}

bool rows_become_json()
{
    const std::unique_ptr<Database_Connection> connection = Database_Connection::open("sqlite::memory:");
    if (!connection
        || !connection->execute_script("CREATE TABLE t (a INTEGER, b TEXT);"
                                       "INSERT INTO t VALUES (1, 'one'), (2, 'two');"))
    {
        return false;
    }
    Select_SQL select;
    select.table("t").add_key("a", "number").add_key("b", "word").order_by("a");
    JSON_Text text;
    JSON_Result_Printer printer(text.get());
    yajl_gen_array_open(text.get());
    const bool printed = connection->query_and_print(select, printer, GM_ORM_ROWS);
    yajl_gen_array_close(text.get());
    return printed && text.view() == R"([{"number":1,"word":"one"},{"number":2,"word":"two"}])";
}

} // namespace

int main()
{
    const bool record = record_writes_what_it_took();
    const bool rows = rows_become_json();
    std::cout << "record: " << (record ? "as expected" : "WRONG") << "\nrows: " << (rows ? "as expected" : "WRONG")
              << '\n';
    return record && rows ? 0 : 1;
}
