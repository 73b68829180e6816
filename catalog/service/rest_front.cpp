#include "catalog/service/rest_front.h"

#include "catalog/service/openapi.h"
#include "catalog/service/query_string.h"
#include "platform/text/uuid.h"

#include <algorithm>
#include <array>
#include <map>
#include <utility>

namespace catalog::service {

namespace {

using enum REST_Content;

constexpr std::string_view rpc_path = "/rpc";
constexpr std::string_view placeholder = "{uuid}";

constexpr const char* actions[] = {"Initialize", "AddPiece", "Complete", "Abort"};
constexpr Write_Operation action_operations[] = {Write_Operation::INITIALIZE, Write_Operation::ADD_PIECE,
                                                 Write_Operation::COMPLETE, Write_Operation::ABORT};

constexpr REST_Parameter idempotency_key = {
    "Idempotency-Key", "header", false,
    "Names the request: the same one again gets the same answer and has no further effect, for seven days"};

constexpr REST_Parameter commit_parameters[] = {
    {"action", "query", false, "The step; without it the set is committed", actions},
    idempotency_key,
};
constexpr REST_Parameter update_parameters[] = {
    {"uuid", "query", false, "The set; has to be that of the document"},
    idempotency_key,
};
constexpr REST_Parameter select_parameters[] = {
    {"module", "query", true, "The view's module: backup_set, or a type's id"},
    {"view", "query", true, "The view; its parameters follow, one pair each"},
};
constexpr REST_Parameter exists_parameters[] = {{"uuid", "query", true, "The set"}};
constexpr REST_Parameter document_parameters[] = {{"uuid", "path", true, "The set"}};

constexpr std::array paths = {
    REST_Path{"POST", "/kx/r/v2/sets", "commit", "Commits a set, or does another step of its life", Role::WRITER,
              commit_parameters, SET_PART, DONE},
    REST_Path{"PUT", "/kx/r/v2/sets", "update", "Changes a committed set", Role::WRITER, update_parameters, SET, DONE},
    REST_Path{"GET", "/kx/r/v2/sets/select", "select", "Reads a view", Role::READER, select_parameters, NOTHING, VIEW},
    REST_Path{"GET", "/kx/r/v2/sets/exists", "exists", "Tells whether a set is in the catalog", Role::READER,
              exists_parameters, NOTHING, DONE},
    REST_Path{"GET", "/kx/r/v2/sets/{uuid}", "document", "Gives a set's document", Role::READER, document_parameters,
              NOTHING, SET},
    REST_Path{"POST", "/rpc", "rpc", "Takes one JSON-RPC 2.0 call", Role::READER, {}, RPC, RPC},
    REST_Path{
        "GET", "/health", "health", "Tells whether the service and its database work", Role::NONE, {}, NOTHING, HEALTH},
    REST_Path{"GET", "/metrics", "metrics", "Gives the metrics for Prometheus", Role::OPERATOR, {}, NOTHING, METRICS},
    REST_Path{"GET", "/openapi.json", "openapi", "Gives this description", Role::READER, {}, NOTHING, OPENAPI},
};

/// Whether a path is served by an entry; `segment` gets what stands for its placeholder.
bool matches(std::string_view pattern, std::string_view path, std::string& segment)
{
    const std::size_t place = pattern.find(placeholder);
    if (place == std::string_view::npos) {
        return pattern == path;
    }
    if (!path.starts_with(pattern.substr(0, place))) {
        return false;
    }
    const std::string_view rest = path.substr(place);
    if (rest.empty() || rest.find('/') != std::string_view::npos) {
        return false;
    }
    segment = rest;
    return true;
}

bool has_placeholder(const REST_Path& path)
{
    return std::string_view(path.path).find(placeholder) != std::string_view::npos;
}

std::string known_paths()
{
    std::string names;
    for (const REST_Path& path : paths) {
        names += (names.empty() ? "" : ", ") + std::string(path.method) + ' ' + path.path;
    }
    return names;
}

bool is_json(std::string_view content_type)
{
    std::string_view media = content_type.substr(0, std::min(content_type.find(';'), content_type.size()));
    while (!media.empty() && media.back() == ' ') {
        media.remove_suffix(1);
    }
    constexpr std::string_view json = "application/json";
    return media.empty() || std::ranges::equal(media, json, [](char a, char b) {
               return (a >= 'A' && a <= 'Z' ? static_cast<char>(a + 'a' - 'A') : a) == b;
           });
}

} // namespace

std::span<const REST_Path> rest_paths()
{
    return paths;
}

struct REST_Front::Call
{
    Web_Request request;
    Principal principal;
    Reply_Taker taker;
    std::string segment; ///< what stands for the path's placeholder
    std::map<std::string, std::string, std::less<>> query;

