#include "catalog/service/metrics.h"

#include "tests/catalog/store/catalog_test.h"

using namespace catalog::service;

namespace {

bool has_line(const Metrics& metrics, const std::string& line)
{
    return ("\n" + metrics.text()).find("\n" + line + "\n") != std::string::npos;
}

TEST(Metrics, latencies_are_counted_up_to_each_bound)
{
    using namespace std::chrono_literals;
    Metrics metrics;
    metrics.answered("rpc", "commit", "done", 900us);
    metrics.answered("rpc", "commit", "done", 1ms);
    metrics.answered("rpc", "commit", "refused", 40ms);
    metrics.answered("rpc", "commit", "done", 20s);
    EXPECT_TRUE(has_line(metrics, R"(backup_set_requests_total{protocol="rpc",operation="commit",outcome="done"} 3)"));
    EXPECT_TRUE(
        has_line(metrics, R"(backup_set_requests_total{protocol="rpc",operation="commit",outcome="refused"} 1)"));
    const std::string bucket = R"(backup_set_request_seconds_bucket{protocol="rpc",operation="commit",le=)";
    EXPECT_TRUE(has_line(metrics, bucket + R"("0.001"} 2)"));
    EXPECT_TRUE(has_line(metrics, bucket + R"("0.025"} 2)"));
    EXPECT_TRUE(has_line(metrics, bucket + R"("0.05"} 3)"));
    EXPECT_TRUE(has_line(metrics, bucket + R"("10"} 3)"));
    EXPECT_TRUE(has_line(metrics, bucket + R"("+Inf"} 4)"));
    EXPECT_TRUE(has_line(metrics, R"(backup_set_request_seconds_count{protocol="rpc",operation="commit"} 4)"));
}

TEST(Metrics, labels_are_escaped)
{
    Metrics metrics;
    metrics.answered("rpc", "a\"b\\c\nd", "done", std::chrono::seconds(0));
    EXPECT_TRUE(
        has_line(metrics, R"(backup_set_requests_total{protocol="rpc",operation="a\"b\\c\nd",outcome="done"} 1)"));
}

TEST(Metrics, every_metric_is_described_once_and_before_its_samples)
{
    Metrics metrics;
    metrics.answered("rest", "commit", "done", std::chrono::seconds(0));
    metrics.add({"backup_set_test", "A value.", "gauge", [] { return 2.5; }});
    std::istringstream lines(metrics.text());
    std::vector<std::string> described;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("# TYPE ")) {
            const std::string name = line.substr(7, line.find(' ', 7) - 7);
            EXPECT_EQ(std::count(described.begin(), described.end(), name), 0) << name;
            described.push_back(name);
        } else if (!line.starts_with('#')) {
            EXPECT_TRUE(line.starts_with(described.back())) << line;
        }
    }
    EXPECT_TRUE(has_line(metrics, "backup_set_test 2.5"));
}

TEST(Metrics, failures_of_the_database_are_counted_by_kind)
{
    Metrics metrics;
    Database_Error error;
    error.kind = Database_Error::CONNECTION_LOST;
    metrics.database_failed(error);
    metrics.database_failed(error);
    EXPECT_TRUE(has_line(metrics, R"(backup_set_database_errors_total{kind="connection_lost"} 2)"));
}

catalog::Write_Answer commit_of(const char* type, const char* resource, std::time_t end)
{
    catalog::Write_Answer answer;
    answer.committed = true;
    answer.type = type;
    answer.resource_uuid = resource;
    answer.backup_end_time = end;
    return answer;
}

TEST(Metrics, a_commit_counts_at_once_and_keeps_the_newest_end)
{
    Metrics metrics;
    metrics.committed(commit_of("file", "r", 200));
    metrics.committed(commit_of("file", "r", 100));
    EXPECT_TRUE(has_line(metrics, R"(backup_set_sets{state="committed",type="file"} 2)"));
    EXPECT_TRUE(has_line(metrics, R"(backup_set_last_set_timestamp_seconds{resource="r"} 200)"));
}

TEST(Metrics, commits_while_the_catalog_is_counted_are_added_to_what_the_count_finds)
{
    Metrics metrics;
    metrics.committed(commit_of("oracle", "r", 100)); // which the count finds
    metrics.begin_catalog();
    metrics.committed(commit_of("oracle", "r", 200));
    metrics.committed(commit_of("file", "s", 300));
    Catalog_Counts counts;
    counts.counters.committed["oracle"] = 1;
    counts.counters.resources = {{"r", 100}};
    metrics.take_catalog(counts);
    EXPECT_TRUE(has_line(metrics, R"(backup_set_sets{state="committed",type="oracle"} 2)")) << metrics.text();
    EXPECT_TRUE(has_line(metrics, R"(backup_set_sets{state="committed",type="file"} 1)")) << metrics.text();
    EXPECT_TRUE(has_line(metrics, R"(backup_set_last_set_timestamp_seconds{resource="r"} 200)")) << metrics.text();
    EXPECT_TRUE(has_line(metrics, R"(backup_set_last_set_timestamp_seconds{resource="s"} 300)")) << metrics.text();

    metrics.begin_catalog(); // and nothing is committed meanwhile
    metrics.take_catalog(counts);
    EXPECT_TRUE(has_line(metrics, R"(backup_set_sets{state="committed",type="oracle"} 1)")) << metrics.text();
    EXPECT_TRUE(has_line(metrics, R"(backup_set_last_set_timestamp_seconds{resource="r"} 100)")) << metrics.text();
}

class Metrics_Of_Catalog : public Catalog_Test
{};

CATALOG_TEST_ENGINES(Metrics_Of_Catalog);

TEST_P(Metrics_Of_Catalog, count_what_is_there)
{
    const std::string online = R"("storages":[{"state":["online"]},{"state":["online","replicated"]}])";
    record(small(uuid(1), online));
    record(small(uuid(2), online));
    record(R"({"catalog_module":"oracle","uuid":")" + uuid(4) + "\"}");
    catalog::Write_Request request;
    request.operation = catalog::Write_Operation::INITIALIZE;
    request.params = small(uuid(3));
    ASSERT_FALSE(store().apply(std::span(&request, 1)).front().error);
    Catalog_Counts counts;
    catalog::Error error;
    ASSERT_TRUE(count_catalog(store(), counts, error)) << error.message;
    Metrics metrics;
    metrics.take_catalog(counts);
    EXPECT_TRUE(has_line(metrics, R"(backup_set_sets{state="committed",type="oracle"} 1)")) << metrics.text();
    EXPECT_TRUE(has_line(metrics, R"(backup_set_sets{state="committed",type="oracle_exp"} 2)")) << metrics.text();
    EXPECT_TRUE(has_line(metrics, R"(backup_set_sets{state="open",type=""} 1)")) << metrics.text();
    EXPECT_TRUE(has_line(metrics, R"(backup_set_sets_with_copy{state="online"} 2)")) << metrics.text();
}

} // namespace
