#include "catalog/service/catalog_front.h"

#include <utility>

namespace catalog::service {

namespace {

constexpr int unauthorized = 401;
constexpr int too_many = 429;
constexpr int admitted = 200;

Fault_Kind kind_of(int status)
{
    for (const Fault_Code& code : fault_codes()) {
        // Of several kinds with one status the first that is about HTTP is meant; 400 is a malformed request.
        if (code.status == status && code.kind != Fault_Kind::PARSE_ERROR) {
            return code.kind;
        }
    }
    return status < 500 ? Fault_Kind::INVALID_REQUEST : Fault_Kind::INTERNAL;
}

} // namespace

Catalog_Front::Catalog_Front(Operations& operations, std::unique_ptr<Access_Keys> keys,
                             const Admission_Options& options) :
    rpc_(operations),
    rest_(operations, rpc_), keys_(std::move(keys)), options_(options), attempts_(options.most_failures, options.window)
{
    if (keys_ != nullptr) {
        thread_ = std::thread([this] { run(); });
    }
}

Catalog_Front::~Catalog_Front()
{
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    if (thread_.joinable()) {
        thread_.join();
    }
}

void Catalog_Front::admit(const std::string& peer_address, const std::string* key, Admission_Taker taker)
{
    if (keys_ == nullptr) {
        taker(admitted, {.name = {}, .role = Role::OPERATOR});
        return;
    }
    if (!attempts_.allows(peer_address)) {
        taker(too_many, {});
        return;
    }
    if (key == nullptr || key->empty()) {
        // Nothing was tried: that is no attempt at guessing.
        taker(unauthorized, {});
        return;
    }
    bool has_room = false;
    {
        const std::lock_guard lock(mutex_);
        has_room = waiting_.size() < options_.most_waiting;
        if (has_room) {
            waiting_.push_back([this, peer = peer_address, key = *key, taker] { look_at(peer, key, taker); });
        }
    }
    if (!has_room) {
        taker(too_many, {});
        return;
    }
    wake_.notify_one();
}

void Catalog_Front::run()
{
    while (true) {
        std::function<void()> next;
        {
            std::unique_lock lock(mutex_);
            wake_.wait(lock, [this] { return stopping_ || !waiting_.empty(); });
            if (stopping_) {
                return;
            }
            next = std::move(waiting_.front());
            waiting_.pop_front();
        }
        next();
    }
}

void Catalog_Front::look_at(const std::string& peer, const std::string& key, const Admission_Taker& taker)
{
    if (!attempts_.allows(peer)) { // others of the same peer have failed meanwhile
        taker(too_many, {});
        return;
    }
    const std::optional<Principal> principal = keys_->find(key);
    if (!principal) {
        attempts_.failed(peer);
        taker(unauthorized, {});
        return;
    }
    taker(admitted, *principal);
}

void Catalog_Front::answer(Web_Request request, const Principal& principal, Reply_Taker taker)
{
    rest_.answer(std::move(request), principal, std::move(taker));
}

void Catalog_Front::answer(std::string message, const Principal& principal, Reply_Taker taker)
{
    rpc_.answer(std::move(message), principal, std::move(taker));
}

Reply Catalog_Front::refusal(int status, std::string_view message)
{
    return rest_refusal({kind_of(status), std::string(message)}, status);
}

} // namespace catalog::service
