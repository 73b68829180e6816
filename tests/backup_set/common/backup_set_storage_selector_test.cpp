#include "backup_set/common/backup_set_storage_selector.h"

#include "platform/json/value.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

json_spirit::Array storages(const std::string& json)
{
    json_spirit::Value value;
    if (!json_spirit::read(json, value)) {
        throw std::invalid_argument("not JSON: " + json);
    }
    return value.get_array();
}

std::string chosen(const std::string& json)
{
    return Backup_Set_Storage_Selector(storages(json), Backup_Set_Storage_Selector::M_SOURCE).pool_uuid();
}

} // namespace

TEST(Backup_Set_Storage_Selector, mode_has_its_number)
{
    EXPECT_EQ(static_cast<int>(Backup_Set_Storage_Selector::M_SOURCE), 1);
}

TEST(Backup_Set_Storage_Selector, first_online_first_copy_is_chosen)
{
    const Log_Capture log;
    EXPECT_EQ(chosen(R"([{"pool_uuid":"A","state":["online"]},{"pool_uuid":"B","state":["online"]}])"), "A");
    EXPECT_EQ(chosen(R"([{"pool_uuid":"X","state":["offline"]},{"pool_uuid":"A","state":["online"],)"
                     R"("upstream_pool_uuid":""},{"pool_uuid":"B","state":["online"]}])"),
              "A");
    EXPECT_EQ(log.count(), 0u) << log.text();
}

TEST(Backup_Set_Storage_Selector, online_first_copy_goes_before_replicas_on_either_side)
{
    const Log_Capture log; // holds back what is said of the replicas
    EXPECT_EQ(chosen(R"([{"pool_uuid":"R1","state":["online"],"upstream_pool_uuid":"A"},)"
                     R"({"pool_uuid":"A","state":["online"]},)"
                     R"({"pool_uuid":"R2","state":["online"],"upstream_pool_uuid":"A"}])"),
              "A");
}

TEST(Backup_Set_Storage_Selector, walk_ends_at_the_online_first_copy)
{
    const Log_Capture log;
    chosen(R"([{"pool_uuid":"A","state":["online"]},{"pool_uuid":"R","state":["online"],"upstream_pool_uuid":"A"}])");
    EXPECT_EQ(log.count(), 0u) << log.text();
}

TEST(Backup_Set_Storage_Selector, other_bits_do_not_matter_for_a_first_copy)
{
    EXPECT_EQ(chosen(R"([{"pool_uuid":"A","state":["expired","online","virtual","offline"]},)"
                     R"({"pool_uuid":"B","state":["online"]}])"),
              "A");
}

TEST(Backup_Set_Storage_Selector, last_online_replica_is_chosen_before_offline_first_copies)
{
    const Log_Capture log;
    EXPECT_EQ(chosen(R"([{"pool_uuid":"R1","state":["online","replicated"],"upstream_pool_uuid":"A"},)"
                     R"({"pool_uuid":"A","state":["offline"]},)"
                     R"({"pool_uuid":"R2","state":["online","expired"],"upstream_pool_uuid":"A"},)"
                     R"({"pool_uuid":"B","state":[]}])"),
              "R2");
    ASSERT_EQ(log.count(), 2u) << log.text();
    EXPECT_EQ(log.count(LM_DEBUG), 2u);
    EXPECT_EQ(log.records()[0].text, "Hit online replicated pool(R1).\n");
    EXPECT_EQ(log.records()[1].text, "Hit online replicated pool(R2).\n");
    EXPECT_EQ(log.records()[0].file, "backup_set/common/backup_set_storage_selector.cpp");
}

TEST(Backup_Set_Storage_Selector, replica_that_is_offline_or_virtual_is_passed_over)
{
    const Log_Capture log;
    EXPECT_EQ(chosen(R"([{"pool_uuid":"R1","state":["online","virtual"],"upstream_pool_uuid":"C"},)"
                     R"({"pool_uuid":"R2","state":["offline"],"upstream_pool_uuid":"C"},)"
                     R"({"pool_uuid":"C","state":["offline"]}])"),
              "C");
    EXPECT_EQ(chosen(R"([{"pool_uuid":"R1","state":["online","virtual"],"upstream_pool_uuid":"C"},)"
                     R"({"pool_uuid":"R2","state":["nearline"],"upstream_pool_uuid":"C"}])"),
              "");
    EXPECT_EQ(log.count(), 0u) << log.text();
}

