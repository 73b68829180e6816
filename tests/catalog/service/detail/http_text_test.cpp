#include "catalog/service/detail/http_text.h"

#include <gtest/gtest.h>

namespace {

using catalog::service::Reply;
using namespace catalog::service::detail;

TEST(HTTP_Text_Test, target_is_split_and_its_path_decoded)
{
    const auto target = split_target("/a%20b%2Fc/%C3%A4+?x=%20&y?z");
    ASSERT_TRUE(target);
    EXPECT_EQ(target->path, "/a b/c/ä+");
    EXPECT_EQ(target->query, "x=%20&y?z");
    EXPECT_EQ(split_target("*")->path, "*");
}

TEST(HTTP_Text_Test, target_may_name_the_host)
{
    EXPECT_EQ(split_target("http://host:80/a?b")->path, "/a");
    EXPECT_EQ(split_target("http://host:80/a?b")->query, "b");
    EXPECT_EQ(split_target("http://host")->path, "/");
    EXPECT_EQ(split_target("http://host?b")->path, "/");
    EXPECT_EQ(split_target("http://host?b")->query, "b");
}

TEST(HTTP_Text_Test, malformed_targets_are_none)
{
    for (const char* target : {"", "a", "host:80", "://a/b", "http:///b", "/%", "/%2", "/%2g", "/%g2", "/%00", "/a#b"})
    {
        EXPECT_FALSE(split_target(target)) << target;
    }
}

TEST(HTTP_Text_Test, bearer_key_is_that_of_its_scheme)
{
    EXPECT_EQ(bearer_key("Bearer key"), "key");
    EXPECT_EQ(bearer_key("bearer   key"), "key");
    for (const char* header : {"", "Bearer", "Bearer ", "Basic key", "Bearerkey"}) {
        EXPECT_FALSE(bearer_key(header)) << header;
    }
}

TEST(HTTP_Text_Test, head_is_written_whole)
{
    Reply reply;
    reply.status = 201;
    reply.headers = {{"Location", "/a"}};
    EXPECT_EQ(reply_head(reply, "Created", Framing::LENGTH, 5, true, 784111777),
              "HTTP/1.1 201 Created\r\nServer: backup-set\r\nDate: Sun, 06 Nov 1994 08:49:37 GMT\r\n"
              "Content-Type: application/json\r\nLocation: /a\r\nContent-Length: 5\r\nConnection: keep-alive\r\n\r\n");
    EXPECT_EQ(
        reply_head(reply, "Created", Framing::CHUNKED, 5, false, 784111777),
        "HTTP/1.1 201 Created\r\nServer: backup-set\r\nDate: Sun, 06 Nov 1994 08:49:37 GMT\r\n"
        "Content-Type: application/json\r\nLocation: /a\r\nTransfer-Encoding: chunked\r\nConnection: close\r\n\r\n");
    EXPECT_EQ(reply_head(reply, "Created", Framing::NONE, 5, true, 784111777),
              "HTTP/1.1 201 Created\r\nServer: backup-set\r\nDate: Sun, 06 Nov 1994 08:49:37 GMT\r\nLocation: /a\r\n"
              "Connection: keep-alive\r\n\r\n");
}

TEST(HTTP_Text_Test, headers_cannot_break_out_of_their_line_nor_tell_of_the_length)
{
    Reply reply;
    reply.headers = {
        {"A", "b\r\nC: d"}, {"content-length", "7"}, {"Transfer-Encoding", "chunked"}, {"CONNECTION", "x"}};
    EXPECT_EQ(reply_head(reply, "OK", Framing::LENGTH, 5, true, 0),
              "HTTP/1.1 200 OK\r\nServer: backup-set\r\nDate: Thu, 01 Jan 1970 00:00:00 GMT\r\n"
              "Content-Type: application/json\r\nA: b  C: d\r\nContent-Length: 5\r\nConnection: keep-alive\r\n\r\n");
}

TEST(HTTP_Text_Test, statuses_get_the_headers_they_ask_for_once)
{
    Reply reply;
    reply.status = 503;
    complete_headers(reply);
    complete_headers(reply);
    EXPECT_EQ(reply.headers, (std::vector<std::pair<std::string, std::string>>{{"Retry-After", "1"}}));
    reply.headers = {{"retry-after", "9"}};
    complete_headers(reply);
    EXPECT_EQ(reply.headers.size(), 1U);
    reply = {};
    reply.status = 401;
    complete_headers(reply);
    EXPECT_EQ(reply.headers.at(0).first, "WWW-Authenticate");
    reply = {};
    complete_headers(reply);
    EXPECT_TRUE(reply.headers.empty());
}

} // namespace
