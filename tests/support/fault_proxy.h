// A proxy between a client and the catalog service that does to connections what networks and crashing peers do.
//
// It forwards HTTP/1.1 and, behind an upgrade, WebSocket frames. For each message of the client (an HTTP request, a text
// frame) a fault is drawn from a seeded generator, so a run can be repeated as far as threads allow. All connections of a
// proxy share the generator. Thread-safe.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <list>
#include <mutex>
#include <random>
#include <string>
#include <thread>

class Fault_Proxy
{
public:
    enum Fault : std::size_t
    {
        NONE,
        DROP_BEFORE_REQUEST, ///< the connection ends, the service never sees the message
        DROP_AFTER_REQUEST,  ///< the service gets the message, the client no byte of the answer
        DROP_IN_ANSWER,      ///< the client gets one byte of it
        DELAY,               ///< the message comes late
        DUPLICATE,           ///< the service gets it twice
        GARBAGE,             ///< the client gets random bytes for an answer
        FAULTS
    };

    /// Of 1000 messages `per_mille` get a fault, each kind as often as the others. Throws std::system_error.
    Fault_Proxy(std::uint16_t target_port, std::uint64_t seed, int per_mille);
    Fault_Proxy(const Fault_Proxy&) = delete;
    Fault_Proxy& operator=(const Fault_Proxy&) = delete;
    ~Fault_Proxy();

    /// Where clients connect to, on 127.0.0.1.
    std::uint16_t port() const { return port_; }

    /// The service listens on another port from now on.
    void target(std::uint16_t port) { target_ = port; }

    /// From now on; for a client that has to get through, or for one certain fault.
    void per_mille(int rate) { per_mille_ = rate; }
    void only(Fault fault) { only_ = fault; }

    /// How often a fault happened so far.
    int count(Fault fault) const { return counts_[fault]; }

private:
    class Connection;
    struct Running
    {
        std::thread thread = {};
        std::atomic<bool> is_done{false};
    };

    void accept_connections();
    Fault draw();
    std::string garbage();
    int random_delay_ms();

    int listener_ = -1;
    std::uint16_t port_ = 0;
    std::atomic<std::uint16_t> target_;
    std::atomic<int> per_mille_;
    std::atomic<Fault> only_{FAULTS};
    std::array<std::atomic<int>, FAULTS> counts_{};
    std::mutex random_mutex_;
    std::mt19937_64 random_;
    std::atomic<bool> stopped_{false};
    std::list<Running> connections_; ///< of the accepting thread
    std::thread acceptor_;
};