    void refuse(const Fault& fault) const { taker(rest_refusal(fault)); }

    std::string take(const char* name)
    {
        const auto place = query.find(name);
        return place != query.end() ? std::exchange(place->second, {}) : std::string();
    }
};

void REST_Front::answer(Web_Request request, const Principal& principal, Reply_Taker taker)
{
    const Request_Watch watch(operations_.metrics(), Protocol::REST, "invalid");
    Call call{std::move(request), principal, std::move(taker), {}, {}};
    const auto refuse_with = [&](const Fault& fault, Reply reply) {
        watch.done(fault);
        call.taker(std::move(reply));
    };
    const REST_Path* found = nullptr;
    std::string allowed;
    for (const REST_Path& path : paths) {
        if (!matches(path.path, call.request.path, call.segment) || (has_placeholder(path) && !allowed.empty())) {
            continue;
        }
        if (call.request.method == path.method) {
            found = &path;
            break;
        }
        allowed += (allowed.empty() ? "" : ", ") + std::string(path.method);
    }
    if (found == nullptr && allowed.empty()) {
        const Fault fault = {Fault_Kind::UNKNOWN_METHOD, "there is no such path; known are: " + known_paths()};
        refuse_with(fault, rest_refusal(fault));
        return;
    }
    if (found == nullptr) {
        const Fault fault = {Fault_Kind::METHOD_NOT_ALLOWED, "the path takes " + allowed};
        Reply reply = rest_refusal(fault);
        reply.headers.emplace_back("Allow", allowed);
        refuse_with(fault, std::move(reply));
        return;
    }
    if (found->path == rpc_path) { // its rights depend on what is called
        if (!is_json(call.request.content_type)) {
            const Fault fault = {Fault_Kind::UNSUPPORTED_MEDIA, "the body has to be application/json"};
            refuse_with(fault, rest_refusal(fault));
            return;
        }
        rpc_.answer(std::move(call.request.body), call.principal, std::move(call.taker));
        return;
    }
    Fault fault = Operations::check_role(call.principal, found->role);
    if (!fault && found->body != NOTHING && !is_json(call.request.content_type)) {
        fault = {Fault_Kind::UNSUPPORTED_MEDIA, "the body has to be application/json"};
    }
    std::string reason;
    std::string key;
    if (!fault && !read_query(call.request.query, call.query, reason, key)) {
        fault = {Fault_Kind::INVALID_PARAMS, reason, key};
    }
    if (!fault && found->answer != VIEW) {
        for (const auto& pair : call.query) {
            const bool is_known = std::ranges::any_of(found->parameters, [&](const REST_Parameter& parameter) {
                return parameter.in == std::string_view("query") && parameter.name == pair.first;
            });
            if (!is_known) {
                fault = {Fault_Kind::INVALID_PARAMS, "the path has no such parameter", pair.first};
                break;
            }
        }
    }
    for (const REST_Parameter& parameter : found->parameters) {
        if (!fault && parameter.required && parameter.in == std::string_view("query")
            && call.query.find(parameter.name) == call.query.end())
        {
            fault = {Fault_Kind::INVALID_PARAMS, "the path needs this parameter", parameter.name};
        }
    }
    if (fault) {
        refuse_with(fault, rest_refusal(fault));
        return;
    }
    route(std::move(call), *found);
}

void REST_Front::route(Call call, const REST_Path& path)
{
    const std::string_view id = path.id;
    const auto read_taker = [](const Reply_Taker& taker) {
        return [taker](const Fault& fault, Reply reply) { taker(fault ? rest_refusal(fault) : std::move(reply)); };
    };
    if (id == "commit" || id == "update") {
        id == "commit" ? write(std::move(call)) : update(std::move(call));
    } else if (id == "select") {
        select(std::move(call));
    } else if (id == "exists") {
        const std::string uuid = call.take("uuid");
        operations_.exists(Protocol::REST, call.principal, uuid, [uuid, taker = call.taker](const Fault& fault) {
            Reply reply;
            reply.body = R"({"result":true,"uuid":)" + json_string(uuid) + '}';
            taker(fault ? rest_refusal(fault) : std::move(reply));
        });
    } else if (id == "document") {
        operations_.document(Protocol::REST, call.principal, call.segment, read_taker(call.taker));
    } else if (id == "health") {
        health(std::move(call));
    } else if (id == "metrics") {
        metrics(call);
    } else {
        openapi(call);
    }
}

void REST_Front::write(Call call)
{
    Write_Request request;
    const std::string action = call.take("action");
    if (!action.empty()) {
        const auto place = std::ranges::find(actions, action);
        if (place == std::end(actions)) {
            const Request_Watch watch(operations_.metrics(), Protocol::REST, "invalid");
            std::string known;
            for (const char* const name : actions) {
                known += (known.empty() ? "" : ", ") + std::string(name);
            }
            const Fault fault = {Fault_Kind::INVALID_PARAMS, "there is no such action; known are: " + known, "action"};
            watch.done(fault);
            call.refuse(fault);
            return;
        }
        request.operation = action_operations[place - std::begin(actions)];
    }
    request.params = std::move(call.request.body);
    request.id = std::move(call.request.idempotency_key);
    const Write_Operation operation = request.operation;
    operations_.write(Protocol::REST, call.principal, std::move(request),
                      [operation, taker = std::move(call.taker)](const Fault& fault, const Write_Answer& answer) {
                          if (fault) {
                              taker(rest_refusal(fault));
                              return;
                          }
                          Reply reply;
                          reply.status = answer.queued ? 202 : 200;
                          // The pieces alone: operators take them as they come.
                          reply.body =
                              operation == Write_Operation::ABORT ? pieces_of(answer) : write_result(operation, answer);
                          taker(std::move(reply));
                      });
}

void REST_Front::update(Call call)
{
    Write_Request request;
    request.operation = Write_Operation::UPDATE;
    request.uuid = call.take("uuid");
    request.params = std::move(call.request.body);
    request.id = std::move(call.request.idempotency_key);
    operations_.write(Protocol::REST, call.principal, std::move(request),
                      [taker = std::move(call.taker)](const Fault& fault, const Write_Answer& answer) {
                          Reply reply;
                          reply.body = write_result(Write_Operation::UPDATE, answer);
                          taker(fault ? rest_refusal(fault) : std::move(reply));
                      });
}

void REST_Front::select(Call call)
{
    std::string module = call.take("module");
    std::string view = call.take("view");
    json_spirit::Object parameters;
    for (auto& [name, value] : call.query) {
        if (name != "module" && name != "view") {
            parameters[name] = json_spirit::Value(std::move(value));
        }
    }
    operations_.select(Protocol::REST, call.principal, std::move(module), std::move(view), std::move(parameters), {},
                       {}, [taker = std::move(call.taker)](const Fault& fault, Reply reply) {
                           taker(fault ? rest_refusal(fault) : std::move(reply));
                       });
}

void REST_Front::health(Call call)
{
    operations_.health(Protocol::REST, [taker = std::move(call.taker)](const Fault& fault) {
        Reply reply;
        reply.body = R"({"status":"ok"})";
        taker(fault ? rest_refusal(fault, 503) : std::move(reply));
    });
}

void REST_Front::metrics(const Call& call)
{
    Reply reply;
    reply.content_type = "text/plain; version=0.0.4; charset=utf-8";
    reply.body = operations_.metrics().text();
    call.taker(std::move(reply));
}

void REST_Front::openapi(const Call& call)
{
    Reply reply;
    reply.body = openapi_description();
    call.taker(std::move(reply));
}

} // namespace catalog::service
