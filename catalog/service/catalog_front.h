// The service's front: who may come in, and which protocol takes what has come. Thread-safe.
#pragma once

#include "catalog/service/access_keys.h"
#include "catalog/service/front.h"
#include "catalog/service/operations.h"
#include "catalog/service/rest_front.h"
#include "catalog/service/rpc_front.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace catalog::service {

struct Admission_Options
{
    std::size_t most_failures = 10; ///< of one peer in a window
    std::chrono::seconds window{60};
    std::size_t most_waiting = 1000; ///< keys that wait to be looked at
};

class Catalog_Front final : public Front
{
public:
    /// Without `keys` everybody may do everything.
    Catalog_Front(Operations& operations, std::unique_ptr<Access_Keys> keys, const Admission_Options& options = {});
    ~Catalog_Front() override;

    void admit(const std::string& peer_address, const std::string* key, Admission_Taker taker) override;
    void answer(Web_Request request, const Principal& principal, Reply_Taker taker) override;
    void answer(std::string message, const Principal& principal, Reply_Taker taker) override;
    Reply refusal(int status, std::string_view message) override;

private:
    void run();
    void look_at(const std::string& peer, const std::string& key, const Admission_Taker& taker);

    RPC_Front rpc_;
    REST_Front rest_;
    const std::unique_ptr<Access_Keys> keys_;
    const Admission_Options options_;
    Attempt_Limit attempts_;

    // Keys are looked at by a thread of their own: that is made to take time.
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<std::function<void()>> waiting_;
    bool stopping_ = false;
    std::thread thread_;
};

} // namespace catalog::service
