#include "backup_set/common/backup_set_common.h"

#include <cstring>

namespace {

constexpr Key2_Value_T<Resource_Type> resc_type_tb[] = {
    {"storage", 7, RESOURCE_STORAGE},   {"file", 4, RESOURCE_FILE},       {"dmdb", 4, RESOURCE_DMDB},
    {"postgres", 8, RESOURCE_POSTGRES}, {"cachedb", 7, RESOURCE_CACHEDB}, {"mongodb", 7, RESOURCE_MONGODB},
    {"mysql", 5, RESOURCE_MYSQL},       {"gbase", 5, RESOURCE_GBASE},     {"os", 2, RESOURCE_BMR},
    {"hana", 4, RESOURCE_HANA},         {"oracle", 6, RESOURCE_ORACLE},   {"ndmp", 4, RESOURCE_NDMP},
    {"kingbase", 8, RESOURCE_KINGBASE}, {"db2", 3, RESOURCE_DB2},         {"oscar", 5, RESOURCE_OSCAR},
    {"k8s", 3, RESOURCE_K8S},           {nullptr, 0, RESOURCE_UNDEFINED},
};

constexpr Key2_Value_T<BSET_COMMIT_ACTION> commit_action_tb[] = {
    {"Initialize", 10, E_ACTION_INITIALIZE}, {"AddPiece", 8, E_ACTION_ADD_PIECE},
    {"Complete", 8, E_ACTION_COMPLETE},      {"Abort", 5, E_ACTION_ABORT},
    {nullptr, 0, E_ACTION_UNKOWN},
};

template <class V>
V name_to_value(const Key2_Value_T<V>* table, const char* name)
{
    if (name == nullptr || *name == '\0') {
        return static_cast<V>(0);
    }
    return get_key_value_entry(table, name, std::strlen(name)).value;
}

} // namespace

const char* resource_type_to_name(Resource_Type type)
{
    return get_key_value_entry(resc_type_tb, type).key;
}

Resource_Type name_to_resource_type(const char* name)
{
    return name_to_value(resc_type_tb, name);
}

const char* commit_action_to_name(BSET_COMMIT_ACTION action)
{
    return get_key_value_entry(commit_action_tb, action).key;
}

BSET_COMMIT_ACTION name_to_commit_action(const char* name)
{
    return name_to_value(commit_action_tb, name);
}
