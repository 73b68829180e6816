#include "catalog/store/life_step.h"

#include "catalog/store/catalog_store.h"
#include "catalog/store/refusal.h"
#include "catalog/store/remembered_answers.h"
#include "platform/json/document.h"

#include <vector>

namespace catalog {
namespace {

using json_document::find_first;
using json_document::Member;

bool read_uuid_member(const std::vector<Member>& members, UUID_Bytes& uuid, Error& error)
{
    const Member* const member = find_first(members, "uuid");
    if (member == nullptr || member->type == json_spirit::null_type) {
        return refuse(error, "uuid", "\"uuid\" is missing");
    }
    const auto bytes =
        member->type == json_spirit::str_type ? read_uuid(json_document::unescape(member->text)) : std::nullopt;
    if (!bytes) {
        return refuse(error, "uuid", "\"uuid\" is " + excerpt(member->text) + ", which is no UUID");
    }
    uuid = *bytes;
    return true;
}

bool read_pieces_member(const std::vector<Member>& members, Life_Step& step, Error& error)
{
    const Member* const member = find_first(members, "pieces");
    if (member == nullptr || member->type != json_spirit::array_type) {
        return refuse(error, "pieces",
                      member == nullptr ? "\"pieces\" is missing"
                                        : "\"pieces\" is " + excerpt(member->text) + ", where an array belongs");
    }
    step.pieces = json_document::compact(member->text);
    return check_pieces(step.pieces, step.piece_count, error);
}

/// {"uuid": …}, and of a step that adds pieces {"uuid": …, "pieces": […]}.
bool read_parameters(Life_Step& step, Error& error)
{
    if (step.request.params.size() > longest_document) {
        return refuse(error, {},
                      "the params have " + std::to_string(step.request.params.size()) + " bytes; at most "
                          + std::to_string(longest_document) + " can be taken");
    }
    std::vector<Member> members;
    std::string reason;
    if (!json_document::split_object(step.request.params, members, &reason)) {
        return refuse(error, {}, "the params cannot be read: " + reason);
    }
    return read_uuid_member(members, step.uuid, error)
           && (step.operation() != Write_Operation::ADD_PIECE || read_pieces_member(members, step, error));
}

bool read_set(Life_Step& step, Error& error)
{
    if (!read_document(step.request.params, step.rows, error)) {
        return false;
    }
    step.uuid = step.rows.uuid;
    if (step.operation() != Write_Operation::UPDATE || step.request.uuid.empty()) {
        return true;
    }
    const auto named = read_uuid(step.request.uuid);
    if (!named) {
        return refuse(error, "uuid", shown(step.request.uuid) + " is no UUID of a set");
    }
    return *named == step.uuid
           || refuse(error, "uuid", "the document is of set " + uuid_text(step.uuid) + ", not of " + uuid_text(*named));
}

} // namespace

bool read_step(Life_Step& step, Error& error)
{
    if (step.request.id.size() > longest_request_id) {
        return refuse(error, "id",
                      "the request's id has " + std::to_string(step.request.id.size()) + " bytes; at most "
                          + std::to_string(longest_request_id) + " are taken");
    }
    const bool has_document =
        step.operation() != Write_Operation::ADD_PIECE && step.operation() != Write_Operation::ABORT;
    if (!(has_document ? read_set(step, error) : read_parameters(step, error))) {
        return false;
    }
    if (!step.request.id.empty()) {
        step.key = request_key(step.request);
    }
    return true;
}

} // namespace catalog
