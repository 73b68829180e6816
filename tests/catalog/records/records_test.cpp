// Records of each class through the catalog's own tables: what is recorded comes back by the class's own select.
#include "backup_set/common/backup_set_result_handler.h"
#include "catalog/store/catalog_store.h"
#include "platform/database/json_result_printer.h"
#include "platform/database/load_records.h"
#include "platform/json/json_generator.h"
#include "platform/json/yajl_gen.h"
#include "tests/support/log_capture.h"
#include "tests/support/records/backup_set.h"
#include "tests/support/records/cachedb_backup_set.h"
#include "tests/support/records/cloudos_backup_set.h"
#include "tests/support/records/db2_backup_set.h"
#include "tests/support/records/dmdb_backup_set.h"
#include "tests/support/records/dmdb_log_backup_set.h"
#include "tests/support/records/dmdb_logical_backup_set.h"
#include "tests/support/records/domino_backup_set.h"
#include "tests/support/records/exchange_backup_set.h"
#include "tests/support/records/file_backup_set.h"
#include "tests/support/records/fusioncloud_backup_set.h"
#include "tests/support/records/fusioncompute_backup_set.h"
#include "tests/support/records/gaussdb_backup_set.h"
#include "tests/support/records/h3c_cas_backup_set.h"
#include "tests/support/records/hana_backup_set.h"
#include "tests/support/records/hive_backup_set.h"
#include "tests/support/records/hyperv_backup_set.h"
#include "tests/support/records/ics_backup_set.h"
#include "tests/support/records/informix_backup_set.h"
#include "tests/support/records/k8s_backup_set.h"
#include "tests/support/records/kingbase_backup_set.h"
#include "tests/support/records/mongodb_backup_set.h"
#include "tests/support/records/mssql_backup_set.h"
#include "tests/support/records/ndmp_backup_set.h"
#include "tests/support/records/oceanbase_backup_set.h"
#include "tests/support/records/openstack_backup_set.h"
#include "tests/support/records/oracle_arch_backup_set.h"
#include "tests/support/records/oracle_backup_set.h"
#include "tests/support/records/oracle_exp_backup_set.h"
#include "tests/support/records/oscar_backup_set.h"
#include "tests/support/records/oscar_brcmd_backup_set.h"
#include "tests/support/records/postgres_backup_set.h"
#include "tests/support/records/sharepoint_backup_set.h"
#include "tests/support/records/sybase_backup_set.h"
#include "tests/support/records/vmware_backup_set.h"
#include "tests/support/test_engine.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace record_test {
namespace {

/// A fresh catalog on an engine.
class Test_Catalog
{
public:
    explicit Test_Catalog(SQL_Dialect dialect)
    {
        std::string url = "sqlite::memory:";
        if (dialect == SQL_Dialect::POSTGRESQL) {
            url = server_database_.emplace().url();
        }
        catalog::Error error;
        store_ = catalog::Catalog_Store::open(url, catalog::Catalog_Store::Schema_Policy::CREATE, error);
        if (store_ == nullptr) {
            throw std::runtime_error(error.message);
        }
    }

    catalog::Catalog_Store& store() { return *store_; }
    Database_Connection& connection() { return store_->connection(); }

    void record(const std::string& document)
    {
        const catalog::Record_Result result = store_->record(document);
        if (result.error) {
            throw std::runtime_error(result.error.message);
        }
    }

private:
    std::optional<Postgresql_Database> server_database_; // outlives the store
    std::unique_ptr<catalog::Catalog_Store> store_;
};

} // namespace

template <class On>
class Recorded_Set_Test : public ::testing::Test
{
protected:
    using Set = typename On::Set;

    void SetUp() override
    {
        if (On::dialect == SQL_Dialect::SQLITE || Postgresql_Database::available()) {
            catalog_ = std::make_unique<Test_Catalog>(On::dialect);
        } else {
            Postgresql_Database::require();
        }
    }

    Test_Catalog& catalog() { return *catalog_; }

    std::vector<typename Set::Record> load()
    {
        const std::string stem = Set::stem;
        const catalog::Set_Type* type = catalog::find_set_type(stem.substr(0, stem.rfind("_backup_set")));
        if (type == nullptr) {
            throw std::runtime_error("no such type: " + stem);
        }
        Select_SQL sql;
        catalog::Error error;
        if (!catalog_->store().type_select(*type, filled_set_uuid, sql, error)) {
            throw std::runtime_error(error.message);
        }
        return load_records<typename Set::Record>(catalog_->connection(), sql, type->handler());
    }

private:
    std::unique_ptr<Test_Catalog> catalog_;
};

TYPED_TEST_SUITE_P(Recorded_Set_Test);

TYPED_TEST_P(Recorded_Set_Test, document_comes_back_as_it_was_written)
{
    using Set = typename TypeParam::Set;
    this->catalog().record(Set::filled_document());
    std::string document;
    catalog::Error error;
    EXPECT_TRUE(this->catalog().store().document(filled_set_uuid, document, error)) << error.message;
    EXPECT_EQ(document, Set::filled_document());
}

