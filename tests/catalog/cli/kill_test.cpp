// `record` killed at random moments: no half set, and every uuid that was printed is there.
//
// BACKUP_SET_KILL_SEED repeats a run; the seed is printed when a test fails.

#include "tests/catalog/cli/child_process.h"
#include "tests/catalog/cli/whole_sets.h"

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <random>
#include <thread>

using namespace cli_test;

namespace {

constexpr int kills = 200;
constexpr int documents_a_run = 24;

class Kill : public On_Both_Engines
{};

INSTANTIATE_TEST_SUITE_P(Engines, Kill, ::testing::Values("sqlite", "postgresql"), engine_name);

unsigned seed()
{
    const char* named = std::getenv("BACKUP_SET_KILL_SEED");
    return named != nullptr ? static_cast<unsigned>(std::strtoul(named, nullptr, 10)) : std::random_device()();
}

using Clock = std::chrono::steady_clock;

/// Feeds a run of documents until `end`, and gives the uuids that were read meanwhile. With `portion` 0 all come at once;
/// else that many at a time, each time after the last ones were answered, so that there are many transactions to be hit.
std::vector<std::string> feed(Child& child, int first, int portion, Clock::time_point end)
{
    std::vector<std::string> printed;
    if (portion == 0) {
        child.write(documents(first, documents_a_run));
        return printed;
    }
    for (int done = 0; done < documents_a_run; done += portion) {
        const int count = std::min(portion, documents_a_run - done);
        child.write(documents(first + done, count));
        for (int i = 0; i < count; ++i) {
            std::string line;
            const std::chrono::duration<double> left = end - Clock::now();
            if (!child.read_line(line, left.count())) {
                return printed;
            }
            printed.push_back(line);
        }
    }
    return printed;
}

/// How long a run takes that is left alone.
double undisturbed(const Catalog& catalog, int first, int portion)
{
    const auto start = Clock::now();
    Child child({"--database", catalog.url(), "record", "-"});
    feed(child, first, portion, start + std::chrono::seconds(60));
    EXPECT_EQ(child.finish().exit, 0);
    return std::chrono::duration<double>(Clock::now() - start).count();
}

} // namespace

TEST_P(Kill, leaves_no_half_set_and_all_that_was_printed)
{
    const unsigned used_seed = seed();
    SCOPED_TRACE("BACKUP_SET_KILL_SEED=" + std::to_string(used_seed));
    std::mt19937 random(used_seed);

    undisturbed(*catalog, 1'000'000, 0); // makes the schema
    const double all_at_once = undisturbed(*catalog, 1'100'000, 0);
    const double one_by_one = undisturbed(*catalog, 1'200'000, 1);

    int runs_without = 0;
    int runs_in_between = 0;
    for (int run = 0; run < kills; ++run) {
        const int first = run * documents_a_run + 1;
        const int portion = std::uniform_int_distribution<int>(0, 3)(random);
        const double longest = portion == 0 ? all_at_once : one_by_one / portion;
        const std::chrono::duration<double> delay(std::uniform_real_distribution<double>(0, longest)(random));
        const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(delay);
        Child child({"--database", catalog->url(), "record", "-"});
        std::vector<std::string> printed = feed(child, first, portion, end);
        std::this_thread::sleep_until(end);
        child.kill();
        const Result result = child.finish();
        ASSERT_EQ(result.err, "") << "run " << run;

        const std::vector<int> there = whole_samples(catalog->url(), first, documents_a_run);
        ASSERT_FALSE(HasFailure()) << "run " << run;
        const std::vector<std::string> rest = lines(result.out);
        printed.insert(printed.end(), rest.begin(), rest.end());
        ASSERT_TRUE(result.out.empty() || result.out.back() == '\n') << "a line is printed whole";
        ASSERT_LE(printed.size(), there.size()) << "run " << run;
        for (std::size_t i = 0; i < printed.size(); ++i) {
            ASSERT_EQ(printed[i], sample_uuid(first + static_cast<int>(i))) << "run " << run;
            ASSERT_EQ(there[i], first + static_cast<int>(i)) << "run " << run << ": it was printed and is not there";
        }
        runs_without += there.empty() ? 1 : 0;
        runs_in_between += !there.empty() && there.size() < documents_a_run ? 1 : 0;
    }
    expect_no_half_set(catalog->url());

    // Else the moments were not where something can go wrong.
    EXPECT_GE(runs_in_between, kills / 20) << runs_without << " runs recorded nothing";
}
