#include "catalog/schema/set_type.h"

#include "backup_set/common/cachedb_backup_set.h"
#include "backup_set/common/cloudos_backup_set.h"
#include "backup_set/common/db2_backup_set.h"
#include "backup_set/common/dmdb_backup_set.h"
#include "backup_set/common/dmdb_log_backup_set.h"
#include "backup_set/common/dmdb_logical_backup_set.h"
#include "backup_set/common/domino_backup_set.h"
#include "backup_set/common/exchange_backup_set.h"
#include "backup_set/common/file_backup_set.h"
#include "backup_set/common/fusioncloud_backup_set.h"
#include "backup_set/common/fusioncompute_backup_set.h"
#include "backup_set/common/gaussdb_backup_set.h"
#include "backup_set/common/h3c_cas_backup_set.h"
#include "backup_set/common/hana_backup_set.h"
#include "backup_set/common/hive_backup_set.h"
#include "backup_set/common/hyperv_backup_set.h"
#include "backup_set/common/ics_backup_set.h"
#include "backup_set/common/informix_backup_set.h"
#include "backup_set/common/k8s_backup_set.h"
#include "backup_set/common/kingbase_backup_set.h"
#include "backup_set/common/mongodb_backup_set.h"
#include "backup_set/common/mssql_backup_set.h"
#include "backup_set/common/mysql_backup_set.h"
#include "backup_set/common/ndmp_backup_set.h"
#include "backup_set/common/oceanbase_backup_set.h"
#include "backup_set/common/openstack_backup_set.h"
#include "backup_set/common/oracle_arch_backup_set.h"
#include "backup_set/common/oracle_backup_set.h"
#include "backup_set/common/oracle_exp_backup_set.h"
#include "backup_set/common/oscar_backup_set.h"
#include "backup_set/common/oscar_brcmd_backup_set.h"
#include "backup_set/common/postgres_backup_set.h"
#include "backup_set/common/sharepoint_backup_set.h"
#include "backup_set/common/sybase_backup_set.h"
#include "backup_set/common/vmware_backup_set.h"
#include "backup_set/common/windows_bmr_backup_set.h"
#include "platform/database/load_records.h"

#include <algorithm>
#include <array>
#include <utility>

