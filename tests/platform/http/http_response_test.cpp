#include "platform/http/http_response.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

HTTP_Response with(int number, const char* value)
{
    HTTP_Response response;
    response.headers().set(number, value);
    return response;
}

bool kept(const char* connection, int minor_version)
{
    HTTP_Response response = with(8, connection);
    response.minor_version(minor_version);
    return response.keep_alive();
}

} // namespace

TEST(HTTP_Response, fresh_one_is_no_answer_of_http_1_1)
{
    const HTTP_Response response;
    EXPECT_EQ(response.status(), 0);
    EXPECT_EQ(response.minor_version(), 1);
    EXPECT_TRUE(response.headers().all().empty());
}

TEST(HTTP_Response, content_length_is_header_12_as_a_decimal_number)
{
    EXPECT_EQ(HTTP_Response().content_length(), 0u);
    EXPECT_EQ(with(12, "18446744073709551615").content_length(), std::numeric_limits<ACE_UINT64>::max());
    EXPECT_EQ(with(12, "010").content_length(), 10u);
    EXPECT_EQ(with(12, "12abc").content_length(), 12u);
    EXPECT_EQ(with(12, "abc").content_length(), 0u);
}

TEST(HTTP_Response, content_length_is_written_in_full)
{
    HTTP_Response response;
    response.content_length(std::numeric_limits<ACE_UINT64>::max());
    EXPECT_EQ(*response.headers().get(12), "18446744073709551615");
    response.content_length(0);
    EXPECT_EQ(*response.headers().get(12), "0");
}

TEST(HTTP_Response, without_a_connection_header_the_minor_version_decides)
{
    HTTP_Response response;
    response.minor_version(0);
    EXPECT_FALSE(response.keep_alive());
    response.minor_version(1);
    EXPECT_TRUE(response.keep_alive());
}

TEST(HTTP_Response, close_in_the_connection_header_goes_before_all)
{
    EXPECT_FALSE(kept("close", 1));
    EXPECT_FALSE(kept("Keep-Alive, close", 1));
    EXPECT_FALSE(kept("upgrade ,\tClose , x", 1));
}

TEST(HTTP_Response, keep_alive_in_the_connection_header_goes_before_the_version)
{
    EXPECT_TRUE(kept("Keep-Alive", 0));
    EXPECT_TRUE(kept("x, keep-alive", 0));
}

TEST(HTTP_Response, other_connection_headers_leave_it_to_the_version)
{
    EXPECT_TRUE(kept("closed, not-close", 1));
    EXPECT_FALSE(kept("Keep-Alive-Not", 0));
    EXPECT_FALSE(kept("", 0));
}

TEST(HTTP_Response, keep_alive_is_written_into_header_8)
{
    HTTP_Response response;
    response.keep_alive(true);
    EXPECT_EQ(*response.headers().get(8), "Keep-Alive");
    response.keep_alive(false);
    EXPECT_EQ(*response.headers().get(8), "close");
}

TEST(HTTP_Response, chunked_only_when_header_40_says_exactly_that)
{
    EXPECT_TRUE(with(40, "chunked").chunked_transfer_encoding());
    EXPECT_FALSE(with(40, "Chunked").chunked_transfer_encoding());
    EXPECT_FALSE(with(40, "gzip, chunked").chunked_transfer_encoding());
    EXPECT_FALSE(HTTP_Response().chunked_transfer_encoding());
}

TEST(HTTP_Response, chunked_is_written_and_removed)
{
    HTTP_Response response;
    response.chunked_transfer_encoding(true);
    EXPECT_EQ(*response.headers().get(40), "chunked");
    response.chunked_transfer_encoding(false);
    EXPECT_EQ(response.headers().get(40), nullptr);
}
