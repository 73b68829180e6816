// What a test says of one record class: a filled record, its texts, the columns it takes and the tables it comes from.
//
// A class is described once, in tests/support/records/<its file>.h, by a struct that derives from `Set_Description`. The
// tests of record_test.h run over the descriptions one by one (tests/backup_set/common/<its file>_test.cpp), and those of
// the catalog run over all of them with the catalog's own tables. A description holds, as static members,
//
//     stem             the name of the class's source file
//     module           what a record writes as "catalog_module"
//     select(sql)      calls the class's `init_select_sql`
//     selected()       the whole statement as standard SQL (see `common_columns`)
//     fresh            the typed members of a fresh record's document, each led by a comma: `,"seq":0,"channels":0`
//     fill(record)     gives each typed member a value of its own
//     filled           the typed members of such a record's document
//     intake()         the callbacks that the class overrides, with the columns that each takes
//     tables()         its own tables, with the columns of its select
//     forget(record)   clears the typed members that a filled record does not get back from its columns
//
// and overrides what else differs from the defaults below.
#pragma once

#include "backup_set/common/backup_set.h"
#include "platform/sql/select_sql.h"
#include "tests/support/json_members.h"
#include "tests/support/test_engine.h"

#include <concepts>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace record_test {

/// The callbacks that hand over a column.
enum Callback
{
    PRINT_CSTR,
    PRINT_INT,
    PRINT_JSON,
    PRINT_UINT,
    PRINT_BOOL
};

inline constexpr Callback callbacks[] = {PRINT_CSTR, PRINT_INT, PRINT_JSON, PRINT_UINT, PRINT_BOOL};

inline const char* callback_name(Callback callback)
{
    static constexpr const char* names[] = {"print_cstr", "print_int", "print_json", "print_uint", "print_bool"};
    return names[callback];
}

/// What a column is stored in. It decides what is tried on the column and what the document then shows.
enum Member
{
    STRING,   ///< the bytes with their length
    C_STRING, ///< the bytes before the first NUL, whatever the length
    POSIX_TIME,
    INT_64,
    UINT_64,
    INT_32,
    UINT_32,
    BOOL,
    OBJECT,
    ARRAY,
    TEXTS ///< an array that holds nothing but texts
};

/// Where a callback hands a column on that is not its own.
enum Fall_Back
{
    TO_BASE,         ///< the same callback of Backup_Set
    TO_BASE_INTEGER, ///< Backup_Set::print_int
    TO_NOTHING       ///< the column is dropped
};

struct Columns
{
    Member member;
    std::vector<std::string> keys;
};

/// One overridden callback.
struct Intake
{
    Callback callback;
    Fall_Back fall_back;
    std::vector<Columns> own;
};

/// What a callback does with a key that is null or empty.
struct Bad_Key
{
    bool result;
    bool logs;
};

/// A column of a table. Its value is what the filled document holds under the column's name, or else `value` (as JSON).
struct Column
{
    const char* name;
    Kind kind;
    const char* value = nullptr;
};

struct Table
{
    const char* name;
    std::vector<Column> columns;
};

/// The columns of "backup_set".
inline Table common_table()
{
    using enum Kind;
    return {"backup_set",
            {{"uuid", UUID},
             {"name", TEXT},
             {"job_instance_uuid", UUID},
             {"definition_uuid", UUID},
             {"uid", UUID},
             {"host_uuid", UUID},
             {"resource_uuid", UUID},
             {"minor_resource_id", TEXT},
             {"minor_resource_name", TEXT},
             {"agent", TEXT},
             {"incarnation", UUID},
             {"type", TEXT},
             {"first_time", TIME},
             {"last_time", TIME},
             {"backup_start_time", TIME},
             {"backup_end_time", TIME},
             {"source_size", INTEGER},
             {"size", INTEGER},
             {"uri", TEXT},
             {"host", TEXT},
             {"instance", TEXT},
             {"instance_version", TEXT},
             {"first_scn", INTEGER},
             {"last_scn", INTEGER},
             {"resource_tree", JSON},
             {"extended_attrs", JSON},
             {"uname", JSON},
             {"lsb", JSON}}};
}

/// How a select begins that holds the common columns under `alias`.
inline std::string common_columns(const std::string& alias)
{
    std::string text;
    for (const Column& column : common_table().columns) {
        const std::string name = '"' + std::string(column.name) + '"';
        text += (text.empty() ? "SELECT \"" : ", \"") + alias + "\"." + name + " AS " + name;
    }
    return text;
}

/// The columns that the common record takes.
inline std::vector<Intake> common_intake()
{
    return {
        {PRINT_CSTR,
         TO_NOTHING,
         {{STRING,
           {"uuid", "name", "definition_uuid", "job_instance_uuid", "uid", "host_uuid", "agent", "resource_uuid",
            "minor_resource_id", "minor_resource_name", "incarnation", "type", "uri", "host", "instance",
            "instance_version"}},
          {POSIX_TIME, {"first_time", "last_time", "backup_start_time", "backup_end_time"}}}},
        {PRINT_INT, TO_NOTHING, {{INT_64, {"source_size", "size", "first_scn", "last_scn"}}}},
        {PRINT_JSON, TO_NOTHING, {{OBJECT, {"extended_attrs", "resource_tree", "uname", "lsb"}}}},
    };
}

