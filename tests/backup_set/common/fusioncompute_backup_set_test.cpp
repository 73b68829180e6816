#include "tests/support/records/fusioncompute_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

#include <type_traits>

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(FusionCompute_Backup_Set, Record_Test, FusionCompute_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(FusionCompute_Backup_Set, Set_Record_Test, FusionCompute_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(FusionCompute_Backup_Set, Record_On_Engine_Test, On_Engines<FusionCompute_Set>,
                               Engine_Names);

namespace {

using Adapters = FusionCompute_Backup_Set::Network_Adapters;
using Volumes = FusionCompute_Backup_Set::Volumes;
using Snapshot = FusionCompute_Backup_Set::Volume::Snapshot;

} // namespace

TEST(FusionCompute_Backup_Set, volume_writes_its_empty_snapshot)
{
    FusionCompute_Backup_Set set;
    set.volumes.resize(1);
    EXPECT_NE(to_json(set).find(R"("volumes":[{"name":"","urn":"","uuid":"","pci_type":"","storage_type":"",)"
                                R"("datastore_urn":"","thin":false,"quantity":0,"sequence_num":0,"block_size":0,)"
                                R"("snapshot":{"uuid":"","snap_name_on_dev":"","chg_id":""}}])"),
              std::string::npos)
        << to_json(set);
}

TEST(FusionCompute_Backup_Set, writers_chain_on_a_constant_generator)
{
    JSON_Text text;
    {
        const YAJL_Gen gen(text.get());
        const YAJL_Array_Guard array(gen);
        const YAJL_Gen& last = gen << Adapters(1) << Volumes() << Snapshot{"u", "n", "c"} << Adapters();
        EXPECT_EQ(&last, &gen);
        static_assert(std::is_same_v<decltype(gen << Volumes()), const YAJL_Gen&>);
    }
    EXPECT_EQ(text.view(), R"([[{"name":"","ip":"","mac":"","port_group_urn":"","sequence_num":0}],[],)"
                           R"({"uuid":"u","snap_name_on_dev":"n","chg_id":"c"},[]])");
}

TEST(FusionCompute_Backup_Set, volumes_are_found_by_uuid_and_by_sequence)
{
    FusionCompute_Backup_Set set;
    set.volumes.resize(3);
    const int sequences[] = {1, 2, 2};
    const char* const uuids[] = {"a", "b", "b"};
    for (std::size_t i = 0; i < 3; ++i) {
        set.volumes[i].sequence_num = sequences[i];
        set.volumes[i].uuid = uuids[i];
        set.volumes[i].name = "name";
        set.volumes[i].snapshot.uuid = "snapshot";
    }
    const FusionCompute_Backup_Set& constant = set;
    static_assert(std::is_same_v<decltype(constant.get_volume(1)), const FusionCompute_Backup_Set::Volume*>);
    EXPECT_EQ(constant.get_volume(2), &set.volumes[1]);
    EXPECT_EQ(constant.get_volume(1), &set.volumes[0]);
    EXPECT_EQ(constant.get_volume(0), nullptr);
    EXPECT_EQ(constant.get_volume("b"), &set.volumes[1]);
    EXPECT_EQ(constant.get_volume("B"), nullptr);
    EXPECT_EQ(constant.get_volume("name"), nullptr);
    EXPECT_EQ(constant.get_volume("snapshot"), nullptr);
}

TEST(FusionCompute_Backup_Set, adapters_are_found_by_name_and_by_sequence)
{
    FusionCompute_Backup_Set set;
    set.network_adapters = {{"a", "ip", "mac", "urn", 5}, {"b", "ip", "mac", "urn", 7}, {"b", "ip", "mac", "urn", 7}};
    const FusionCompute_Backup_Set& constant = set;
    EXPECT_EQ(constant.get_network_adapter("b"), &set.network_adapters[1]);
    EXPECT_EQ(constant.get_network_adapter("x"), nullptr);
    EXPECT_EQ(constant.get_network_adapter("mac"), nullptr);
    EXPECT_EQ(constant.get_network_adapter(7), &set.network_adapters[1]);
    EXPECT_EQ(constant.get_network_adapter(5), &set.network_adapters[0]);
    EXPECT_EQ(constant.get_network_adapter(6), nullptr);
}

TEST(FusionCompute_Backup_Set, nothing_is_found_in_a_fresh_record)
{
    const FusionCompute_Backup_Set set;
    EXPECT_EQ(set.get_volume(0), nullptr);
    EXPECT_EQ(set.get_volume(""), nullptr);
    EXPECT_EQ(set.get_network_adapter(0), nullptr);
    EXPECT_EQ(set.get_network_adapter(""), nullptr);
}

} // namespace record_test
