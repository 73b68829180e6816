#include "platform/text/exponential_backoff_iterator.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <set>
#include <vector>

namespace {

constexpr std::uint32_t without_end = std::numeric_limits<std::uint32_t>::max();

std::vector<std::uint32_t> first_waits(Exponential_Backoff_Iterator iterator, std::size_t count)
{
    std::vector<std::uint32_t> waits;
    for (; waits.size() < count; ++iterator) {
        waits.push_back(*iterator);
    }
    return waits;
}

} // namespace

TEST(Exponential_Backoff_Iterator, waits_double_up_to_the_cap)
{
    EXPECT_EQ(first_waits({1, without_end, 60, false}, 9),
              (std::vector<std::uint32_t>{1, 2, 4, 8, 16, 32, 60, 60, 60}));
}

TEST(Exponential_Backoff_Iterator, first_wait_is_the_slot)
{
    EXPECT_EQ(first_waits({5, without_end, 60, false}, 3), (std::vector<std::uint32_t>{5, 10, 20}));
}

TEST(Exponential_Backoff_Iterator, slot_above_the_cap_waits_the_cap)
{
    EXPECT_EQ(first_waits({100, without_end, 60, false}, 2), (std::vector<std::uint32_t>{60, 60}));
}

TEST(Exponential_Backoff_Iterator, no_wait_is_shorter_than_a_second)
{
    EXPECT_EQ(first_waits({0, without_end, 60, false}, 3), (std::vector<std::uint32_t>{1, 2, 4}));
    EXPECT_EQ(first_waits({1, without_end, 0, false}, 2), (std::vector<std::uint32_t>{1, 1}));
}

TEST(Exponential_Backoff_Iterator, lengths_near_the_limit_of_the_type_do_not_wrap)
{
    const std::uint32_t cap = without_end - 1;
    EXPECT_EQ(first_waits({0x80000000u, without_end, cap, false}, 3),
              (std::vector<std::uint32_t>{0x80000000u, cap, cap}));
}

TEST(Exponential_Backoff_Iterator, wait_stays_the_same_until_it_is_passed)
{
    Exponential_Backoff_Iterator iterator(60, without_end, 60, true);
    for (int step = 0; step < 20; ++step, ++iterator) {
        const std::uint32_t wait = *iterator;
        for (int again = 0; again < 10; ++again) {
            ASSERT_EQ(*iterator, wait);
        }
    }
}

TEST(Exponential_Backoff_Iterator, jitter_stays_between_a_second_and_the_length_of_the_step)
{
    for (int run = 0; run < 200; ++run) {
        const std::vector<std::uint32_t> longest{1, 2, 4, 8, 16, 32, 60, 60};
        const std::vector<std::uint32_t> waits = first_waits({1, without_end, 60, true}, longest.size());
        for (std::size_t step = 0; step < longest.size(); ++step) {
            ASSERT_GE(waits[step], 1u) << "step " << step;
            ASSERT_LE(waits[step], longest[step]) << "step " << step;
        }
    }
}

TEST(Exponential_Backoff_Iterator, jitter_reaches_both_ends_of_its_range)
{
    std::set<std::uint32_t> seen;
    for (int run = 0; run < 500; ++run) { // each of the four is missed with a chance below 1e-62
        seen.insert(*Exponential_Backoff_Iterator(4, without_end, 60, true));
    }
    EXPECT_EQ(seen, (std::set<std::uint32_t>{1, 2, 3, 4}));
}

TEST(Exponential_Backoff_Iterator, cumulation_sums_the_waits_already_passed)
{
    Exponential_Backoff_Iterator iterator(1, without_end, 60, true);
    std::uint64_t passed = 0;
    EXPECT_EQ(iterator.cumulation(), 0u);
    for (int step = 0; step < 20; ++step) {
        passed += *iterator;
        ++iterator;
        ASSERT_EQ(iterator.cumulation(), passed);
    }
}

TEST(Exponential_Backoff_Iterator, ends_after_its_steps)
{
    Exponential_Backoff_Iterator iterator(1, 2, 60, true);
    EXPECT_FALSE(iterator.at_end());
    ++iterator;
    EXPECT_FALSE(iterator.at_end());
    ++iterator;
    EXPECT_TRUE(iterator.at_end());
    ++iterator;
    EXPECT_TRUE(iterator.at_end());
}

TEST(Exponential_Backoff_Iterator, without_steps_is_at_its_end_at_once)
{
    EXPECT_TRUE(Exponential_Backoff_Iterator(1, 0, 60, true).at_end());
}

TEST(Exponential_Backoff_Iterator, with_all_ones_never_ends)
{
    Exponential_Backoff_Iterator iterator(1, without_end, 60, true);
    for (int step = 0; step < 1000; ++step, ++iterator) {
        ASSERT_FALSE(iterator.at_end());
    }
}
