#include "catalog/cli/server_access.h"

#include "backup_set/common/restful_catalog_operator.h"
#include "catalog/cli/session.h"
#include "catalog/store/content_digest.h"
#include "catalog/store/set_document.h"
#include "catalog/store/set_listing.h"
#include "platform/http/json_restful_client.h"
#include "platform/json/json_generator.h"
#include "platform/json/object_get.h"
#include "platform/rpc/global_json_rpc_channel.h"
#include "platform/text/posix_time.h"

#include <algorithm>
#include <utility>

namespace catalog::cli {

namespace {

using json_spirit::Object;
using json_spirit::Value;

constexpr int retries = 3;
constexpr int retry_timeout_s = 30;

/// The service has its own limits; this one is only against nonsense.
constexpr std::size_t longest_answer = std::size_t{2} << 30;

constexpr std::size_t first_rows = 16;
constexpr std::size_t most_rows = 1024;
constexpr std::size_t bytes_a_page = std::size_t{1} << 20;

/// A document that is sent as it is: key for key, repeated ones too.
class Document_Record final : public Backup_Set
{
public:
    Document_Record(const std::string& document, const std::string& set_uuid) : Backup_Set(nullptr), document_(document)
    {
        uuid = set_uuid;
    }

    bool generate(yajl_gen_t* gen) override { return yajl_gen_raw(gen, document_); }

private:
    const std::string& document_;
};

std::string text_of(const Object& row, const char* key)
{
    const std::string* const text = object_get_str(row, key);
    return text != nullptr ? *text : std::string();
}

std::int64_t number_of(const Object& row, const char* key)
{
    const std::int64_t* const number = object_get_int64(row, key);
    return number != nullptr ? *number : 0;
}

std::time_t time_of(const Object& row, const char* key)
{
    std::time_t time = 0;
    iso8601_to_posix_time(text_of(row, key), time);
    return time;
}

Set_Summary summary_of(const Object& row)
{
    Set_Summary set;
    set.uuid = text_of(row, "uuid");
    set.type = text_of(row, "type");
    set.name = text_of(row, "name");
    set.host = text_of(row, "host");
    set.host_uuid = text_of(row, "host_uuid");
    set.resource_uuid = text_of(row, "resource_uuid");
    set.minor_resource_name = text_of(row, "minor_resource_name");
    set.backup_type = text_of(row, "backup_type");
    set.backup_start_time = time_of(row, "backup_start_time");
    set.backup_end_time = time_of(row, "backup_end_time");
    set.size = number_of(row, "size");
    set.source_size = number_of(row, "source_size");
    set.piece_count = number_of(row, "piece_count");
    if (const json_spirit::Array* const states = object_get_array(row, "states")) {
        for (const Value& state : *states) {
            set.states.push_back(state.if_str() != nullptr ? state.get_str() : std::string());
        }
    }
    return set;
}

/// A time that the filter of a listing has; nothing when all or no sets lie on the wanted side of it.
void add_time(Object& parameters, const char* name, const std::optional<std::time_t>& time)
{
    if (time && stored_time(*time)) {
        parameters[name] = *stored_time(*time);
    }
}

class Server_Access final : public Catalog_Access
{
public:
    Server_Access(Diagnostics& diagnostics, const Server_Url& url, const std::string& access_key,
                  const std::string& authority_file) :
        diagnostics_(diagnostics),
        place_(url.host + ':' + std::to_string(url.port))
    {
        HTTP_Client_Options options;
        options.certificate_authority = authority_file;
        options.response_limit = longest_answer;
        // By JSON-RPC it is asked whether a queued commit is done.
        Upstream_JSON_RESTful_Client::configure(url.host, url.port, url.tls, access_key, options);
        operator_ = make_operator(url.json_rpc, retries);
        one_attempt_ = make_operator(url.json_rpc, 0);
        if (!url.json_rpc) {
            return;
        }
        JSON_RPC_Endpoint endpoint;
        endpoint.host = url.host;
        endpoint.port = url.port;
        endpoint.tls = url.tls;
        endpoint.access_key = access_key;
        endpoint.certificate_authority = authority_file;
        endpoint.frame_limit = longest_answer;
        Global_JSON_RPC_Channel::configure(endpoint);
    }
    Server_Access(const Server_Access&) = delete;
    Server_Access& operator=(const Server_Access&) = delete;
    ~Server_Access() override { Global_JSON_RPC_Channel::remove(); }

