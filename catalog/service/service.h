// The whole service: the catalog behind, the server in front, and what is in between.
//
// Belongs to one thread; `port` may be asked from any.
#pragma once

#include "catalog/service/catalog_front.h"
#include "catalog/service/read_engine.h"
#include "catalog/service/server.h"
#include "catalog/service/upkeep.h"
#include "catalog/service/write_engine.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace catalog::service {

struct Service_Options
{
    std::string database;              ///< its URL
    std::string access_keys_file = {}; ///< empty: everybody who can connect may do everything
    bool queue_commits = false;

    Server_Options server = {};
    Write_Options writes = {}; ///< `writers` 0: one for SQLite, two to eight for PostgreSQL, by processors
    Read_Options reads = {};
    Admission_Options admission = {};
    std::chrono::milliseconds statement_limit = std::chrono::seconds(60); ///< of a read; 0: none
};

class Service
{
public:
    /// Opens the catalog, which gets its schema when it has none, and serves. Null with the reason on failure; `error` is
    /// NONE where the catalog is not to blame.
    static std::unique_ptr<Service> start(Service_Options options, Error& error, std::string& fault);

    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;
    ~Service();

    std::uint16_t port() const { return server_->port(); }

    /// Takes no more, answers what has come, within the time given.
    void stop(std::chrono::milliseconds deadline);

private:
    explicit Service(const Service_Options& options);

    void add_gauges();

    const Service_Options options_;
    Metrics metrics_;
    std::unique_ptr<Queue_Worker> queue_;
    std::unique_ptr<Housekeeping> housekeeping_;
    std::unique_ptr<Write_Engine> writes_;
    std::unique_ptr<Read_Engine> reads_;
    std::unique_ptr<Operations> operations_;
    std::unique_ptr<Catalog_Front> front_;
    std::atomic<bool> is_listening_ = false;
    std::unique_ptr<Server> server_; // goes first: it calls the front
};

} // namespace catalog::service
