// Carries backup sets to the catalog service and reads its views, by JSON-RPC over the process-wide channel.
//
// A request that could not be delivered is sent again after growing waits, within the operator's limits. Every operation
// is false on failure, with one log line that says why; nothing is thrown. Calls block the calling thread. The operator
// holds only its limits and has no lock: one operator may serve several threads.
#pragma once

#include "backup_set/common/export.h"
#include "platform/json/value.h"

#include <ace/Basic_Types.h>

#include <string>

class Backup_Set;
class JSON_RESTful_Client;

class BACKUP_SET_EXPORT Catalog_Operator
{
public:
    /// `retries`: attempts after the first; `retry_timeout`: seconds that the summed waits of one request may reach.
    /// -1: no limit.
    Catalog_Operator(int retries, int retry_timeout);
    Catalog_Operator(const Catalog_Operator&) = default;
    Catalog_Operator& operator=(const Catalog_Operator&) = default;
    virtual ~Catalog_Operator();

    /// Replaces both limits.
    void init(int retries, int retry_timeout);

    /// Records a finished set. With `confirm`, a commit that the service has only queued is awaited.
    virtual bool commit(Backup_Set& set, bool confirm);
    virtual bool commit(const json_spirit::Value& set, bool confirm);

    /// Changes a recorded set. Only the delivery is judged.
    virtual bool update(Backup_Set& set);
    virtual bool update(const json_spirit::Value& set);

    /// Makes a set known when its run starts.
    virtual bool initialize(Backup_Set& set);
    virtual bool initialize(const json_spirit::Value& set);

    virtual bool add_piece(const std::string& uuid, const json_spirit::Array& pieces);

    virtual bool complete(Backup_Set& set);
    virtual bool complete(const json_spirit::Value& set);

    /// Forgets a set. `pieces` gets those that the catalog held for it; on failure it is left alone.
    virtual bool abort(const std::string& uuid, json_spirit::Array& pieces);

    /// Reads a view of the catalog; `result` is the service's whole answer.
    virtual bool get_view(const char* module, const char* view, const json_spirit::Object& param,
                          json_spirit::Value& result) const;

    /// The first row of a view; `row` is left alone when there is none.
    virtual bool get_first_view(const char* module, const char* view, const json_spirit::Object& param,
                                json_spirit::Value& row) const;

    /// Judges the result of a commit and, when it was only queued, asks until the service knows the set. Without `client`
    /// upstream is asked. The client's error logging is off meanwhile: it must not be used by another thread.
    virtual bool commit_confirm(const json_spirit::Value& result, JSON_RESTful_Client* client);

    /// The first of the "rows" of a view's answer.
    bool get_first_row(const json_spirit::Value& result, json_spirit::Value& row) const;

    /// True when the answer is an object whose "result" is true.
    bool check_request_result(const json_spirit::Value& result) const;

    bool global_json_rpc_request(const char* method, const json_spirit::Value& params,
                                 json_spirit::Value& result) const;
    bool global_json_rpc_request(const char* method, Backup_Set& set, json_spirit::Value& result) const;

private:
    template <class Attempt>
    bool deliver(Attempt attempt) const;

    ACE_INT32 retries_;
    ACE_INT32 retry_timeout_;
};