    std::vector<Record_Result> record(std::span<const std::string> documents) override
    {
        std::vector<Record_Result> results(documents.size());
        for (std::size_t i = 0; i < documents.size(); ++i) {
            results[i] = send(documents[i]);
            if (exit_code(results[i].error) == FAILED) {
                std::fill(results.begin() + static_cast<std::ptrdiff_t>(i) + 1, results.end(), results[i]);
                break;
            }
        }
        // What the service has queued it applies while the others are sent: only the last ones may have to be awaited.
        for (std::size_t i = 0; i < documents.size(); ++i) {
            if (!results[i].error) {
                await(documents[i], results[i]);
            }
        }
        return results;
    }

    std::size_t documents_at_once() const override { return 100; }

    bool document(const std::string& uuid, std::string& document, Error& error) override
    {
        Value result;
        if (!view(*operator_, "backup_set", "set", {{"uuid", uuid}, {"form", "text"}}, result, error)) {
            explain_missing(uuid, error);
            return false;
        }
        Value row;
        if (!operator_->get_first_row(result, row) || !take_text(row, document)) {
            return fail(error);
        }
        return true;
    }

    bool list(const Set_Filter& filter, std::size_t limit, const std::string& after, Set_Page& page,
              Error& error) override
    {
        page = {};
        Select_SQL checked; // the filter means the same in either place
        if (!list_select(filter, limit, after, checked, error)) {
            return false;
        }
        if (checked.empty()) {
            return true;
        }
        Object parameters{{"type", filter.type},
                          {"host", filter.host},
                          {"resource", filter.resource},
                          {"state", filter.state},
                          {"limit", std::to_string(limit)},
                          {"after", after}};
        add_time(parameters, "since", filter.since);
        add_time(parameters, "until", filter.until);
        Value result;
        if (!view(*operator_, "backup_set", "sets", parameters, result, error)) {
            return false;
        }
        const json_spirit::Array* const rows = object_get_array(result.get_obj(), "rows");
        for (const Value& row : *rows) {
            if (row.if_obj() == nullptr) {
                return fail(error);
            }
            page.sets.push_back(summary_of(row.get_obj()));
        }
        page.next = text_of(result.get_obj(), "next");
        return true;
    }

    bool rows(const Set_Type& type, const std::string& uuid, const Take& take, Error& error) override
    {
        return pages(type, "sets", uuid, take, error);
    }

    bool records(const Set_Type& type, const std::string& uuid, const Take& take, Error& error) override
    {
        return pages(type, "records", uuid, take, error);
    }

private:
    static std::unique_ptr<Catalog_Operator> make_operator(bool json_rpc, int attempts_after_the_first)
    {
        if (json_rpc) {
            return std::make_unique<Catalog_Operator>(attempts_after_the_first, retry_timeout_s);
        }
        auto made = std::make_unique<RESTful_Catalog_Operator>(attempts_after_the_first, retry_timeout_s);
        made->init(attempts_after_the_first, retry_timeout_s); // the limits of a confirmation
        return made;
    }

    /// Commits a document, which the service may only queue.
    Record_Result send(const std::string& document)
    {
        Record_Result result;
        Set_Rows set;
        if (!read_document(document, set, result.error)) {
            return result; // as the service would refuse it
        }
        result.uuid = uuid_text(set.uuid);
        commit(document, false, result);
        return result;
    }

    /// Sees to it that a document which the service has taken is part of the catalog.
    void await(const std::string& document, Record_Result& result)
    {
        bool is_there = false;
        if (!exists(*operator_, result.uuid, is_there, result.error)) {
            result.uuid.clear();
        } else if (!is_there) {
            commit(document, true, result);
        }
    }

    void commit(const std::string& document, bool confirm, Record_Result& result)
    {
        Document_Record record(document, result.uuid);
        if (!operator_->commit(record, confirm)) {
            judge_failure(document, result.uuid, result.error);
        }
        if (result.error) {
            result.uuid.clear();
        } else {
            diagnostics_.forget();
        }
    }

