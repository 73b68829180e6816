// The Oracle select read through SOCI's `into`. A source of its own: SOCI has SQLite's interface in a namespace.
#pragma once

#include "bench/plain_row.h"

#include <memory>
#include <string>
#include <vector>

class Soci_Reader
{
public:
    explicit Soci_Reader(const std::string& path);
    Soci_Reader(const Soci_Reader&) = delete;
    Soci_Reader& operator=(const Soci_Reader&) = delete;
    ~Soci_Reader();

    std::vector<Text_Row> read(const std::string& select);

private:
    struct Session;
    std::unique_ptr<Session> session_;
};