namespace catalog {
namespace {

using Names = std::span<const char* const>;
using database::sql::Query_Result_Handler;

/// The aliases that a select takes, and under which of them it reads "backup_set".
template <std::size_t Base, const char*... Alias>
struct Aliases
{
    static constexpr std::array<const char*, sizeof...(Alias)> defaults{Alias...};
    static constexpr bool unrelated = false;
    static const char* base(Names given) { return given[Base]; }
};

constexpr char alias_b[] = "b";
constexpr char alias_f[] = "f";
constexpr char alias_o[] = "o";
constexpr char alias_p[] = "p";
constexpr char alias_ph[] = "ph";
constexpr char alias_t[] = "t";

using Base_Alias = Aliases<0, alias_b>;
using Postgres_Aliases = Aliases<2, alias_p, alias_ph, alias_b>;
using OpenStack_Aliases = Aliases<1, alias_o, alias_b>;

/// A select that reads the type's own table alone.
struct Own_Alias : Aliases<0, alias_t>
{
    static const char* base(Names) { return nullptr; }
};

/// A select that adds nothing.
struct No_Select : Base_Alias
{
    static const char* base(Names) { return nullptr; }
};

/// A select that reads "backup_set" under a fixed alias, and beside it the type's own table.
struct FusionCloud_Aliases : Aliases<0, alias_f>
{
    static constexpr bool unrelated = true;
    static const char* base(Names) { return alias_b; }
};

template <class Class, std::size_t... I>
void add_select(Select_SQL& sql, Names given, std::index_sequence<I...>)
{
    if constexpr (requires { Class::init_select_sql(sql, given[I]...); }) {
        Class::init_select_sql(sql, given[I]...);
    } else {
        Class().init_select_sql(sql, given[I]...); // a member of the object, in some classes
    }
}

template <class Class>
bool load(Database_Connection& connection, const Select_SQL& sql, const std::function<bool(Backup_Set&)>& take,
          Query_Result_Handler* handler)
{
    return for_each_record<Class>(
        connection, sql, [&take](Class&& record) { return take(record); }, handler);
}

/// The entry of a type. Most take one alias, that of "backup_set".
template <class Class, class With = Base_Alias>
Set_Type entry(const char* id, const char* class_name, Names tables, const char* remark = "",
               std::span<const Repeated_Key> repeated_keys = {})
{
    return {
        .id = id,
        .class_name = class_name,
        .catalog_module = Class().catalog_module,
        .tables = tables,
        .aliases = With::defaults,
        .repeated_keys = repeated_keys,
        .remark = remark,
        .init_select =
            [](Select_SQL& sql, Names given) {
                add_select<Class>(sql, given, std::make_index_sequence<With::defaults.size()>());
            },
        .base_alias = With::base,
        .unrelated = With::unrelated,
        .make = []() -> std::unique_ptr<Backup_Set> { return std::make_unique<Class>(); },
        .load = load<Class>,
        .handler = []() -> Query_Result_Handler* { return Class::result_handler(); },
    };
}

constexpr const char* oracle_tables[] = {"oracle_backup_set"};
constexpr const char* oracle_arch_tables[] = {"oracle_arch_backup_set"};
constexpr const char* oracle_exp_tables[] = {"oracle_exp_backup_set"};
constexpr const char* dmdb_tables[] = {"dmdb_backup_set"};
constexpr const char* dmdb_log_tables[] = {"dmdb_log_backup_set"};
constexpr const char* dmdb_logical_tables[] = {"dmdb_logical_backup_set"};
constexpr const char* postgres_tables[] = {"postgres_backup_set", "postgres_physical_set"};
constexpr const char* hive_tables[] = {"hive_backup_set"};
constexpr const char* hana_tables[] = {"hana_backup_set"};
constexpr const char* db2_tables[] = {"db2_backup_set"};
constexpr const char* gaussdb_tables[] = {"gaussdb_backup_set"};
constexpr const char* mongodb_tables[] = {"mongodb_backup_set"};
constexpr const char* domino_tables[] = {"domino_backup_set"};
constexpr const char* oscar_tables[] = {"oscar_backup_set"};
constexpr const char* oscar_brcmd_tables[] = {"oscar_brcmd_backup_set"};
constexpr const char* kingbase_tables[] = {"kingbase_backup_set"};
constexpr const char* cachedb_tables[] = {"cachedb_backup_set"};
constexpr const char* ndmp_tables[] = {"ndmp_backup_set"};
constexpr const char* informix_tables[] = {"informix_backup_set"};
constexpr const char* sharepoint_tables[] = {"sharepoint_backup_set"};
constexpr const char* vmware_tables[] = {"vmware_backup_set"};
constexpr const char* hyperv_tables[] = {"hyperv_backup_set"};
constexpr const char* openstack_tables[] = {"openstack_backup_set"};
constexpr const char* ics_tables[] = {"ics_backup_set"};
constexpr const char* fusioncompute_tables[] = {"fusioncompute_backup_set"};
constexpr const char* fusioncloud_tables[] = {"fusioncloud_backup_set"};
constexpr const char* h3c_cas_tables[] = {"h3ccas_backup_set"};
constexpr const char* cloudos_tables[] = {"cloudos_backup_set"};

constexpr Repeated_Key text_attributes[] = {{"extended_attrs", json_spirit::str_type}};
constexpr Repeated_Key own_storages[] = {{"storages", json_spirit::array_type}};

constexpr const char* agent_names_type = "`catalog_module` is empty on purpose: the agent's name says the type";
constexpr const char* no_columns = "no table of its own: the document keeps what the type writes";
constexpr const char* own_table_only = "the select reads the type's own table alone: records read back hold none of it";

/// A type whose rows are read without a handler.
Set_Type without_handler(Set_Type type)
{
    type.handler = []() -> Query_Result_Handler* { return nullptr; };
    return type;
}

} // namespace

std::span<const Set_Type> set_types()
{
    static const Set_Type all[] = {
        entry<Oracle_Backup_Set>("oracle", "Oracle_Backup_Set", oracle_tables,
                                 "`merge_size` and `pdbs` have no column; records read back lack them, and the four "
                                 "common JSON attributes"),
        entry<Oracle_Arch_Backup_Set>("oracle_arch", "Oracle_Arch_Backup_Set", oracle_arch_tables),
        entry<Oracle_Exp_Backup_Set>("oracle_exp", "Oracle_Exp_Backup_Set", oracle_exp_tables),
        entry<MySQL_Backup_Set, No_Select>(
            "mysql", "MySQL_Backup_Set", {},
            "`catalog_module` is empty on purpose: the agent's name, mysql or gbase, says the type; no "
            "table of its own, and its select adds nothing: the document keeps what the type writes"),
        entry<Postgres_Backup_Set, Postgres_Aliases>("postgres", "Postgres_Backup_Set", postgres_tables),
        entry<MSSQL_Backup_Set>("mssql", "MSSQL_Backup_Set", {},
                                "`catalog_module` is empty on purpose: the agent's name says the type; no table of its "
                                "own: the document keeps what the type writes"),
        entry<File_Backup_Set>("file", "File_Backup_Set", dmdb_tables, "shares its table with `dmdb` sets"),
        entry<Hive_Backup_Set>("hive", "Hive_Backup_Set", hive_tables,
                               "both tables stand under one alias in its select"),
        entry<DMDB_Backup_Set>("dmdb", "DMDB_Backup_Set", dmdb_tables, "shares its table with `file` sets"),
        entry<DMDB_Log_Backup_Set>("dmdb_log", "DMDB_Log_Backup_Set", dmdb_log_tables),
        entry<DMDB_Logical_Backup_Set>("dmdb_logical", "DMDB_Logical_Backup_Set", dmdb_logical_tables),
        without_handler(
            entry<HANA_Backup_Set>("hana", "HANA_Backup_Set", hana_tables,
                                   "writes `extended_attrs` twice: the common object, then its own text; the "
                                   "default handler would read that text as JSON, so rows are read without one",
                                   text_attributes)),
        entry<DB2_Backup_Set>(
            "db2", "DB2_Backup_Set", db2_tables,
            "`catalog_module` is empty on purpose: the agent's name says the type; the two archive times "
            "are selected and not taken in"),
        entry<GaussDB_Backup_Set>("gaussdb", "GaussDB_Backup_Set", gaussdb_tables, "`tables` has no column"),
        entry<MongoDB_Backup_Set>("mongodb", "MongoDB_Backup_Set", mongodb_tables, agent_names_type),
        entry<Domino_Backup_Set>("domino", "Domino_Backup_Set", domino_tables, agent_names_type),
        entry<Oscar_Backup_Set>("oscar", "Oscar_Backup_Set", oscar_tables, "`grade` has no column"),
        entry<Oscar_Brcmd_Backup_Set>("oscar_brcmd", "Oscar_Brcmd_Backup_Set", oscar_brcmd_tables),
        entry<Kingbase_Backup_Set>("kingbase", "Kingbase_Backup_Set", kingbase_tables),
        entry<CacheDB_Backup_Set>("cachedb", "CacheDB_Backup_Set", cachedb_tables),
        entry<NDMP_Backup_Set>("ndmp", "NDMP_Backup_Set", ndmp_tables, agent_names_type),
        entry<OceanBase_Backup_Set>("oceanbase", "OceanBase_Backup_Set", {}, no_columns),
        entry<Informix_Backup_Set>("informix", "Informix_Backup_Set", informix_tables,
                                   "writes the common first time under `pre_seal_time`"),
        entry<Sybase_Backup_Set>("sybase", "Sybase_Backup_Set", {}, no_columns),
        entry<Exchange_Backup_Set>(
            "exchange", "Exchange_Backup_Set", {},
            "`catalog_module` is empty on purpose: the agent's name says the type; no table of its "
            "own: the document keeps what the type writes; writes `storages` of its own behind the "
            "common one",
            own_storages),
        entry<SharePoint_Backup_Set>("sharepoint", "SharePoint_Backup_Set", sharepoint_tables,
                                     "the database comes under the key `.database`, which nothing takes"),
        entry<VMware_Backup_Set>("vmware", "VMware_Backup_Set", vmware_tables,
                                 "the flag `is_template` comes under the key `template`, which nothing takes"),
        entry<Hyper_V_Backup_Set, Own_Alias>("hyperv", "Hyper_V_Backup_Set", hyperv_tables, own_table_only),
        entry<OpenStack_Backup_Set, OpenStack_Aliases>(
            "openstack", "OpenStack_Backup_Set", openstack_tables,
            "the one type that loads a document back (`operator<<`), and only one with two or more storages (the loader "
            "wants the array, and one storage is written as an object, none not at all), a start time, and pieces below "
            "2^63 bytes; parents, `uname`, `lsb` and the storages' sizes, upstream pools and attributes are not loaded, and "
            "the set's size becomes the last storage's. Documents of all other types are read by `json_document` alone"),
        entry<ICS_Backup_Set, Own_Alias>("ics", "ICS_Backup_Set", ics_tables, own_table_only),
        entry<FusionCompute_Backup_Set, Own_Alias>("fusioncompute", "FusionCompute_Backup_Set", fusioncompute_tables,
                                                   own_table_only),
        entry<FusionCloud_Backup_Set, FusionCloud_Aliases>(
            "fusioncloud", "FusionCloud_Backup_Set", fusioncloud_tables,
            "the select names both tables without relating them: its caller's condition does; records read back hold the "
            "common columns"),
        entry<H3C_CAS_Backup_Set, Own_Alias>("h3c_cas", "H3C_CAS_Backup_Set", h3c_cas_tables, own_table_only),
        entry<CloudOS_Backup_Set, Own_Alias>("cloudos", "CloudOS_Backup_Set", cloudos_tables, own_table_only),
        entry<K8S_Backup_Set>("k8s", "K8S_Backup_Set", {}, no_columns),
        entry<Windows_BMR_Backup_Set, No_Select>(
            "windows_bmr", "Windows_BMR_Backup_Set", {},
            "no table of its own, and its select adds nothing: the document keeps what the type "
            "writes; takes no text columns; writes `extended_attrs` twice: the common object, then "
            "its own text",
            text_attributes),
    };
    return all;
}

const Set_Type* find_set_type(std::string_view id)
{
    const auto types = set_types();
    const auto found = std::find_if(types.begin(), types.end(), [id](const Set_Type& type) { return type.id == id; });
    return found != types.end() ? &*found : nullptr;
}

const Set_Type* set_type_of(std::string_view catalog_module, std::string_view agent)
{
    if (catalog_module.empty()) {
        return find_set_type(agent == "gbase" ? "mysql" : agent);
    }
    const auto types = set_types();
    const auto found = std::find_if(types.begin(), types.end(), [catalog_module](const Set_Type& type) {
        return type.catalog_module == catalog_module;
    });
    return found != types.end() ? &*found : nullptr;
}

std::string known_set_types()
{
    std::string ids;
    for (const Set_Type& type : set_types()) {
        ids += (ids.empty() ? "" : ", ") + std::string(type.id);
    }
    return ids;
}

} // namespace catalog
