// Carries backup sets to the catalog service and reads its views, by JSON-RPC over the process-wide channel.
//
// A request that could not be delivered is sent again after growing waits, until the operator's limits are spent. Every
// failure is false and has been logged; nothing is thrown. Calls block the calling thread, up to 600 seconds for an answer
// besides the waits. The operator holds only its limits, takes no lock, and is copied freely: one may serve several
// threads. In which order a set's operations come is the service's rule and not looked at here.
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
    /// `retries`: how often a request is sent again after its first attempt. `retry_timeout`: seconds; once the waits of
    /// one request add up to them, it is given up. -1 is no limit.
    Catalog_Operator(int retries, int retry_timeout);
    Catalog_Operator(const Catalog_Operator&) = default;
    Catalog_Operator& operator=(const Catalog_Operator&) = default;
    virtual ~Catalog_Operator();

    /// Replaces both limits.
    void init(int retries, int retry_timeout);

    // The order of the virtual operations is part of the interface. Sets are records or documents of records.

    /// Records a finished set. With `confirm`, a commit that the service has only queued is awaited: see
    /// `commit_confirm`.
    virtual bool commit(Backup_Set& set, bool confirm);
    virtual bool commit(const json_spirit::Value& set, bool confirm);

    /// Changes a recorded set. True when the service answered without an error; what it answered is not looked at.
    virtual bool update(Backup_Set& set);
    virtual bool update(const json_spirit::Value& set);

    /// Makes a set known when its run starts.
    virtual bool initialize(Backup_Set& set);
    virtual bool initialize(const json_spirit::Value& set);

    /// Adds `pieces`, objects as records write them, to a set that was initialized.
    virtual bool add_piece(const std::string& uuid, const json_spirit::Array& pieces);

    /// Ends the growth of a set.
    virtual bool complete(Backup_Set& set);
    virtual bool complete(const json_spirit::Value& set);

    /// Gives a set up. `pieces` becomes what the catalog held for it; on failure it is left alone.
    virtual bool abort(const std::string& uuid, json_spirit::Array& pieces);

    /// Reads a view; `result` becomes the service's whole answer.
    virtual bool get_view(const char* module, const char* view, const json_spirit::Object& param,
                          json_spirit::Value& result) const;

    /// Reads the first row of a view. False when there is none; `row` is then left alone, as on any failure.
    virtual bool get_first_view(const char* module, const char* view, const json_spirit::Object& param,
                                json_spirit::Value& row) const;

    /// Judges the answer to a commit. When the commit was only queued, the service is asked over REST until it knows the
    /// set: by `client`, or upstream when that is null. The client's error logging is off meanwhile and on afterwards; no
    /// other thread may use it during that time.
    virtual bool commit_confirm(const json_spirit::Value& result, JSON_RESTful_Client* client);

    /// Copies the first of an answer's "rows". False when there is none; only an object without rows is logged.
    bool get_first_row(const json_spirit::Value& result, json_spirit::Value& row) const;

    /// True when the answer is an object whose "result" is true; else it is logged.
    bool check_request_result(const json_spirit::Value& result) const;

    /// Sends one request and hands over the result of its answer; `result` is left alone on failure. A record is written
    /// anew for each attempt, which fails when the record does.
    bool global_json_rpc_request(const char* method, const json_spirit::Value& params,
                                 json_spirit::Value& result) const;
    bool global_json_rpc_request(const char* method, Backup_Set& set, json_spirit::Value& result) const;

private:
    ACE_INT32 retries_;
    ACE_INT32 retry_timeout_;
};
