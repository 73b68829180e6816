// A server before a fake front, started by the test when its options are set.
#pragma once

#include "catalog/service/server.h"
#include "tests/catalog/service/fake_front.h"
#include "tests/support/raw_client.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>

class Server_Test : public ::testing::Test
{
protected:
    using Server = catalog::service::Server;
    using Server_Counters = catalog::service::Server_Counters;
    using milliseconds = std::chrono::milliseconds;

    void start()
    {
        std::string error;
        server_ = Server::start(options_, front_, error);
        ASSERT_TRUE(server_) << error;
    }

    Raw_Client client() const { return Raw_Client(server_->port()); }

    /// A WebSocket that is open.
    Raw_Client web_socket() const
    {
        Raw_Client client(server_->port());
        EXPECT_EQ(client.upgrade().status, 101);
        return client;
    }

    static std::string get(const std::string& target, const std::string& headers = {})
    {
        return "GET " + target + " HTTP/1.1\r\nHost: test\r\n" + headers + "\r\n";
    }

    static std::string post(const std::string& target, const std::string& body, const std::string& headers = {})
    {
        return "POST " + target + " HTTP/1.1\r\nHost: test\r\nContent-Length: " + std::to_string(body.size()) + "\r\n"
               + headers + "\r\n" + body;
    }

    /// Waits until `condition` holds; false when it does not in time.
    static bool wait_for(const std::function<bool()>& condition)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > deadline) {
                return false;
            }
            std::this_thread::sleep_for(milliseconds(2));
        }
        return true;
    }

    Fake_Front front_;
    catalog::service::Server_Options options_;
    std::unique_ptr<Server> server_; ///< goes before the front
};