TYPED_TEST_P(Recorded_Set_Test, filled_record_comes_back_by_its_own_select)
{
    using Set = typename TypeParam::Set;
    this->catalog().record(Set::filled_document());
    const Log_Capture log;
    std::vector<typename Set::Record> loaded = this->load();
    ASSERT_EQ(loaded.size(), 1u) << this->catalog().connection().last_error().text();
    typename Set::Record expected = Set::loaded();
    EXPECT_EQ(to_json(loaded.front()) + Set::unwritten(loaded.front()), to_json(expected) + Set::unwritten(expected));
    EXPECT_EQ(log.count(), 0u) << log.text();
}

TYPED_TEST_P(Recorded_Set_Test, fresh_record_comes_back_by_its_own_select)
{
    using Set = typename TypeParam::Set;
    typename Set::Record fresh = Set::make();
    fresh.uuid = filled_set_uuid;
    if (*Set::module == '\0') {
        fresh.agent = Set::agent;
    }
    this->catalog().record(to_json(fresh));
    const Log_Capture log;
    std::vector<typename Set::Record> loaded = this->load();
    ASSERT_EQ(loaded.size(), 1u) << this->catalog().connection().last_error().text();
    typename Set::Record expected = Set::loaded_null();
    expected.agent = fresh.agent;
    EXPECT_EQ(to_json(loaded.front()) + Set::unwritten(loaded.front()), to_json(expected) + Set::unwritten(expected));
    EXPECT_EQ(log.count(), 0u) << log.text();
}

REGISTER_TYPED_TEST_SUITE_P(Recorded_Set_Test, document_comes_back_as_it_was_written,
                            filled_record_comes_back_by_its_own_select, fresh_record_comes_back_by_its_own_select);

