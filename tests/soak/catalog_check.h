// Whether a catalog holds what the models of all sets say, and nothing else.
//
// What was acknowledged has to be there whole and once, what stayed unknown whole or not at all. Differences are lines for
// people.
#pragma once

#include "tests/soak/set_life.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <set>
#include <string>
#include <vector>

namespace soak {

/// Queues a commit of a set that has not lived yet, then records the set with other content: the queued one can never be
/// applied. The service is not running meanwhile.
void strand_commit(const std::string& url, Set_Life& life);

/// Waits until nothing waits in the queue of the catalog at `url`. A difference when other entries have failed than those
/// of the sets `stranded`, one each, or when it takes too long.
void await_empty_queue(const std::string& url, std::set<std::string> stranded, std::vector<std::string>& differences);

/// What operators read through the service's views, by both protocols.
void check_views(std::uint16_t port, const std::list<Set_Life>& lives, std::vector<std::string>& differences);

/// What the store reads, what the tables count, and what the database says about itself.
/// `failed`: entries that stay in the queue.
void check_catalog(const std::string& url, const std::list<Set_Life>& lives, std::size_t failed,
                   std::vector<std::string>& differences);

} // namespace soak
