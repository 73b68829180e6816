// What can be done through the service, whatever the protocol: rights, the engines behind, and the counting.
//
// Called from any thread; answers come from any thread, once.
#pragma once

#include "catalog/service/fault.h"
#include "catalog/service/front.h"
#include "catalog/service/metrics.h"
#include "catalog/service/read_engine.h"
#include "catalog/service/view.h"
#include "catalog/service/write_engine.h"
#include "platform/json/value.h"

#include <functional>
#include <string>
#include <string_view>

namespace catalog::service {

enum class Protocol
{
    RPC,
    REST
};

/// "rpc", "rest".
const char* protocol_name(Protocol protocol);

/// The result of a step that was done, as both protocols write it.
std::string write_result(Write_Operation operation, const Write_Answer& answer);

/// The JSON array of the pieces of an aborted set.
const std::string& pieces_of(const Write_Answer& answer);

/// Says "done" or what went wrong to the metrics when the answer is known.
class Request_Watch
{
public:
    Request_Watch(Metrics& metrics, Protocol protocol, const char* operation) :
        metrics_(metrics), protocol_(protocol), operation_(operation), start_(std::chrono::steady_clock::now())
    {}

    void done(const Fault& fault = {}) const
    {
        metrics_.answered(protocol_name(protocol_), operation_, fault ? fault_code(fault.kind).name : "done",
                          std::chrono::steady_clock::now() - start_);
    }

private:
    Metrics& metrics_;
    Protocol protocol_;
    const char* operation_;
    std::chrono::steady_clock::time_point start_;
};

class Operations
{
public:
    Operations(Write_Engine& writes, Read_Engine& reads, Metrics& metrics, bool queue_commits) :
        writes_(writes), reads_(reads), metrics_(metrics), queue_commits_(queue_commits)
    {}

    /// A fault where the principal may not do what needs `wanted`.
    static Fault check_role(const Principal& principal, Role wanted);

    /// What is called when a commit was put into the queue. To be said before the service begins.
    void on_queued(std::function<void()> wake) { on_queued_ = std::move(wake); }

    using Write_Taker = std::function<void(const Fault& fault, const Write_Answer& answer)>;

    /// A step of a set's life. Only `operation`, `params`, `uuid` and `id` of the request are looked at.
    void write(Protocol protocol, const Principal& principal, Write_Request request, Write_Taker taker);

    using Read_Taker = std::function<void(const Fault& fault, Reply reply)>;

    /// A view's result as the reply's body, between `before` and `after`.
    void select(Protocol protocol, const Principal& principal, std::string module, std::string view,
                json_spirit::Object parameters, std::string before, std::string after, Read_Taker taker);

    /// The bare document of a set.
    void document(Protocol protocol, const Principal& principal, std::string uuid, Read_Taker taker);

    /// NOT_FOUND while the set is not in the catalog.
    void exists(Protocol protocol, const Principal& principal, std::string uuid,
                std::function<void(const Fault&)> taker);

    /// Whether the database answers.
    void health(Protocol protocol, std::function<void(const Fault&)> taker);

    Metrics& metrics() { return metrics_; }

private:
    using View_Opener = std::function<std::unique_ptr<View>(Error& error)>;

    void stream(const Request_Watch& watch, View_Opener open, std::string before, std::string after, Read_Taker taker);

    Write_Engine& writes_;
    Read_Engine& reads_;
    Metrics& metrics_;
    const bool queue_commits_;
    std::function<void()> on_queued_ = [] {};
};

} // namespace catalog::service
