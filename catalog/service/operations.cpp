#include "catalog/service/operations.h"

#include "platform/json/document.h"
#include "platform/text/log.h"
#include "platform/text/uuid.h"

#include <openssl/rand.h>

#include <utility>

namespace catalog::service {

namespace {

constexpr int overload_retry_after_s = 1;

Fault overload()
{
    return {Fault_Kind::UNAVAILABLE,
            "the service has more requests waiting than it takes; ask again",
            {},
            overload_retry_after_s};
}

/// Rows take more memory than the document that they come from: those of longer ones are made when they are needed.
constexpr std::size_t longest_kept_as_rows = 256u << 10;

/// Reads a request. What is no JSON at all, or no object, is told apart from an object that cannot be taken.
bool read(Life_Step& step, Fault& fault)
{
    Error error;
    if (read_step(step, error)) {
        if (step.request.params.size() > longest_kept_as_rows) {
            step.rows.tables.clear();
        }
        return true;
    }
    std::vector<json_document::Member> members;
    std::string reason;
    if (json_document::split_object(step.request.params, members, &reason)) {
        fault = fault_of(error);
    } else {
        const bool is_json = json_document::validate(step.request.params);
        fault = {is_json ? Fault_Kind::INVALID_PARAMS : Fault_Kind::PARSE_ERROR, reason};
    }
    return false;
}

/// For a request that its sender did not name and that cannot be done twice: when the connection is lost after the commit,
/// the second try has to find the answer of the first.
std::string fresh_id()
{
    UUID_Bytes bytes;
    return RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) == 1 ? "own:" + uuid_text(bytes) : std::string();
}

/// A view while it is read: shared by its source and the read that is under way.
struct Reading
{
    std::unique_ptr<View> view;
    std::string after;
};

/// Appends the next part, and what stands behind the last one.
Error read_part(Reading& reading, Catalog_Store& store, std::string& text, bool& last)
{
    Error error;
    if (!reading.view->read(store, text, error)) {
        return error;
    }
    last = reading.view->at_end();
    if (last) {
        text += reading.after;
    }
    return {};
}

class View_Source final : public Body_Source
{
public:
    View_Source(Read_Engine& reads, std::shared_ptr<Reading> reading) : reads_(reads), reading_(std::move(reading)) {}

    void next(Taker taker) override
    {
        const auto part = std::make_shared<Part>();
        const auto shared_taker = std::make_shared<Taker>(std::move(taker));
        Read_Engine::Read read;
        read.at_once = true;
        read.work = [reading = reading_, part](Catalog_Store& store) {
            return read_part(*reading, store, part->text, part->last);
        };
        read.done = [part, shared_taker](const Error& error) {
            if (error) {
                log_at(LM_WARNING, "A result was cut short: %C\n", error.message.c_str());
                *part = {.text = {}, .last = true, .failed = true};
            }
            (*shared_taker)(std::move(*part));
        };
        if (!reads_.submit(std::move(read))) {
            (*shared_taker)({.text = {}, .last = true, .failed = true});
        }
    }

private:
    Read_Engine& reads_;
    std::shared_ptr<Reading> reading_;
};

/// What a read refuses is a parameter of it.
Fault read_fault(const Error& error)
{
    Fault fault = fault_of(error);
    if (fault.kind == Fault_Kind::REFUSED) {
        fault.kind = Fault_Kind::INVALID_PARAMS;
    }
    return fault;
}

} // namespace

const char* protocol_name(Protocol protocol)
{
    return protocol == Protocol::RPC ? "rpc" : "rest";
}

const std::string& pieces_of(const Write_Answer& answer)
{
    static const std::string none = "[]";
    return answer.pieces.empty() ? none : answer.pieces;
}

std::string write_result(Write_Operation operation, const Write_Answer& answer)
{
    std::string text = R"({"result":true)";
    if (answer.queued) {
        text += R"(,"queued":true)";
    }
    text += R"(,"uuid":")" + answer.uuid + '"';
    if (operation == Write_Operation::ABORT) {
        text += R"(,"pieces":)" + pieces_of(answer);
    }
    return text + '}';
}

Fault Operations::check_role(const Principal& principal, Role wanted)
{
    if (principal.role >= wanted) {
        return {};
    }
    static constexpr const char* wanted_names[] = {"none", "reader", "writer", "operator"};
    const std::string needed =
        std::string("this needs an access key of the role ") + wanted_names[static_cast<std::size_t>(wanted)];
    if (principal.role == Role::NONE) {
        return {Fault_Kind::UNAUTHORIZED, needed};
    }
    log_at(LM_WARNING, "Access refused: key %C may not do what needs the role %C.\n", principal.name.c_str(),
           wanted_names[static_cast<std::size_t>(wanted)]);
    return {Fault_Kind::FORBIDDEN, needed + " or above"};
}

