#include "platform/database/detail/postgresql_pipeline.h"

#include "platform/text/log.h"

#include <algorithm>
#include <libpq-fe.h>

namespace database_detail {

namespace {

constexpr int binary_results = 1;

void log_notice(void*, const char* text)
{
    log_at(LM_DEBUG, "Database: %C", text);
}

} // namespace

void Result_Deleter::operator()(pg_result* result) const
{
    PQclear(result);
}

Pipeline::~Pipeline()
{
    disconnect();
}

void Pipeline::disconnect()
{
    PQfinish(connection_);
    connection_ = nullptr;
    first_ += slots_.size();
    slots_.clear();
    read_ = flushed_ = 0;
    is_synced_ = true;
    failure_ = {};
}

bool Pipeline::connect(const std::string& url)
{
    disconnect();
    // What follows the URL overrides it, what precedes it gives way to it.
    const char* const keywords[] = {"connect_timeout", "fallback_application_name", "dbname", "client_encoding",
                                    nullptr};
    const char* const values[] = {"15", "backup-set", url.c_str(), "UTF8", nullptr};
    connection_ = PQconnectdbParams(keywords, values, 1);
    if (PQstatus(connection_) != CONNECTION_OK) {
        return false;
    }
    PQsetNoticeProcessor(connection_, log_notice, nullptr);
    // Statements are read all at once: the plan for all rows is the best one.
    const Result_Ptr settings(PQexec(connection_, "SET TimeZone TO 'UTC'; SET standard_conforming_strings TO on; "
                                                  "SET bytea_output TO hex; SET cursor_tuple_fraction TO 1; "
                                                  "SET client_min_messages TO warning"));
    return PQresultStatus(settings.get()) == PGRES_COMMAND_OK && PQenterPipelineMode(connection_) == 1;
}

bool Pipeline::is_connected() const
{
    return PQstatus(connection_) == CONNECTION_OK;
}

bool Pipeline::look_connected()
{
    // A server that goes says why before it hangs up: two reads.
    for (int i = 0; i < 2 && is_connected(); ++i) {
        PQconsumeInput(connection_);
    }
    return is_connected();
}

Pipeline::Ticket Pipeline::push(int sent, bool is_sync, const Statement_Ptr& statement)
{
    if (sent == 1) {
        slots_.push_back({is_sync, is_sync, syncs_, statement, nullptr});
        is_synced_ = is_sync;
        return first_ + slots_.size() - 1;
    }
    // Never answered: `take` gives null for a ticket without a slot.
    return static_cast<Ticket>(-1);
}

Pipeline::Ticket Pipeline::prepare(const std::string& name, const std::string& text, const Wire_Parameters& parameters,
                                   const Statement_Ptr& about)
{
    const int sent = PQsendPrepare(connection_, name.c_str(), text.c_str(), parameters.count(), parameters.types());
    return push(sent, false, about);
}

Pipeline::Ticket Pipeline::run_prepared(const std::string& name, const Wire_Parameters& parameters,
                                        const Statement_Ptr& about)
{
    const int sent = PQsendQueryPrepared(connection_, name.c_str(), parameters.count(), parameters.values(),
                                         parameters.lengths(), parameters.formats(), binary_results);
    return push(sent, false, about);
}

Pipeline::Ticket Pipeline::run(const std::string& text, const Wire_Parameters& parameters, const Statement_Ptr& about)
{
    const int sent = PQsendQueryParams(connection_, text.c_str(), parameters.count(), parameters.types(),
                                       parameters.values(), parameters.lengths(), parameters.formats(), binary_results);
    return push(sent, false, about);
}

Pipeline::Ticket Pipeline::run(const char* command)
{
    const int sent = PQsendQueryParams(connection_, command, 0, nullptr, nullptr, nullptr, nullptr, binary_results);
    return push(sent, false, nullptr);
}

Pipeline::Ticket Pipeline::sync()
{
    const Ticket ticket = push(PQpipelineSync(connection_), true, nullptr);
    flushed_ = slots_.size();
    ++syncs_;
    return ticket;
}

void Pipeline::flush()
{
    if (flushed_ < slots_.size()) {
        PQsendFlushRequest(connection_);
        flushed_ = slots_.size();
    }
    PQflush(connection_);
}

void Pipeline::drop(Ticket ticket)
{
    if (ticket >= first_ && ticket - first_ < slots_.size()) {
        Slot& slot = slots_[ticket - first_];
        slot.is_dropped = true;
        slot.result.reset();
        forget_read();
    }
}

void Pipeline::drop_all()
{
    for (Slot& slot : slots_) {
        slot.is_dropped = true;
        slot.result.reset();
    }
    forget_read();
}

Result_Ptr Pipeline::take(Ticket ticket)
{
    if (ticket < first_ || ticket - first_ >= slots_.size()) {
        return nullptr;
    }
    while (read_ <= ticket - first_) {
        read_one();
    }
    Slot& slot = slots_[ticket - first_];
    Result_Ptr result = std::move(slot.result);
    slot.is_dropped = true;
    forget_read();
    return result;
}

void Pipeline::drain()
{
    if (!is_synced_) {
        sync();
    }
    while (read_ < slots_.size()) {
        read_one();
    }
    forget_read();
}

/// The next result that comes: of a command one and a null behind it, of a sync one alone.
Result_Ptr Pipeline::receive(bool is_sync)
{
    Result_Ptr result(PQgetResult(connection_));
    if (!is_sync) {
        Result_Ptr more(result != nullptr ? PQgetResult(connection_) : nullptr);
        while (more != nullptr) {
            more.reset(PQgetResult(connection_));
        }
        return result;
    }
    while (result != nullptr && PQresultStatus(result.get()) != PGRES_PIPELINE_SYNC) {
        result.reset(PQgetResult(connection_)); // the server's last word before it hangs up
    }
    return result;
}

void Pipeline::read_one()
{
    Slot& slot = slots_[read_];
    if (is_connected()) {
        if (flushed_ <= read_) {
            flush();
        }
        slot.result = receive(slot.is_sync);
    }
    ++read_;
    if (!failure_.happened && slot.syncs >= scope_ && slot.result != nullptr
        && PQresultStatus(slot.result.get()) == PGRES_FATAL_ERROR)
    {
        const char* const sqlstate = PQresultErrorField(slot.result.get(), PG_DIAG_SQLSTATE);
        const char* const message = PQresultErrorField(slot.result.get(), PG_DIAG_MESSAGE_PRIMARY);
        failure_ = {true, sqlstate != nullptr ? sqlstate : "",
                    message != nullptr ? message : PQresultErrorMessage(slot.result.get()), slot.statement};
    }
    if (slot.is_dropped) {
        slot.result.reset();
    }
}

void Pipeline::forget_read()
{
    while (read_ > 0 && slots_.front().is_dropped) {
        slots_.pop_front();
        ++first_;
        --read_;
        flushed_ -= flushed_ > 0 ? 1 : 0;
    }
}

void Pipeline::begin_scope()
{
    scope_ = syncs_;
    failure_ = {};
}

std::string Pipeline::message() const
{
    return PQerrorMessage(connection_);
}

Result_Ptr Pipeline::run_script(const std::string& script)
{
    PQexitPipelineMode(connection_);
    Result_Ptr result(PQexec(connection_, script.c_str()));
    const ExecStatusType status = PQresultStatus(result.get());
    if (status == PGRES_COPY_IN || status == PGRES_COPY_OUT || status == PGRES_COPY_BOTH) {
        disconnect();
        return nullptr;
    }
    PQenterPipelineMode(connection_);
    return result;
}

} // namespace database_detail
