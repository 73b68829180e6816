// The check that a catalog holds no set by half.
#pragma once

#include "tests/catalog/cli/cli_test.h"

#include <string>
#include <vector>

namespace cli_test {

/// Fails the test for every row that belongs to no set and for every set that lacks a row. `url` is the catalog's.
void expect_no_half_set(const std::string& url);

/// Which of the samples the catalog has. Each of these must be there whole, as `document` gives it.
std::vector<int> whole_samples(const std::string& url, int first, int count);

} // namespace cli_test
