#include "catalog/service/service.h"

#include <algorithm>
#include <thread>
#include <utility>

namespace catalog::service {

namespace {

/// How many connections write when nobody says it. SQLite has one write lock: more would wait for each other. A PostgreSQL
/// server is taken to have as many processors as this machine: fewer connections would leave some idle, more would make
/// the transactions smaller, which costs more than it gains.
std::size_t suitable_writers(const std::string& database)
{
    return database.starts_with("sqlite:") ? 1 : std::clamp(std::thread::hardware_concurrency(), 2u, 8u);
}

class Store_Target final : public Write_Target
{
public:
    explicit Store_Target(std::unique_ptr<Catalog_Store> store) : store_(std::move(store)) {}

    std::vector<Write_Answer> apply(std::span<Life_Step> steps) override { return store_->apply(steps); }

private:
    std::unique_ptr<Catalog_Store> store_;
};

/// Opens a store of the catalog, whose schema has been looked at.
std::unique_ptr<Catalog_Store> open_store(const std::string& database, Error& error)
{
    return Catalog_Store::open(database, Catalog_Store::Schema_Policy::CREATE, error);
}

} // namespace

Service::Service(const Service_Options& options) : options_(options) {}

Service::~Service()
{
    if (server_ != nullptr) {
        stop(std::chrono::milliseconds(0));
    }
}

std::unique_ptr<Service> Service::start(Service_Options options, Error& error, std::string& fault)
{
    error = {};
    if (open_store(options.database, error) == nullptr) {
        fault = error.message;
        return nullptr;
    }
    std::unique_ptr<Access_Keys> keys;
    if (!options.access_keys_file.empty()) {
        keys = Access_Keys::open(options.access_keys_file, fault);
        if (keys == nullptr) {
            return nullptr;
        }
    }
    if (options.writes.writers == 0) {
        options.writes.writers = suitable_writers(options.database);
    }
    std::unique_ptr<Service> service(new Service(options));
    const auto open = [database = options.database](Error& reason) { return open_store(database, reason); };
    const auto open_target = [open](Error& reason) -> std::unique_ptr<Write_Target> {
        auto store = open(reason);
        return store != nullptr ? std::make_unique<Store_Target>(std::move(store)) : nullptr;
    };
    const auto open_reader = [open, limit = options.statement_limit](Error& reason) {
        auto store = open(reason);
        if (store != nullptr) {
            store->connection().time_limit(limit);
        }
        return store;
    };
    service->writes_ = std::make_unique<Write_Engine>(options.writes, open_target);
    service->reads_ = std::make_unique<Read_Engine>(options.reads, open_reader);
    service->queue_ = std::make_unique<Queue_Worker>(Queue_Worker::Options{}, open, service->metrics_);
    service->housekeeping_ = std::make_unique<Housekeeping>(Housekeeping::Options{}, open, service->metrics_);
    service->operations_ =
        std::make_unique<Operations>(*service->writes_, *service->reads_, service->metrics_, options.queue_commits);
    service->operations_->on_queued([queue = service->queue_.get()] { queue->wake(); });
    service->front_ = std::make_unique<Catalog_Front>(*service->operations_, std::move(keys), options.admission);
    service->add_gauges();
    service->server_ = Server::start(options.server, *service->front_, fault);
    if (service->server_ == nullptr) {
        return nullptr;
    }
    service->is_listening_ = true;
    return service;
}

void Service::add_gauges()
{
    const auto of_server = [this](auto member) {
        return [this, member] { return is_listening_ ? static_cast<double>(server_->counters().*member) : 0.0; };
    };
    metrics_.add({"backup_set_connections", "Open connections.", "gauge", of_server(&Server_Counters::connections)});
    metrics_.add({"backup_set_web_sockets", "Open connections that are WebSockets.", "gauge",
                  of_server(&Server_Counters::web_sockets)});
    metrics_.add({"backup_set_requests_in_flight", "Requests that wait for their answer.", "gauge",
                  of_server(&Server_Counters::requests_in_flight)});
    metrics_.add({"backup_set_connections_accepted_total", "Connections that were accepted.", "counter",
                  of_server(&Server_Counters::accepted)});
    metrics_.add({"backup_set_connections_refused_total", "Connections over the limit.", "counter",
                  of_server(&Server_Counters::refused_connections)});
    metrics_.add(
        {"backup_set_http_requests_total", "Requests of HTTP.", "counter", of_server(&Server_Counters::requests)});
    metrics_.add({"backup_set_web_socket_messages_total", "Messages of WebSockets.", "counter",
                  of_server(&Server_Counters::messages)});
    metrics_.add({"backup_set_refused_requests_total", "Requests that the server refused by itself.", "counter",
                  of_server(&Server_Counters::refused_requests)});
    metrics_.add({"backup_set_writes_waiting", "Writes that wait for a transaction.", "gauge",
                  [this] { return static_cast<double>(writes_->waiting()); }});
    metrics_.add({"backup_set_reads_waiting", "Reads that wait for a connection.", "gauge",
                  [this] { return static_cast<double>(reads_->waiting()); }});
}

void Service::stop(std::chrono::milliseconds deadline)
{
    server_->stop(deadline);
    writes_->stop();
    reads_->stop();
    queue_->stop();
    housekeeping_->stop();
}

} // namespace catalog::service