    /// Finds out why a commit has failed. No error: it has not.
    void judge_failure(const std::string& document, const std::string& uuid, Error& error)
    {
        fail(error, "it has the set in its queue, and it was not part of the catalog yet when the wait for that was "
                    "given up");
        bool is_there = false;
        Error ignored;
        std::string stored;
        if (!exists(*one_attempt_, uuid, is_there, ignored) || !is_there || !this->document(uuid, stored, ignored)) {
            return;
        }
        error = {};
        if (content_digest(stored) != content_digest(document)) {
            error.kind = Error::CONFLICT;
            error.message = "the catalog has set " + uuid + " with other content; it was left as it is";
            error.key = "uuid";
        }
        diagnostics_.forget();
    }

    /// Reads a view whose result has rows.
    bool view(const Catalog_Operator& by, const char* module, const char* name, const Object& parameters, Value& result,
              Error& error)
    {
        error = {};
        return (by.get_view(module, name, parameters, result) && result.if_obj() != nullptr
                && object_get_array(result.get_obj(), "rows") != nullptr)
               || fail(error);
    }

    bool exists(const Catalog_Operator& by, const std::string& uuid, bool& is_there, Error& error)
    {
        Value result;
        if (!view(by, "backup_set", "sets", {{"uuid", uuid}}, result, error)) {
            return false;
        }
        is_there = !object_get_array(result.get_obj(), "rows")->empty();
        return true;
    }

    /// An operator does not tell a set that is not there from other failures.
    void explain_missing(const std::string& uuid, Error& error)
    {
        bool is_there = true;
        Error ignored;
        if (exists(*one_attempt_, uuid, is_there, ignored) && !is_there) {
            error = {};
            error.kind = Error::NOT_FOUND;
            error.message = "the catalog has no set " + uuid_text(read_uuid(uuid).value_or(UUID_Bytes{}));
        }
        diagnostics_.forget();
    }

    static bool take_text(const Value& row, std::string& text)
    {
        const std::string* const found = row.if_obj() != nullptr ? object_get_str(row.get_obj(), "text") : nullptr;
        text = found != nullptr ? *found : std::string();
        return found != nullptr;
    }

    /// Hands over the texts of all rows of a type's view. So much is asked for at once as makes pages of a bounded size.
    bool pages(const Set_Type& type, const char* name, const std::string& uuid, const Take& take, Error& error)
    {
        std::size_t most = first_rows;
        std::string next;
        do {
            Value result;
            const Object parameters{{"uuid", uuid}, {"form", "text"}, {"limit", std::to_string(most)}, {"after", next}};
            if (!view(*operator_, type.id, name, parameters, result, error)) {
                return false;
            }
            std::size_t bytes = 0;
            std::string text;
            for (const Value& row : *object_get_array(result.get_obj(), "rows")) {
                if (!take_text(row, text)) {
                    return fail(error);
                }
                bytes += text.size();
                if (!take(text)) {
                    return false;
                }
            }
            most = bytes < bytes_a_page ? std::min(most * 2, most_rows) : std::max<std::size_t>(most / 2, 1);
            next = text_of(result.get_obj(), "next");
        } while (!next.empty());
        return true;
    }

    /// Makes an error of what the operator has logged. Always returns false.
    bool fail(Error& error, const char* otherwise = "it answered something else than was asked for")
    {
        error = {};
        error.kind = Error::DATABASE;
        const std::string logged = diagnostics_.claim();
        error.message = "the service at " + place_ + ": " + (logged.empty() ? otherwise : logged);
        return false;
    }

    Diagnostics& diagnostics_;
    const std::string place_;
    std::unique_ptr<Catalog_Operator> operator_;
    std::unique_ptr<Catalog_Operator> one_attempt_; ///< to look behind a failure
};

} // namespace

std::unique_ptr<Catalog_Access> open_server_access(Diagnostics& diagnostics, const Server_Url& url,
                                                   const std::string& access_key, const std::string& authority_file)
{
    return std::make_unique<Server_Access>(diagnostics, url, access_key, authority_file);
}

} // namespace catalog::cli
