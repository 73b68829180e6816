#include "platform/http/http_session.h"

#include "platform/http/detail/http_transport.h"
#include "tests/support/scripted_http_peer.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Peer = Scripted_HTTP_Peer;

bool get(HTTP_Session& session)
{
    const std::string target = "/";
    const HTTP_Headers headers;
    HTTP_Response response;
    std::string body;
    return session.transport().exchange({"GET", target, headers, nullptr}, response, body).outcome
           == HTTP_Transport::Outcome::ANSWERED;
}

} // namespace

TEST(HTTP_Session, connects_at_the_first_request_and_keeps_the_connection)
{
    Peer peer({Peer::answer(200), Peer::answer(200)});
    const HTTP_Session_var session(new HTTP_Session("127.0.0.1", peer.port(), false));
    EXPECT_EQ(peer.connections(), 0u);
    EXPECT_TRUE(get(*session));
    EXPECT_TRUE(get(*session));
    EXPECT_EQ(peer.connections(), 1u);
}

TEST(HTTP_Session, lives_and_keeps_its_connection_until_its_last_user_is_gone)
{
    Peer peer({Peer::answer(200), Peer::answer(200)});
    HTTP_Session_var first(new HTTP_Session("127.0.0.1", peer.port(), false));
    EXPECT_TRUE(get(*first));
    HTTP_Session_var second(first);
    first = HTTP_Session_var();
    EXPECT_TRUE(get(*second));
    EXPECT_EQ(peer.requests().at(1).connection, 1u);
    second = HTTP_Session_var();
    EXPECT_TRUE(peer.wait_for_the_end_of_all_connections());
}
