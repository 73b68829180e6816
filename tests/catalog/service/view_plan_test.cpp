// Views are answered from an index, without reading or sorting what they do not show.

#include "catalog/service/view_families.h"
#include "tests/catalog/store/plan_test.h"

using namespace plan_test;

namespace {

class View_Plan_Test : public Plan_Test
{};

} // namespace

CATALOG_TEST_ENGINES(View_Plan_Test);

TEST_P(View_Plan_Test, the_places_of_a_type_s_sets_and_of_a_pool_s_copies_come_by_index_in_order)
{
    expect_with_statistics([&] {
        const Set_Type& oracle = *find_set_type("oracle");
        const UUID_Bytes uuid = *read_uuid(some_uuid);
        const service::Type_Place place{"2024-03-15 00:00:00", uuid};
        expect_by_index(service::type_places_select(oracle, {}, {}, 20), "backup_set_by_type");
        expect_by_index(service::type_places_select(oracle, {}, place, 20), "backup_set_by_type");
        const service::Pool_Key key{{"2024-03-15 00:00:00", uuid}, 7};
        expect_by_index(service::pool_select(uuid, nullptr, 20), "backup_set_storage_by_pool");
        expect_by_index(service::pool_select(uuid, &key, 20), "backup_set_storage_by_pool");
    });
}

TEST_P(View_Plan_Test, the_newest_set_of_a_resource_is_found_by_index)
{
    expect_with_statistics([&] {
        const UUID_Bytes uuid = *read_uuid(some_uuid);
        const std::string by_end = plan(service::latest_select(uuid, {}, true));
        EXPECT_NE(by_end.find("backup_set_by_resource_end "), std::string::npos) << by_end;
        EXPECT_EQ(by_end.find("Seq Scan"), std::string::npos) << by_end;
        if (!on_postgresql()) {
            EXPECT_EQ(by_end.find("TEMP B-TREE FOR ORDER BY"), std::string::npos) << by_end; // only among equal ends
        }
        expect_by_index(service::latest_select(uuid, {}, false), "backup_set_by_resource");
    });
}