void Operations::write(Protocol protocol, const Principal& principal, Write_Request request, Write_Taker taker)
{
    const Request_Watch watch(metrics_, protocol, operation_name(request.operation));
    const auto refuse_with = [&](const Fault& fault) {
        watch.done(fault);
        taker(fault, {});
    };
    if (const Fault fault = check_role(principal, Role::WRITER)) {
        refuse_with(fault);
        return;
    }
    request.principal = principal.name;
    request.queue = queue_commits_ && request.operation == Write_Operation::COMMIT;
    if (request.id.empty() && request.operation == Write_Operation::ABORT) {
        request.id = fresh_id();
    }
    Life_Step step;
    step.request = std::move(request);
    Fault fault;
    if (!read(step, fault)) { // here, for other requests may be read at the same time
        refuse_with(fault);
        return;
    }
    const auto shared_taker = std::make_shared<Write_Taker>(std::move(taker));
    const auto answer_with = [this, watch, shared_taker](const Write_Answer& answer) {
        if (answer.error.kind == Error::DATABASE) {
            metrics_.database_failed(answer.error.database);
        }
        if (answer.committed) {
            metrics_.committed(answer);
        }
        if (answer.queued) {
            on_queued_();
        }
        const Fault outcome = fault_of(answer.error);
        watch.done(outcome);
        (*shared_taker)(outcome, answer);
    };
    if (!writes_.submit(std::move(step), answer_with)) {
        watch.done(overload());
        (*shared_taker)(overload(), {});
    }
}

void Operations::select(Protocol protocol, const Principal& principal, std::string module, std::string view,
                        json_spirit::Object parameters, std::string before, std::string after, Read_Taker taker)
{
    const Request_Watch watch(metrics_, protocol, "select");
    if (const Fault fault = check_role(principal, Role::READER)) {
        watch.done(fault);
        taker(fault, {});
        return;
    }
    const auto open = [module = std::move(module), view = std::move(view), parameters = std::move(parameters)](
                          Error& error) { return open_view(module, view, parameters, error); };
    stream(watch, open, std::move(before), std::move(after), std::move(taker));
}

void Operations::document(Protocol protocol, const Principal& principal, std::string uuid, Read_Taker taker)
{
    const Request_Watch watch(metrics_, protocol, "document");
    if (const Fault fault = check_role(principal, Role::READER)) {
        watch.done(fault);
        taker(fault, {});
        return;
    }
    stream(
        watch, [uuid = std::move(uuid)](Error& error) { return open_document(uuid, error); }, {}, {}, std::move(taker));
}

void Operations::stream(const Request_Watch& watch, View_Opener open, std::string before, std::string after,
                        Read_Taker taker)
{
    struct First
    {
        std::shared_ptr<Reading> reading = std::make_shared<Reading>();
        std::string text;
        bool last = false;
    };
    const auto first = std::make_shared<First>();
    first->reading->after = std::move(after);
    const auto shared_taker = std::make_shared<Read_Taker>(std::move(taker));
    Read_Engine::Read read;
    read.work = [first, open = std::move(open), before = std::move(before)](Catalog_Store& store) {
        Error error;
        first->reading->view = open(error); // after an error a view is of no use: each try has its own
        if (first->reading->view == nullptr) {
            return error;
        }
        first->text = before;
        return read_part(*first->reading, store, first->text, first->last);
    };
    read.done = [this, watch, first, shared_taker](const Error& error) {
        if (error.kind == Error::DATABASE) {
            metrics_.database_failed(error.database);
        }
        const Fault fault = read_fault(error);
        watch.done(fault);
        Reply reply;
        if (!fault) {
            reply.body = std::move(first->text);
            if (!first->last) {
                reply.more = std::make_unique<View_Source>(reads_, first->reading);
            }
        }
        (*shared_taker)(fault, std::move(reply));
    };
    if (!reads_.submit(std::move(read))) {
        watch.done(overload());
        (*shared_taker)(overload(), {});
    }
}

void Operations::exists(Protocol protocol, const Principal& principal, std::string uuid,
                        std::function<void(const Fault&)> taker)
{
    const Request_Watch watch(metrics_, protocol, "exists");
    if (const Fault fault = check_role(principal, Role::READER)) {
        watch.done(fault);
        taker(fault);
        return;
    }
    const auto shared_taker = std::make_shared<std::function<void(const Fault&)>>(std::move(taker));
    Read_Engine::Read read;
    read.work = [uuid = std::move(uuid)](Catalog_Store& store) {
        Error error;
        bool exists = false;
        if (store.set_exists(uuid, exists, error) && !exists) {
            error.kind = Error::NOT_FOUND;
            error.message = "the catalog has no set " + uuid;
        }
        return error;
    };
    read.done = [this, watch, shared_taker](const Error& error) {
        if (error.kind == Error::DATABASE) {
            metrics_.database_failed(error.database);
        }
        const Fault fault = read_fault(error);
        watch.done(fault);
        (*shared_taker)(fault);
    };
    if (!reads_.submit(std::move(read))) {
        watch.done(overload());
        (*shared_taker)(overload());
    }
}

void Operations::health(Protocol protocol, std::function<void(const Fault&)> taker)
{
    const Request_Watch watch(metrics_, protocol, "health");
    const auto shared_taker = std::make_shared<std::function<void(const Fault&)>>(std::move(taker));
    Read_Engine::Read read;
    read.at_once = true;
    read.work = [](Catalog_Store& store) {
        int version = 0;
        Error error;
        store.schema_version(version, error);
        return error;
    };
    read.done = [watch, shared_taker](const Error& error) {
        const Fault fault = read_fault(error);
        watch.done(fault);
        (*shared_taker)(fault);
    };
    if (!reads_.submit(std::move(read))) {
        watch.done(overload());
        (*shared_taker)(overload());
    }
}

} // namespace catalog::service