inline const char* const filled_set_uuid = "0a000000-0000-4000-8000-000000000001";

/// Gives each common member a value of its own.
inline void fill_common(Backup_Set& set)
{
    set.uuid = filled_set_uuid;
    set.name = "Sets of \xcf\x80 \"nightly\"";
    set.activity_uuid = "0a000000-0000-4000-8000-000000000002";
    set.def_uuid = "0a000000-0000-4000-8000-000000000003";
    set.uid = "0a000000-0000-4000-8000-000000000004";
    set.host_uuid = "0a000000-0000-4000-8000-000000000005";
    set.resource_uuid = "0a000000-0000-4000-8000-000000000006";
    set.minor_resource_id = "minor id";
    set.minor_resource_name = "minor name";
    set.agent = "agent word";
    set.incarnation = "0a000000-0000-4000-8000-000000000007";
    set.type = "full";
    set.first_time = 1704067201;
    set.last_time = 1704153602;
    set.backup_start_time = 1704240003;
    set.backup_end_time = 1704326404;
    set.source_size = 1000000000001;
    set.size = 1000000000002;
    set.uri = "smb:server";
    set.host = "host name";
    set.instance = "instance name";
    set.instance_version = "1.2.3";
    set.first_scn = 1000000000003;
    set.last_scn = 1000000000004;
    set.resource_tree = {{"tree", json_spirit::Array{1, 2}}};
    set.extended_attrs = {{"attrs", true}};
    set.parents = {"0a000000-0000-4000-8000-000000000008", "0a000000-0000-4000-8000-000000000009"};
    set.add_storage("0a000000-0000-4000-8000-00000000000a", 11);
    set.add_storage("0a000000-0000-4000-8000-00000000000b", 12, {{"copy", 2}});
    set.storages.back().state.value = 17;
    set.storages.back().upstream_pool_uuid = "0a000000-0000-4000-8000-00000000000a";
    set.add_piece("first path", 21);
    set.pieces.back().object = "first object";
    set.pieces.back().extended_attrs = {{"piece", 1}};
    set.add_directory_piece("second path", 22);
    set.uname = {{"sysname", "Linux"}};
    set.lsb = {{"id", "Debian"}};
}

/// The document of such a record, up to its typed members.
inline std::string filled_common(const std::string& module, const std::string& agent = "agent word")
{
    return R"({"catalog_module":)" + json_quoted(module)
           + R"(,"uuid":"0a000000-0000-4000-8000-000000000001","name":"Sets of )" + "\xcf\x80"
           + R"( \"nightly\"",)"
             R"("job_instance_uuid":"0a000000-0000-4000-8000-000000000002",)"
             R"("definition_uuid":"0a000000-0000-4000-8000-000000000003",)"
             R"("uid":"0a000000-0000-4000-8000-000000000004","host_uuid":"0a000000-0000-4000-8000-000000000005",)"
             R"("resource_uuid":"0a000000-0000-4000-8000-000000000006","minor_resource_id":"minor id",)"
             R"("minor_resource_name":"minor name","agent":)"
           + json_quoted(agent)
           + R"(,"incarnation":"0a000000-0000-4000-8000-000000000007","type":"full",)"
             R"("backup_start_time":"2024-01-03 00:00:03","uri":"smb:server","host":"host name",)"
             R"("instance":"instance name","instance_version":"1.2.3","first_scn":1000000000003,)"
             R"("last_scn":1000000000004,"first_time":"2024-01-01 00:00:01","last_time":"2024-01-02 00:00:02",)"
             R"("backup_end_time":"2024-01-04 00:00:04","size":1000000000002,"source_size":1000000000001,)"
             R"("resource_tree":{"tree":[1,2]},"extended_attrs":{"attrs":true},)"
             R"("parents":["0a000000-0000-4000-8000-000000000008","0a000000-0000-4000-8000-000000000009"],)"
             R"("storages":[{"pool_uuid":"0a000000-0000-4000-8000-00000000000a","size":11,"state":[],)"
             R"("extended_attrs":{}},{"pool_uuid":"0a000000-0000-4000-8000-00000000000b","size":12,)"
             R"("state":["online","replicated"],"upstream_pool_uuid":"0a000000-0000-4000-8000-00000000000a",)"
             R"("extended_attrs":{"copy":2}}],)"
             R"("pieces":[{"path":"first path","object":"first object","size":21,"extended_attrs":{"piece":1}},)"
             R"({"path":"second path","object":"dir","size":22,"extended_attrs":{}}],)"
             R"("lsb":{"id":"Debian"},"uname":{"sysname":"Linux"})";
}

