// The next sets to record, number for number the same for each party that has a supply of its own.
#pragma once

#include "catalog/store/set_document.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class Supply
{
public:
    explicit Supply(std::size_t count) : count_(count) {}

    /// Makes the next sets, in the order of their uuids, in which the store writes them.
    void refill();

    std::vector<std::string> documents;
    std::vector<catalog::Set_Rows> rows; ///< of the documents

private:
    std::size_t count_;
    std::uint64_t next_ = 0;
};
