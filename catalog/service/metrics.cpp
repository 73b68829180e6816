#include "catalog/service/metrics.h"

#include "backup_set/common/backup_set_state.h"
#include "catalog/store/refusal.h"
#include "platform/database/query_result_printer.h"

#include <algorithm>
#include <charconv>
#include <initializer_list>
#include <optional>

namespace catalog::service {

namespace {

using Label = std::pair<const char*, std::string_view>;

/// The text format of Prometheus.
class Exposition
{
public:
    void metric(std::string_view name, std::string_view help, std::string_view type)
    {
        text_ += "# HELP ";
        text_ += name;
        text_ += ' ';
        text_ += help;
        text_ += "\n# TYPE ";
        text_ += name;
        text_ += ' ';
        text_ += type;
        text_ += '\n';
    }

    template <class Number>
    void sample(std::string_view name, std::initializer_list<Label> labels, Number value)
    {
        text_ += name;
        char separator = '{';
        for (const auto& [label, label_value] : labels) {
            text_ += separator;
            separator = ',';
            text_ += label;
            text_ += "=\"";
            escape(label_value);
            text_ += '"';
        }
        if (labels.size() > 0) {
            text_ += '}';
        }
        text_ += ' ';
        number(value);
        text_ += '\n';
    }

    template <class Number>
    static std::string number_text(Number value)
    {
        std::array<char, 64> room;
        const auto [end, fault] = std::to_chars(room.data(), room.data() + room.size(), value);
        return fault == std::errc() ? std::string(room.data(), end) : std::string("NaN");
    }

    std::string take() { return std::move(text_); }

private:
    template <class Number>
    void number(Number value)
    {
        text_ += number_text(value);
    }

    void escape(std::string_view value)
    {
        for (const char c : value) {
            switch (c) {
            case '\\':
                text_ += "\\\\";
                break;
            case '"':
                text_ += "\\\"";
                break;
            case '\n':
                text_ += "\\n";
                break;
            default:
                text_ += c;
            }
        }
    }

    std::string text_;
};

const char* kind_name(Database_Error::Kind kind)
{
    switch (kind) {
    case Database_Error::NONE:
        return "none";
    case Database_Error::STATEMENT:
        return "statement";
    case Database_Error::CONSTRAINT:
        return "constraint";
    case Database_Error::BUSY:
        return "busy";
    case Database_Error::FULL:
        return "full";
    case Database_Error::READ_ONLY:
        return "read_only";
    case Database_Error::CORRUPT:
        return "corrupt";
    case Database_Error::CONNECTION_LOST:
        return "connection_lost";
    case Database_Error::CANCELLED:
        return "cancelled";
    case Database_Error::OTHER:
        break;
    }
    return "other";
}

/// Rows of a state's bit and a number.
class State_Printer : public database::sql::Query_Result_Token_Printer
{
public:
    explicit State_Printer(std::map<std::string, std::int64_t>& copies) : copies_(copies) {}

