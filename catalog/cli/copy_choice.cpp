#include "catalog/cli/copy_choice.h"

#include "backup_set/common/backup_set_state.h"
#include "platform/json/document.h"
#include "platform/json/object_get.h"

#include <optional>

namespace catalog::cli {

namespace {

/// What the selector sees of a copy.
struct Copy
{
    enum Kind
    {
        NOT_LOOKED_AT, ///< no object, or one without states
        ONLINE_FIRST,
        OFFLINE_FIRST,
        OFFLINE_REPLICA,
        VIRTUAL_REPLICA,
        ONLINE_REPLICA
    };

    Kind kind = NOT_LOOKED_AT;
    Copy_Verdict verdict;
};

std::string text_of(const json_spirit::Object& storage, const char* key)
{
    const std::string* text = object_get_str(storage, key);
    return text != nullptr ? *text : std::string();
}

Copy read_copy(const json_spirit::Value& element)
{
    Copy copy;
    const json_spirit::Object* storage = element.if_obj();
    if (storage == nullptr) {
        copy.verdict.reason = "not looked at: not an object";
        return copy;
    }
    copy.verdict.pool_uuid = text_of(*storage, "pool_uuid");
    copy.verdict.upstream_pool_uuid = text_of(*storage, "upstream_pool_uuid");
    const json_spirit::Array* names = object_get_array(*storage, "state");
    if (names == nullptr) {
        copy.verdict.reason = "not looked at: it has no list of states";
        return copy;
    }
    for (const json_spirit::Value& name : *names) {
        if (const std::string* text = name.if_str()) {
            copy.verdict.states.push_back(*text);
        }
    }
    const Backup_Set_State state(*names);
    const bool online = state.get_bit(Backup_Set_State::ONLINE_BIT);
    if (copy.verdict.upstream_pool_uuid.empty()) {
        copy.kind = online ? Copy::ONLINE_FIRST : Copy::OFFLINE_FIRST;
    } else if (!online) {
        copy.kind = Copy::OFFLINE_REPLICA;
    } else {
        copy.kind = state.get_bit(Backup_Set_State::VIRTUAL_BIT) ? Copy::VIRTUAL_REPLICA : Copy::ONLINE_REPLICA;
    }
    return copy;
}

std::optional<std::size_t> first_of(const std::vector<Copy>& copies, Copy::Kind kind)
{
    for (std::size_t i = 0; i < copies.size(); ++i) {
        if (copies[i].kind == kind) {
            return i;
        }
    }
    return std::nullopt;
}

std::optional<std::size_t> last_of(const std::vector<Copy>& copies, Copy::Kind kind)
{
    for (std::size_t i = copies.size(); i-- > 0;) {
        if (copies[i].kind == kind) {
            return i;
        }
    }
    return std::nullopt;
}

std::string copy_number(std::size_t index)
{
    return "copy " + std::to_string(index + 1);
}

void choose(Copy& copy, const char* why)
{
    copy.verdict.chosen = !copy.verdict.pool_uuid.empty();
    copy.verdict.reason = copy.verdict.chosen ? std::string("chosen: ") + why
                                              : std::string("would be chosen (") + why + "), but names no pool";
}

/// The reasons of the copies when `winner` is an online first copy: the walk ends there.
void explain_online_first(std::vector<Copy>& copies, std::size_t winner)
{
    const std::string number = copy_number(winner);
    for (std::size_t i = 0; i < winner; ++i) {
        if (copies[i].kind == Copy::ONLINE_REPLICA) {
            copies[i].verdict.reason = "passed over: " + number + " is an online first copy";
        } else if (copies[i].kind == Copy::OFFLINE_FIRST) {
            copies[i].verdict.reason = "passed over: not online, and " + number + " is an online first copy";
        }
    }
    choose(copies[winner], "the first online first copy");
    for (std::size_t i = winner + 1; i < copies.size(); ++i) {
        copies[i].verdict.reason = "not looked at: " + number + " settled the choice";
    }
}

void explain_online_replicas(std::vector<Copy>& copies, std::size_t last)
{
    for (std::size_t i = 0; i < last; ++i) {
        if (copies[i].kind == Copy::ONLINE_REPLICA) {
            copies[i].verdict.reason = "passed over: " + copy_number(last) + " is a later online replica";
        }
    }
    choose(copies[last], "no first copy is online; the last online replica");
}

void explain_offline_first(std::vector<Copy>& copies, std::size_t last, std::optional<std::size_t> replica)
{
    for (std::size_t i = 0; i <= last; ++i) {
        if (copies[i].kind == Copy::OFFLINE_FIRST && replica) {
            copies[i].verdict.reason =
                "passed over: not online, and " + copy_number(*replica) + " is an online replica";
        } else if (copies[i].kind == Copy::OFFLINE_FIRST) {
            copies[i].verdict.reason =
                "passed over: " + copy_number(last) + " is a later first copy that is not online";
        }
    }
    if (!replica) {
        choose(copies[last], "no copy to read from is online; the last first copy");
    }
}

} // namespace

std::vector<Copy_Verdict> explain_choice(const json_spirit::Array& storages)
{
    std::vector<Copy> copies;
    for (const json_spirit::Value& element : storages) {
        Copy& copy = copies.emplace_back(read_copy(element));
        if (copy.kind == Copy::OFFLINE_REPLICA) {
            copy.verdict.reason = "passed over: a replica that is not online";
        } else if (copy.kind == Copy::VIRTUAL_REPLICA) {
            copy.verdict.reason = "passed over: a replica that is virtual";
        }
    }
    if (const auto winner = first_of(copies, Copy::ONLINE_FIRST)) {
        explain_online_first(copies, *winner);
    } else {
        std::optional<std::size_t> replica = last_of(copies, Copy::ONLINE_REPLICA);
        if (replica) {
            explain_online_replicas(copies, *replica);
            if (!copies[*replica].verdict.chosen) {
                replica.reset();
            }
        }
        if (const auto last = last_of(copies, Copy::OFFLINE_FIRST)) {
            explain_offline_first(copies, *last, replica);
        }
    }
    std::vector<Copy_Verdict> verdicts;
    verdicts.reserve(copies.size());
    for (Copy& copy : copies) {
        verdicts.push_back(std::move(copy.verdict));
    }
    return verdicts;
}

bool storages_of_document(const std::string& document, json_spirit::Array& storages, std::string& fault)
{
    std::vector<json_document::Member> members;
    if (!json_document::split_object(document, members, &fault)) {
        return false;
    }
    for (const json_document::Member& member : members) {
        if (member.key != "storage" && member.key != "storages") {
            continue;
        }
        json_spirit::Value value;
        if (!json_spirit::read(member.text, value, &fault)) {
            return false;
        }
        if (json_spirit::Array* array = value.if_array()) {
            storages.insert(storages.end(), array->begin(), array->end());
        } else {
            storages.push_back(std::move(value));
        }
    }
    return true;
}

} // namespace catalog::cli
