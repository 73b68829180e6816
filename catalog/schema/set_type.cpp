#include "catalog/schema/set_type.h"

#include "backup_set/common/file_backup_set.h"
#include "backup_set/common/oracle_arch_backup_set.h"
#include "backup_set/common/oracle_backup_set.h"
#include "backup_set/common/oracle_exp_backup_set.h"
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
using Base_Alias = Aliases<0, alias_b>;

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

} // namespace

std::span<const Set_Type> set_types()
{
    static const Set_Type all[] = {
        entry<Oracle_Backup_Set>("oracle", "Oracle_Backup_Set", oracle_tables,
                                 "`merge_size` and `pdbs` have no column; records read back lack them, and the four "
                                 "common JSON attributes"),
        entry<Oracle_Arch_Backup_Set>("oracle_arch", "Oracle_Arch_Backup_Set", oracle_arch_tables),
        entry<Oracle_Exp_Backup_Set>("oracle_exp", "Oracle_Exp_Backup_Set", oracle_exp_tables),
        entry<File_Backup_Set>("file", "File_Backup_Set", dmdb_tables, "shares its table with `dmdb` sets"),
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
