// Requests by the program curl, as people and scripts send them.
#pragma once

#include <string>
#include <vector>

struct Curl_Answer
{
    int status = 0;      ///< of HTTP; 0: there was no answer
    std::string headers; ///< as they came
    std::string body;

    /// The value of a header; empty when there is none.
    std::string header(const std::string& name) const;
};

/// Runs curl with a URL and further arguments, `body` as its standard input (for "--data-binary @-"). Throws
/// std::runtime_error where there is no curl.
Curl_Answer curl(const std::string& url, const std::vector<std::string>& arguments = {}, const std::string& body = {});

/// POST of a JSON body.
Curl_Answer curl_post(const std::string& url, const std::string& body, const std::vector<std::string>& arguments = {});
