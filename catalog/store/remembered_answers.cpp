#include "catalog/store/remembered_answers.h"

#include "catalog/schema/common_tables.h"
#include "catalog/store/catalog_store.h"
#include "catalog/store/content_digest.h"
#include "catalog/store/refusal.h"
#include "platform/json/document.h"
#include "platform/json/json_generator.h"
#include "platform/json/yajl_gen.h"

#include <array>
#include <utility>
#include <vector>

namespace catalog {
namespace {

constexpr std::int64_t forgotten_at_once = 2000;

struct Named_Kind
{
    Error::Kind kind;
    const char* name;
};

constexpr std::array kinds = {
    Named_Kind{Error::REFUSED, "refused"},
    Named_Kind{Error::CONFLICT, "conflict"},
    Named_Kind{Error::STATE, "state"},
    Named_Kind{Error::NOT_FOUND, "not_found"},
};

/// Rows of a key and an answer.
class Answer_Printer : public database::sql::Query_Result_Token_Printer
{
public:
    explicit Answer_Printer(std::map<UUID_Bytes, Write_Answer>& answers) : answers_(answers) {}

    bool print_cstr(int index, const char*, const char* value, std::size_t length) override
    {
        const std::string_view text(value, length);
        if (index == 0) {
            const auto key = read_uuid(text);
            answer_ = key ? &answers_[*key] : nullptr;
            return answer_ != nullptr;
        }
        answer_->repeated = true;
        return read_answer(text, *answer_);
    }

private:
    std::map<UUID_Bytes, Write_Answer>& answers_;
    Write_Answer* answer_ = nullptr;
};

} // namespace

UUID_Bytes request_key(const Write_Request& request)
{
    return short_digest(
        {request.principal, request.id, operation_name(request.operation), request.uuid, request.params});
}

std::string answer_json(const Write_Answer& answer)
{
    JSON_Text text;
    const YAJL_Gen gen(text.get());
    {
        const YAJL_Map_Guard map(gen);
        for (const auto& [kind, name] : kinds) {
            if (answer.error.kind == kind) {
                gen << "error"_key << name;
                gen << "message"_key << answer.error.message;
                gen << "key"_key << answer.error.key;
            }
        }
        gen << "uuid"_key << answer.uuid;
        if (answer.queued) {
            gen << "queued"_key << true;
        }
        if (!answer.pieces.empty()) {
            gen << "pieces"_key;
            yajl_gen_raw(gen.get(), answer.pieces);
        }
    }
    return text.take();
}

bool read_answer(std::string_view json, Write_Answer& answer)
{
    std::vector<json_document::Member> members;
    if (!json_document::split_object(json, members)) {
        return false;
    }
    for (const json_document::Member& member : members) {
        if (member.key == "pieces") {
            answer.pieces = member.text;
            continue;
        }
        if (member.key == "queued") {
            answer.queued = member.text == "true";
            continue;
        }
        if (member.type != json_spirit::str_type) {
            return false;
        }
        const std::string text = json_document::unescape(member.text);
        if (member.key == "uuid") {
            answer.uuid = text;
        } else if (member.key == "message") {
            answer.error.message = text;
        } else if (member.key == "key") {
            answer.error.key = text;
        } else if (member.key == "error") {
            for (const auto& [kind, name] : kinds) {
                answer.error.kind = text == name ? kind : answer.error.kind;
            }
        }
    }
    return true;
}

void find_answers(Look_Ups& look_ups, std::span<const UUID_Bytes> keys, std::map<UUID_Bytes, Write_Answer>& answers)
{
    static const Keyed_Select select(Select_SQL().table("remembered_answer").select("request_key,answer"),
                                     "request_key");
    look_ups.add(select, keys, std::make_unique<Answer_Printer>(answers));
}

void remember(Row_Collector& rows, const UUID_Bytes& key, std::time_t now, const Write_Answer& answer)
{
    rows.add(remembered_answer_table,
             {Binding_Value(key), Binding_Value(stored_time(now).value_or("1970-01-01 00:00:00")),
              Binding_Value(answer_json(answer))});
}

bool Catalog_Store::forget_old_answers(std::time_t now, std::int64_t& forgotten, Error& error)
{
    error = {};
    forgotten = 0;
    const std::optional<std::string> before = stored_time(now - answers_are_kept);
    if (!before) {
        return true; // no answer is as old as that
    }
    static const SQL sql(
        "DELETE FROM remembered_answer WHERE request_key IN (SELECT request_key FROM remembered_answer "
        "WHERE answered < :before ORDER BY answered LIMIT :most)");
    for (std::int64_t changed = forgotten_at_once; changed == forgotten_at_once; forgotten += changed) {
        if (!connection_->execute(SQL(sql).bind(":before", *before).bind(":most", forgotten_at_once), &changed)) {
            return fail(error, connection_->last_error());
        }
    }
    return true;
}

} // namespace catalog
