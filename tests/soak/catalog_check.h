// Whether a catalog holds what the models of all sets say, and nothing else.
//
// What was acknowledged has to be there whole and once, what stayed unknown whole or not at all. Differences are lines for
// people.
#pragma once

#include "tests/soak/set_life.h"

#include <cstdint>
#include <list>
#include <string>
#include <vector>

namespace soak {

/// Waits until the queue of the catalog at `url` is empty. A difference when entries have failed or it takes too long.
void await_empty_queue(const std::string& url, std::vector<std::string>& differences);

/// What operators read through the service's views, by both protocols.
void check_views(std::uint16_t port, const std::list<Set_Life>& lives, std::vector<std::string>& differences);

/// What the store reads, what the tables count, and what the database says about itself.
void check_catalog(const std::string& url, const std::list<Set_Life>& lives, std::vector<std::string>& differences);

} // namespace soak