    bool print_int(int index, const char*, ACE_INT64 value) override
    {
        if (index == 0) {
            bit_ = value;
            return true;
        }
        for (const json_spirit::Value& state : Backup_Set_State(static_cast<ACE_UINT64>(bit_)).states()) {
            copies_[state.get_str()] += value;
        }
        return true;
    }

private:
    std::map<std::string, std::int64_t>& copies_;
    ACE_INT64 bit_ = 0;
};

void keep_newest(std::map<std::string, std::time_t>& last, const std::string& resource, std::time_t time)
{
    const auto [place, is_new] = last.try_emplace(resource, time);
    if (!is_new) {
        place->second = std::max(place->second, time);
    }
}

} // namespace

void Metrics::answered(std::string_view protocol, std::string_view operation, std::string_view outcome,
                       std::chrono::steady_clock::duration time)
{
    const double seconds = std::chrono::duration<double>(time).count();
    const auto place = static_cast<std::size_t>(std::ranges::lower_bound(bounds, seconds) - bounds.begin());
    const std::lock_guard lock(mutex_);
    ++requests_[{std::string(protocol), std::string(operation), std::string(outcome)}];
    Histogram& histogram = latencies_[{std::string(protocol), std::string(operation)}];
    if (place < bounds.size()) {
        ++histogram.counts[place];
    }
    ++histogram.count;
    histogram.sum += seconds;
}

void Metrics::database_failed(const Database_Error& error)
{
    const std::lock_guard lock(mutex_);
    ++database_errors_[kind_name(error.kind)];
}

void Metrics::Commits::add(const Write_Answer& answer)
{
    ++count[answer.type];
    if (!answer.resource_uuid.empty() && answer.backup_end_time != 0) {
        keep_newest(newest, answer.resource_uuid, answer.backup_end_time);
    }
}

void Metrics::Commits::add(const Commits& others)
{
    for (const auto& [type, sets] : others.count) {
        count[type] += sets;
    }
    for (const auto& [resource, time] : others.newest) {
        keep_newest(newest, resource, time);
    }
}

void Metrics::begin_catalog()
{
    const std::lock_guard lock(mutex_);
    recently_committed_ = {};
}

void Metrics::take_catalog(Catalog_Counts counts)
{
    const std::lock_guard lock(mutex_);
    committed_ = {std::move(counts.counters.committed), {}};
    for (const Catalog_Counters::Resource& resource : counts.counters.resources) {
        committed_.newest[resource.uuid] = resource.newest_end;
    }
    committed_.add(recently_committed_);
    open_ = std::move(counts.counters.open);
    copies_ = std::move(counts.copies);
    queue_ = counts.counters.queue;
}

void Metrics::committed(const Write_Answer& answer)
{
    const std::lock_guard lock(mutex_);
    committed_.add(answer);
    recently_committed_.add(answer);
}

void Metrics::take_queue(const Queue_Depth& depth)
{
    const std::lock_guard lock(mutex_);
    queue_ = depth;
}

std::string Metrics::text() const
{
    Exposition out;
    const std::lock_guard lock(mutex_);

    out.metric("backup_set_requests_total", "Requests that were answered.", "counter");
    for (const auto& [labels, count] : requests_) {
        const auto& [protocol, operation, outcome] = labels;
        out.sample("backup_set_requests_total",
                   {{"protocol", protocol}, {"operation", operation}, {"outcome", outcome}}, count);
    }
    out.metric("backup_set_request_seconds", "Time from a whole request to its answer.", "histogram");
    for (const auto& [labels, histogram] : latencies_) {
        const auto& [protocol, operation] = labels;
        std::uint64_t below = 0;
        for (std::size_t i = 0; i < bounds.size(); ++i) {
            below += histogram.counts[i];
            out.sample("backup_set_request_seconds_bucket",
                       {{"protocol", protocol}, {"operation", operation}, {"le", Exposition::number_text(bounds[i])}},
                       below);
        }
        out.sample("backup_set_request_seconds_bucket",
                   {{"protocol", protocol}, {"operation", operation}, {"le", "+Inf"}}, histogram.count);
        out.sample("backup_set_request_seconds_sum", {{"protocol", protocol}, {"operation", operation}}, histogram.sum);
        out.sample("backup_set_request_seconds_count", {{"protocol", protocol}, {"operation", operation}},
                   histogram.count);
    }
    out.metric("backup_set_database_errors_total", "Database operations that failed, by what they failed with.",
               "counter");
    for (const auto& [kind, count] : database_errors_) {
        out.sample("backup_set_database_errors_total", {{"kind", kind}}, count);
    }
    out.metric("backup_set_sets", "Sets by the state of their life; the committed ones by type.", "gauge");
    for (const auto& [type, count] : committed_.count) {
        out.sample("backup_set_sets", {{"state", "committed"}, {"type", type}}, count);
    }
    for (const auto& [state, count] : open_) {
        out.sample("backup_set_sets", {{"state", state}, {"type", ""}}, count);
    }
    out.metric("backup_set_sets_with_copy", "Committed sets that have a copy in a state.", "gauge");
    for (const auto& [state, count] : copies_) {
        out.sample("backup_set_sets_with_copy", {{"state", state}}, count);
    }
    out.metric("backup_set_last_set_timestamp_seconds", "End of the newest committed set of a resource.", "gauge");
    for (const auto& [resource, time] : committed_.newest) {
        out.sample("backup_set_last_set_timestamp_seconds", {{"resource", resource}}, static_cast<std::int64_t>(time));
    }
    out.metric("backup_set_queue_waiting", "Queued commits that wait to be applied.", "gauge");
    out.sample("backup_set_queue_waiting", {}, queue_.waiting);
    out.metric("backup_set_queue_failed", "Queued commits that can never be applied.", "gauge");
    out.sample("backup_set_queue_failed", {}, queue_.failed);

    for (const Gauge& gauge : gauges_) {
        out.metric(gauge.name, gauge.help, gauge.type);
        out.sample(gauge.name, {}, gauge.value());
    }
    return out.take();
}

bool count_catalog(Catalog_Store& store, Catalog_Counts& counts, Error& error)
{
    Catalog_Counts found;
    if (!store.read_counters(found.counters, error)) {
        return false;
    }
    static const SQL by_state("SELECT state_bit, count(*) FROM backup_set_state GROUP BY state_bit");
    State_Printer printer(found.copies);
    if (!store.connection().query_and_print(by_state, printer, GM_ORM_ROWS)) {
        return fail(error, store.connection().last_error());
    }
    counts = std::move(found);
    return true;
}

} // namespace catalog::service
