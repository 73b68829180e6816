#include "backup_set/common/backup_set_state.h"

#include "platform/text/key2_value.h"

#include <ace/OS_NS_string.h>

namespace {

constexpr Key2_Value_T<ACE_UINT64> state_tb[] = {
    {"online", 6, Backup_Set_State::ONLINE_BIT},          {"offline", 7, Backup_Set_State::OFFLINE_BIT},
    {"nearline", 8, Backup_Set_State::NEARLINE_BIT},      {"expired", 7, Backup_Set_State::EXPIRED_BIT},
    {"replicated", 10, Backup_Set_State::REPLICATED_BIT}, {"warmup", 6, Backup_Set_State::WARMUP_BIT},
    {"incomplete", 10, Backup_Set_State::INCOMPLETE_BIT}, {"unsync", 6, Backup_Set_State::UNSYNC_BIT},
    {"virtual", 7, Backup_Set_State::VIRTUAL_BIT},        {nullptr, 0, 0},
};

} // namespace

void to_value(const std::string& name, ACE_UINT64& value)
{
    const Key2_Value_T<ACE_UINT64>* row = state_tb;
    while (row->key != nullptr && ACE_OS::strcmp(row->key, name.c_str()) != 0) {
        ++row;
    }
    value |= row->value;
}

Backup_Set_State::Backup_Set_State(const std::vector<std::string>& names) : value(0)
{
    for (const std::string& name : names) {
        to_value(name, value);
    }
}

Backup_Set_State::Backup_Set_State(const json_spirit::Array& names) : value(0)
{
    for (const json_spirit::Value& name : names) {
        if (const std::string* text = name.if_str()) {
            to_value(*text, value);
        }
    }
}

json_spirit::Array Backup_Set_State::states() const
{
    json_spirit::Array names;
    for (ACE_UINT64 rest = value; rest != 0; rest &= rest - 1) {
        const ACE_UINT64 lowest = rest - (rest & (rest - 1));
        if (const char* name = get_key_value_entry(state_tb, lowest).key) {
            names.emplace_back(name);
        }
    }
    return names;
}