TEST(Backup_Set_Storage_Selector, last_offline_first_copy_is_the_last_resort)
{
    EXPECT_EQ(
        chosen(R"([{"pool_uuid":"A","state":["offline"]},{"pool_uuid":"B","state":[]},)"
               R"({"pool_uuid":"C","state":["nearline"]},{"pool_uuid":"R","state":[],"upstream_pool_uuid":"A"}])"),
        "C");
}

TEST(Backup_Set_Storage_Selector, nothing_suitable_leaves_the_choice_empty)
{
    const Log_Capture log;
    EXPECT_EQ(chosen("[]"), "");
    EXPECT_EQ(chosen(R"([{"pool_uuid":"A"},{"pool_uuid":"B","state":"online"},{"pool_uuid":"C","state":null}])"), "");
    EXPECT_EQ(chosen(R"(["A",1,null,[{"pool_uuid":"A","state":["online"]}]])"), "");
    EXPECT_EQ(log.count(), 0u) << log.text();
}

TEST(Backup_Set_Storage_Selector, elements_that_are_no_storages_are_passed_over)
{
    EXPECT_EQ(chosen(R"(["A",null,{"pool_uuid":"X"},{"pool_uuid":"B","state":["online"]}])"), "B");
}

TEST(Backup_Set_Storage_Selector, members_of_another_type_count_as_missing)
{
    EXPECT_EQ(chosen(R"([{"pool_uuid":"A","state":["offline"]},{"pool_uuid":7,"state":["offline"]}])"), "");
    // An upstream pool that is not a text makes it a first copy.
    EXPECT_EQ(chosen(R"([{"pool_uuid":"A","state":["online"],"upstream_pool_uuid":7},)"
                     R"({"pool_uuid":"B","state":["online"]}])"),
              "A");
    EXPECT_EQ(chosen(R"([{"pool_uuid":"A","state":[1,"Online","online "]},{"pool_uuid":"B","state":[1,"online"]}])"),
              "B");
}

TEST(Backup_Set_Storage_Selector, online_first_copy_without_a_pool_ends_the_walk_too)
{
    EXPECT_EQ(chosen(R"([{"state":["online"]},{"pool_uuid":"B","state":["online"]}])"), "");
}

TEST(Backup_Set_Storage_Selector, replica_without_a_pool_replaces_the_candidate_before_it)
{
    const Log_Capture log; // holds back what is said of the replicas
    EXPECT_EQ(chosen(R"([{"pool_uuid":"A","state":[]},{"pool_uuid":"R","state":["online"],"upstream_pool_uuid":"A"},)"
                     R"({"state":["online"],"upstream_pool_uuid":"A"}])"),
              "A");
}

TEST(Backup_Set_Storage_Selector, unknown_mode_is_logged_and_chooses_nothing)
{
    const json_spirit::Array online = storages(R"([{"pool_uuid":"A","state":["online"]}])");
    for (const int mode : {2, 0}) {
        const Log_Capture log;
        const Backup_Set_Storage_Selector selector(online, static_cast<Backup_Set_Storage_Selector::MODE>(mode));
        EXPECT_EQ(selector.pool_uuid(), "");
        ASSERT_EQ(log.count(), 1u) << log.text();
        EXPECT_EQ(log.records()[0].priority, LM_ERROR);
        EXPECT_EQ(log.records()[0].text, "Unknown mode '" + std::to_string(mode) + "' to select backup set.\n");
    }
}

TEST(Backup_Set_Storage_Selector, choice_can_be_made_again)
{
    Backup_Set_Storage_Selector selector(storages(R"([{"pool_uuid":"A","state":["online"]}])"),
                                         Backup_Set_Storage_Selector::M_SOURCE);
    selector.get_source_pool(storages(R"([{"pool_uuid":"B","state":["offline"]}])"));
    EXPECT_EQ(selector.pool_uuid(), "B");
    selector.get_source_pool({});
    EXPECT_EQ(selector.pool_uuid(), "");
}