INSTANTIATE_TYPED_TEST_SUITE_P(CacheDB_Backup_Set, Recorded_Set_Test, On_Engines<CacheDB_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(CloudOS_Backup_Set, Recorded_Set_Test, On_Engines<CloudOS_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(DB2_Backup_Set, Recorded_Set_Test, On_Engines<DB2_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(DMDB_Backup_Set, Recorded_Set_Test, On_Engines<DMDB_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(DMDB_Log_Backup_Set, Recorded_Set_Test, On_Engines<DMDB_Log_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(DMDB_Logical_Backup_Set, Recorded_Set_Test, On_Engines<DMDB_Logical_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(Domino_Backup_Set, Recorded_Set_Test, On_Engines<Domino_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(Exchange_Backup_Set, Recorded_Set_Test, On_Engines<Exchange_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(File_Backup_Set, Recorded_Set_Test, On_Engines<File_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(FusionCloud_Backup_Set, Recorded_Set_Test, On_Engines<FusionCloud_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(FusionCompute_Backup_Set, Recorded_Set_Test, On_Engines<FusionCompute_Set>,
                               Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(GaussDB_Backup_Set, Recorded_Set_Test, On_Engines<GaussDB_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(H3C_CAS_Backup_Set, Recorded_Set_Test, On_Engines<H3C_CAS_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(HANA_Backup_Set, Recorded_Set_Test, On_Engines<HANA_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(Hive_Backup_Set, Recorded_Set_Test, On_Engines<Hive_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(Hyper_V_Backup_Set, Recorded_Set_Test, On_Engines<Hyper_V_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(ICS_Backup_Set, Recorded_Set_Test, On_Engines<ICS_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(Informix_Backup_Set, Recorded_Set_Test, On_Engines<Informix_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(K8S_Backup_Set, Recorded_Set_Test, On_Engines<K8S_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(Kingbase_Backup_Set, Recorded_Set_Test, On_Engines<Kingbase_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(MSSQL_Backup_Set, Recorded_Set_Test, On_Engines<MSSQL_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(MongoDB_Backup_Set, Recorded_Set_Test, On_Engines<MongoDB_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(NDMP_Backup_Set, Recorded_Set_Test, On_Engines<NDMP_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(OceanBase_Backup_Set, Recorded_Set_Test, On_Engines<OceanBase_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(OpenStack_Backup_Set, Recorded_Set_Test, On_Engines<OpenStack_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(Oracle_Arch_Backup_Set, Recorded_Set_Test, On_Engines<Oracle_Arch_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(Oracle_Backup_Set, Recorded_Set_Test, On_Engines<Oracle_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(Oracle_Exp_Backup_Set, Recorded_Set_Test, On_Engines<Oracle_Exp_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(Oscar_Backup_Set, Recorded_Set_Test, On_Engines<Oscar_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(Oscar_Brcmd_Backup_Set, Recorded_Set_Test, On_Engines<Oscar_Brcmd_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(Postgres_Backup_Set, Recorded_Set_Test, On_Engines<Postgres_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(SharePoint_Backup_Set, Recorded_Set_Test, On_Engines<SharePoint_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(Sybase_Backup_Set, Recorded_Set_Test, On_Engines<Sybase_Set>, Engine_Names);
INSTANTIATE_TYPED_TEST_SUITE_P(VMware_Backup_Set, Recorded_Set_Test, On_Engines<VMware_Set>, Engine_Names);

namespace {

/// A catalog with one filled set.
class Recorded_Parts_Test : public ::testing::TestWithParam<SQL_Dialect>
{
protected:
    void SetUp() override
    {
        if (GetParam() == SQL_Dialect::SQLITE || Postgresql_Database::available()) {
            catalog_ = std::make_unique<Test_Catalog>(GetParam());
            catalog_->record(Oracle_Exp_Set::filled_document());
        } else {
            Postgresql_Database::require();
        }
    }

    Database_Connection& connection() { return catalog_->connection(); }

private:
    std::unique_ptr<Test_Catalog> catalog_;
};

} // namespace

TEST_P(Recorded_Parts_Test, pieces_come_back_in_order)
{
    Select_SQL sql;
    Backup_Piece::init_select_sql(sql, "p");
    sql.order_by("p.id");
    std::vector<Backup_Piece> pieces = load_records<Backup_Piece>(connection(), sql, Backup_Piece::result_handler());
    ASSERT_EQ(pieces.size(), 2u) << connection().last_error().text();
    Oracle_Exp_Backup_Set expected = filled_record<Oracle_Exp_Set>();
    EXPECT_EQ(to_json(pieces[0]), to_json(expected.pieces[0]));
    EXPECT_EQ(to_json(pieces[1]), to_json(expected.pieces[1]));
}

TEST_P(Recorded_Parts_Test, storages_come_back_in_order_with_their_owner)
{
    Select_SQL sql;
    Backup_Set_Storage::init_select_sql(sql, "s");
    sql.order_by("s.id");
    std::vector<Backup_Set_Storage> storages =
        load_records<Backup_Set_Storage>(connection(), sql, Backup_Set_Storage::result_handler());
    ASSERT_EQ(storages.size(), 2u) << connection().last_error().text();
    Oracle_Exp_Backup_Set expected = filled_record<Oracle_Exp_Set>();
    for (std::size_t i = 0; i < storages.size(); ++i) {
        EXPECT_EQ(to_json(storages[i]), to_json(expected.storages[i]));
        EXPECT_EQ(storages[i].set_uuid, filled_set_uuid);
    }
}

TEST_P(Recorded_Parts_Test, common_record_comes_back_by_its_own_select)
{
    Select_SQL sql;
    Backup_Set::init_select_sql(sql, "b");
    std::vector<Plain_Backup_Set> sets =
        load_records<Plain_Backup_Set>(connection(), sql, Backup_Set::result_handler());
    ASSERT_EQ(sets.size(), 1u) << connection().last_error().text();
    Plain_Backup_Set expected = Plain_Set::loaded();
    EXPECT_EQ(to_json(sets[0]), to_json(expected));
}

TEST_P(Recorded_Parts_Test, result_handler_answers_with_storages_pieces_and_media_tags)
{
    ASSERT_TRUE(connection().execute_script(
        "INSERT INTO backup_set_media (set_storage_id, media_tag) SELECT id, 'TAPE1' FROM backup_set_storage"));
    Select_SQL sql;
    sql.table("backup_set", "b")
        .join("backup_set_storage", "s", "b.uuid=s.set_uuid")
        .add_key("b.uuid", "uuid")
        .add_key("b.uuid", "storages")
        .add_key("b.uuid", "pieces")
        .add_key("s.state", "state")
        .add_key("s.id", "media_tags")
        .order_by("s.id DESC")
        .limit(1);
    JSON_Text text;
    JSON_Result_Printer printer(text.get());
    ASSERT_TRUE(connection().query_and_print(sql, printer, GM_ORM_ROWS, Backup_Set::result_handler()))
        << connection().last_error().text();
    EXPECT_EQ(text.view(),
              R"({"uuid":"0a000000-0000-4000-8000-000000000001","storages":[)"
              R"({"pool_uuid":"0a000000-0000-4000-8000-00000000000a","state":0,"size":11,"upstream_pool_uuid":null},)"
              R"({"pool_uuid":"0a000000-0000-4000-8000-00000000000b","state":17,"size":12,)"
              R"("upstream_pool_uuid":"0a000000-0000-4000-8000-00000000000a"}],)"
              R"("pieces":[{"object":"first object","size":21,"path":"first path"},)"
              R"({"object":"dir","size":22,"path":"second path"}],)"
              R"("state":["online","replicated"],"media_tags":["TAPE1"]})");
}

INSTANTIATE_TEST_SUITE_P(Engines, Recorded_Parts_Test, ::testing::ValuesIn(engines), name_of_engine);

} // namespace record_test
