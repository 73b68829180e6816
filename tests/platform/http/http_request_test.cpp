#include "platform/http/http_request.h"

#include <gtest/gtest.h>

TEST(HTTP_Request, methods_are_numbered_in_alphabetical_order)
{
    const char* names[] = {"CONNECT", "DELETE", "GET", "HEAD",  "LINK",  "OPTIONS",
                           "PATCH",   "POST",   "PUT", "TRACE", "UNLINK"};
    int number = 0;
    for (const char* name : names) {
        EXPECT_STREQ(http_method_name(++number), name);
    }
    EXPECT_EQ(http_method_name(0), nullptr);
    EXPECT_EQ(http_method_name(number + 1), nullptr);
    EXPECT_EQ(http_method_name(-1), nullptr);
}

TEST(HTTP_Request, codes_that_callers_use)
{
    EXPECT_STREQ(http_method_name(3), "GET");
    EXPECT_STREQ(http_method_name(8), "POST");
    EXPECT_STREQ(http_method_name(9), "PUT");
}

TEST(HTTP_Request, target_joins_path_and_query)
{
    HTTP_Request request(HTTP_GET, "/sets");
    EXPECT_EQ(request.target(), "/sets");
    request.query() = "a=1";
    EXPECT_EQ(request.target(), "/sets?a=1");
}

TEST(HTTP_Request, target_keeps_the_query_of_the_path)
{
    HTTP_Request closed(HTTP_GET, "/sets?b=2");
    closed.query() = "a=1";
    EXPECT_EQ(closed.target(), "/sets?b=2&a=1");
    HTTP_Request open(HTTP_GET, "/sets?");
    open.query() = "a=1";
    EXPECT_EQ(open.target(), "/sets?a=1");
}

TEST(HTTP_Request, key_goes_with_methods_that_change_something)
{
    for (const int method : {HTTP_POST, HTTP_PUT, HTTP_PATCH, HTTP_DELETE, HTTP_LINK, HTTP_UNLINK}) {
        EXPECT_TRUE(HTTP_Request(method, "/").carries_key()) << http_method_name(method);
    }
    for (const int method : {HTTP_GET, HTTP_HEAD, HTTP_OPTIONS, HTTP_TRACE}) {
        EXPECT_FALSE(HTTP_Request(method, "/").carries_key()) << http_method_name(method);
    }
}

TEST(HTTP_Request, flag_asks_for_a_key_whatever_the_method)
{
    const HTTP_Request request(HTTP_GET, "/", true);
    EXPECT_TRUE(request.may_repeat());
    EXPECT_TRUE(request.carries_key());
}