/// The document of a fresh record, up to its typed members.
inline std::string fresh_common(const std::string& module)
{
    return R"({"catalog_module":)" + json_quoted(module)
           + R"(,"uuid":"","name":"","job_instance_uuid":"","definition_uuid":"","uid":"","host_uuid":"",)"
             R"("resource_uuid":"","minor_resource_id":"","minor_resource_name":"","agent":"","incarnation":"",)"
             R"("type":"","backup_start_time":"1970-01-01 00:00:00","uri":"","host":"","instance":"",)"
             R"("instance_version":"","first_scn":0,"last_scn":0,"size":0,"source_size":0,"resource_tree":{},)"
             R"("extended_attrs":{},"pieces":[],"lsb":{},"uname":{})";
}

/// What holds for most records, and for all three kinds of them: sets, pieces, storages.
template <class Of>
struct Record_Description
{
    using Record = Of;

    static Record make() { return Record(); }
    static database::sql::Query_Result_Handler* handler() { return Record::result_handler(); }
    static std::vector<Intake> intake() { return {}; }
    static std::vector<Table> tables() { return {}; }
    static void forget(Record&) {}

    /// Typed members that the document does not show, led by a comma, as JSON members.
    static std::string unwritten(const Record&) { return {}; }

    /// The document's members that show what a column holds.
    static std::vector<std::string> shown_under(const std::string& column) { return {column}; }

    /// Members that the document leaves out while they are empty or 0.
    static std::set<std::string> left_out_when_empty() { return {}; }

    static Bad_Key on_bad_key(Callback) { return {false, true}; }

    /// Columns that are taken in a way of their own, which tests beside these look at.
    static std::set<std::pair<Callback, std::string>> taken_apart() { return {}; }

    /// The statement in a dialect where it differs from `selected()`, else nothing.
    static std::string selected_otherwise(SQL_Dialect) { return {}; }
};

/// What holds for most sets.
template <class Self, class Of>
struct Set_Description : Record_Description<Of>
{
    /// Whether the select holds the columns of "backup_set".
    static constexpr bool selects_common = true;

    /// The agent of a filled record. Where the module is empty it says the type.
    static constexpr const char* agent = "agent word";

    static std::string fresh_document() { return fresh_common(Self::module) + Self::fresh + '}'; }
    static std::string filled_document() { return filled_common(Self::module, Self::agent) + Self::filled + '}'; }

    static void fill_all(Of& record)
    {
        fill_common(record);
        record.agent = Self::agent;
        Self::fill(record);
    }

    /// What a filled record is after its row was stored and loaded.
    static Of loaded()
    {
        Of record = Self::make();
        if (Self::selects_common) { // a select of the type's table alone finds no column that the records take
            fill_all(record);
            Backup_Set& common = record; // a type may have members that hide these
            common.parents.clear();
            common.storages.clear();
            common.pieces.clear();
            Self::forget(record);
        }
        return record;
    }

    /// What a fresh record is after a row of NULLs was loaded that has nothing but the set's uuid.
    static Of loaded_null()
    {
        Of record = Self::make();
        if (Self::selects_common) {
            record.uuid = filled_set_uuid;
        }
        return record;
    }
};

/// One column that a callback takes, by the class or by its base.
struct Taken
{
    Callback callback;
    std::string key;
    Member member;

    friend auto operator<=>(const Taken&, const Taken&) = default;
};

/// All columns that records of a class take.
template <class Description>
std::set<Taken> taken_columns()
{
    std::set<Taken> taken;
    const auto add = [&taken](Callback callback, const std::vector<Columns>& columns) {
        for (const Columns& of_one_kind : columns) {
            for (const std::string& key : of_one_kind.keys) {
                taken.insert({callback, key, of_one_kind.member});
            }
        }
    };
    const auto add_common = [&add](Callback callback, Callback of_base) {
        for (const Intake& common : common_intake()) {
            if (common.callback == of_base) {
                add(callback, common.own);
            }
        }
    };
    std::set<Callback> inherited(std::begin(callbacks), std::end(callbacks));
    for (const Intake& intake : Description::intake()) {
        inherited.erase(intake.callback);
        add(intake.callback, intake.own);
        if (intake.fall_back == TO_BASE) {
            add_common(intake.callback, intake.callback);
        } else if (intake.fall_back == TO_BASE_INTEGER) {
            add_common(intake.callback, PRINT_INT);
        }
    }
    if constexpr (std::derived_from<typename Description::Record, Backup_Set>) {
        for (const Callback callback : inherited) {
            add_common(callback, callback);
        }
    }
    return taken;
}

/// A record with a value of its own in each member.
template <class Description>
typename Description::Record filled_record()
{
    typename Description::Record record = Description::make();
    Description::fill_all(record);
    return record;
}

/// A description together with an engine, for tests that run on each engine.
template <class Description, SQL_Dialect dialect_of_engine>
struct On_Engine
{
    using Set = Description;
    static constexpr SQL_Dialect dialect = dialect_of_engine;
};

template <class Description>
using On_Engines =
    ::testing::Types<On_Engine<Description, SQL_Dialect::SQLITE>, On_Engine<Description, SQL_Dialect::POSTGRESQL>>;

/// Names such tests by their engines.
struct Engine_Names
{
    template <class On>
    static std::string GetName(int)
    {
        return engine_name(On::dialect);
    }
};

} // namespace record_test
