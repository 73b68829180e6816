#include "backup_set/common/backup_set_storage_selector.h"

#include "backup_set/common/backup_set_state.h"
#include "platform/json/object_get.h"
#include "platform/text/log.h"

namespace {

std::string text_of(const json_spirit::Object& storage, std::string_view key)
{
    const std::string* text = object_get_str(storage, key);
    return text != nullptr ? *text : std::string();
}

} // namespace

Backup_Set_Storage_Selector::Backup_Set_Storage_Selector(const json_spirit::Array& storages, MODE mode)
{
    if (mode == M_SOURCE) {
        get_source_pool(storages);
    } else {
        log_at(LM_ERROR, "Unknown mode '%d' to select backup set.\n", static_cast<int>(mode));
    }
}

void Backup_Set_Storage_Selector::get_source_pool(const json_spirit::Array& storages)
{
    std::string offline_first_copy;
    std::string online_replica;
    for (const json_spirit::Value& element : storages) {
        const json_spirit::Object* storage = element.if_obj();
        const json_spirit::Array* names = storage != nullptr ? object_get_array(*storage, "state") : nullptr;
        if (names == nullptr) {
            continue;
        }
        const std::string pool = text_of(*storage, "pool_uuid");
        const Backup_Set_State state(*names);
        const bool online = state.get_bit(Backup_Set_State::ONLINE_BIT);
        if (text_of(*storage, "upstream_pool_uuid").empty()) {
            if (online) {
                pool_uuid_ = pool;
                return;
            }
            offline_first_copy = pool;
        } else if (online && !state.get_bit(Backup_Set_State::VIRTUAL_BIT)) {
            log_at(LM_DEBUG, "Hit online replicated pool(%s).\n", pool.c_str());
            online_replica = pool;
        }
    }
    pool_uuid_ = !online_replica.empty() ? online_replica : offline_first_copy;
}
