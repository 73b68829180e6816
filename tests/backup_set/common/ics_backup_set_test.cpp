#include "tests/support/records/ics_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

#include <type_traits>

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(ICS_Backup_Set, Record_Test, ICS_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(ICS_Backup_Set, Set_Record_Test, ICS_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(ICS_Backup_Set, Record_On_Engine_Test, On_Engines<ICS_Set>, Engine_Names);

namespace {

using json_spirit::Array;
using json_spirit::Object;
using json_spirit::Value;
using Base = ICS_Backup_Set::VM_Base;
using CPU = ICS_Backup_Set::CPU_Info;
using Memory = ICS_Backup_Set::Mem_Info;
using Aggregate = ICS_Backup_Set::Aggregate_Info;

/// What a test says of one block: its name in messages, its keys in the order of the table, a value for each.
template <class Block>
struct Block_Case;

template <>
struct Block_Case<Base>
{
    static constexpr const char* name = "VM_Base";
    static std::vector<std::pair<const char*, Value>> members()
    {
        return {
            {"boot_mode", "mode"},           {"guest_os_type", "os type"},      {"guest_os_label", "os label"},
            {"panick_policy", "panic"},      {"start_priority", "priority"},    {"vnc_password", "password"},
            {"vnc_shared_policy", "shared"}, {"vm_description", "description"}, {"splash_time", 18446744073709551601U}};
    }
};

template <>
struct Block_Case<CPU>
{
    static constexpr const char* name = "CPU_Info";
    static std::vector<std::pair<const char*, Value>> members()
    {
        return {{"cpu_arch", "arch"},
                {"cpu_shares", 18446744073709551601U},
                {"cpu_count", 18446744073709551602U},
                {"cpu_cores", 18446744073709551603U},
                {"cpu_socket", 18446744073709551604U},
                {"cpu_core_num_per_socket", 18446744073709551605U},
                {"cpu_reservation", 18446744073709551606U},
                {"cpu_limit", 18446744073709551607U},
                {"cpu_model", "model"},
                {"cpu_hot_plug_enabled", true},
                {"cpu_model_enabled", true}};
    }
};

template <>
struct Block_Case<Memory>
{
    static constexpr const char* name = "Mem_Info";
    static std::vector<std::pair<const char*, Value>> members()
    {
        return {{"mem_mbytes", 18446744073709551601U},
                {"mem_reservation", 18446744073709551602U},
                {"enable_huge_page", true},
                {"mem_balloon_enabled", true},
                {"mem_hot_add_enabled", true},
                {"mem_hot_plug_enabled", true}};
    }
};

template <>
struct Block_Case<Aggregate>
{
    static constexpr const char* name = "Aggregate_Info";
    static std::vector<std::pair<const char*, Value>> members() { return {{"id", "the id"}, {"type", 1}}; }
};

template <class Block>
Object whole_block()
{
    Object object;
    for (const auto& [key, value] : Block_Case<Block>::members()) {
        object.emplace(key, value);
    }
    return object;
}

template <class Block>
void expect_load_error(const Log_Capture& log)
{
    ASSERT_EQ(log.count(), 1u) << log.text();
    const Log_Capture::Record& record = log.records().front();
    EXPECT_EQ(record.priority, LM_ERROR);
    const std::string begin = std::string("Failed to load ICS_Backup_Set::") + Block_Case<Block>::name + " from JSON: ";
    EXPECT_TRUE(record.text.starts_with(begin)) << record.text;
    EXPECT_GT(record.text.size(), begin.size() + 1) << "no reason";
    EXPECT_EQ(record.text.back(), '\n');
    EXPECT_EQ(record.file, "backup_set/common/ics_backup_set.cpp");
}

} // namespace

template <class Block>
class ICS_Block_Test : public ::testing::Test
{};

using ICS_Blocks = ::testing::Types<Base, CPU, Memory, Aggregate>;

struct ICS_Block_Names
{
    template <class Block>
    static std::string GetName(int)
    {
        return Block_Case<Block>::name;
    }
};

TYPED_TEST_SUITE(ICS_Block_Test, ICS_Blocks, ICS_Block_Names);

TYPED_TEST(ICS_Block_Test, what_is_loaded_is_dumped_in_the_order_of_the_keys)
{
    TypeParam block;
    const Log_Capture log;
    EXPECT_TRUE(block.load(whole_block<TypeParam>()));
    EXPECT_EQ(log.count(), 0u) << log.text();
    EXPECT_EQ(JSON_Dump(Value(block.dump())).str(), JSON_Dump(Value(whole_block<TypeParam>())).str());
}

TYPED_TEST(ICS_Block_Test, what_is_dumped_can_be_loaded)
{
    TypeParam block;
    ASSERT_TRUE(block.load(whole_block<TypeParam>()));
    TypeParam other;
    EXPECT_TRUE(other.load(block.dump()));
    EXPECT_EQ(Value(other.dump()), Value(whole_block<TypeParam>()));
    TypeParam fresh;
    EXPECT_TRUE(other.load(fresh.dump()));
    EXPECT_EQ(Value(other.dump()), Value(fresh.dump()));
}

TYPED_TEST(ICS_Block_Test, other_keys_do_not_matter)
{
    Object object = whole_block<TypeParam>();
    object["another"] = Array{1};
    TypeParam block;
    EXPECT_TRUE(block.load(object));
    EXPECT_EQ(Value(block.dump()), Value(whole_block<TypeParam>()));
}

TYPED_TEST(ICS_Block_Test, members_are_read_in_order_up_to_a_key_that_is_missing)
{
    const auto members = Block_Case<TypeParam>::members();
    for (std::size_t missing = 0; missing < members.size(); ++missing) {
        SCOPED_TRACE(members[missing].first);
        Object object = whole_block<TypeParam>();
        object.erase(members[missing].first);
        TypeParam block;
        Object expected = block.dump();
        for (std::size_t i = 0; i < missing; ++i) {
            expected[members[i].first] = members[i].second;
        }
        const Log_Capture log;
        EXPECT_FALSE(block.load(object));
        EXPECT_EQ(Value(block.dump()), Value(expected));
        expect_load_error<TypeParam>(log);
    }
}

TYPED_TEST(ICS_Block_Test, members_are_read_in_order_up_to_a_value_of_a_wrong_type)
{
    const auto members = Block_Case<TypeParam>::members();
    for (std::size_t wrong = 0; wrong < members.size(); ++wrong) {
        for (const Value& value : {Value(), Value(-1), Value(0.5), Value(Array()), Value(Object())}) {
            SCOPED_TRACE(members[wrong].first);
            Object object = whole_block<TypeParam>();
            object[members[wrong].first] = value;
            TypeParam block;
            Object expected = block.dump();
            for (std::size_t i = 0; i < wrong; ++i) {
                expected[members[i].first] = members[i].second;
            }
            const Log_Capture log;
            EXPECT_FALSE(block.load(object)) << JSON_Dump(value).str();
            EXPECT_EQ(Value(block.dump()), Value(expected));
            expect_load_error<TypeParam>(log);
        }
    }
}

TYPED_TEST(ICS_Block_Test, value_that_is_no_object_is_refused)
{
    for (const Value& value : {Value("text"), Value(), Value(5), Value(true), Value(Array())}) {
        TypeParam block;
        ASSERT_TRUE(block.load(whole_block<TypeParam>()));
        const Log_Capture log;
        EXPECT_FALSE(block.load(value)) << JSON_Dump(value).str();
        EXPECT_EQ(Value(block.dump()), Value(whole_block<TypeParam>()));
        expect_load_error<TypeParam>(log);
    }
}

TEST(ICS_Backup_Set, loaded_cpu_lacks_only_the_key_that_is_missing_at_the_end)
{
    Object object = whole_block<CPU>();
    object.erase("cpu_model_enabled");
    CPU cpu;
    const Log_Capture log;
    EXPECT_FALSE(cpu.load(object));
    EXPECT_EQ(cpu.cpu_arch, "arch");
    EXPECT_EQ(cpu.cpu_limit, 18446744073709551607U);
    EXPECT_EQ(cpu.cpu_model, "model");
    EXPECT_TRUE(cpu.cpu_hot_plug_enabled);
    EXPECT_FALSE(cpu.cpu_model_enabled);
    EXPECT_EQ(log.count("cpu_model_enabled"), 1u) << log.text();
}

TEST(ICS_Backup_Set, each_key_of_a_block_goes_to_its_member)
{
    Base base;
    ASSERT_TRUE(base.load(whole_block<Base>()));
    EXPECT_EQ(base.boot_mode, "mode");
    EXPECT_EQ(base.guest_os_type, "os type");
    EXPECT_EQ(base.guest_os_label, "os label");
    EXPECT_EQ(base.panick_policy, "panic");
    EXPECT_EQ(base.start_priority, "priority");
    EXPECT_EQ(base.vnc_password, "password");
    EXPECT_EQ(base.vnc_shared_policy, "shared");
    EXPECT_EQ(base.vm_description, "description");
    EXPECT_EQ(base.splash_time, 18446744073709551601U);
    CPU cpu;
    ASSERT_TRUE(cpu.load(whole_block<CPU>()));
    EXPECT_EQ(cpu.cpu_shares, 18446744073709551601U);
    EXPECT_EQ(cpu.cpu_count, 18446744073709551602U);
    EXPECT_EQ(cpu.cpu_cores, 18446744073709551603U);
    EXPECT_EQ(cpu.cpu_socket, 18446744073709551604U);
    EXPECT_EQ(cpu.cpu_core_num_per_socket, 18446744073709551605U);
    EXPECT_EQ(cpu.cpu_reservation, 18446744073709551606U);
    // One flag at a time, so that none is taken for another.
    for (const char* flag : {"enable_huge_page", "mem_balloon_enabled", "mem_hot_add_enabled", "mem_hot_plug_enabled"})
    {
        Object object = Memory().dump();
        object[flag] = true;
        Memory memory;
        ASSERT_TRUE(memory.load(object));
        EXPECT_EQ(memory.enable_huge_page, flag == std::string("enable_huge_page"));
        EXPECT_EQ(memory.mem_balloon_enabled, flag == std::string("mem_balloon_enabled"));
        EXPECT_EQ(memory.mem_hot_add_enabled, flag == std::string("mem_hot_add_enabled"));
        EXPECT_EQ(memory.mem_hot_plug_enabled, flag == std::string("mem_hot_plug_enabled"));
    }
    Memory memory;
    ASSERT_TRUE(memory.load(whole_block<Memory>()));
    EXPECT_EQ(memory.mem_mbytes, 18446744073709551601U);
    EXPECT_EQ(memory.mem_reservation, 18446744073709551602U);
}

TEST(ICS_Backup_Set, aggregates_are_made_loaded_and_dumped)
{
    static_assert(ICS_Backup_Set::VAPP == 0 && ICS_Backup_Set::TAG == 1);
    EXPECT_EQ(Aggregate().id, "");
    const Aggregate made("x", ICS_Backup_Set::TAG);
    EXPECT_EQ(JSON_Dump(Value(made.dump())).str(), R"({"id":"x","type":1})");
    Aggregate loaded("y", ICS_Backup_Set::TAG);
    EXPECT_TRUE(loaded.load(Object{{"id", "z"}, {"type", 0}}));
    EXPECT_EQ(loaded.id, "z");
    EXPECT_EQ(loaded.type, ICS_Backup_Set::VAPP);
    EXPECT_TRUE(loaded.load(Object{{"id", "x"}, {"type", 1}}));
    EXPECT_EQ(loaded.type, ICS_Backup_Set::TAG);
    const Log_Capture log;
    EXPECT_FALSE(loaded.load(Object{{"id", "only"}}));
    EXPECT_EQ(loaded.id, "only");
    EXPECT_EQ(loaded.type, ICS_Backup_Set::TAG);
}

TEST(ICS_Backup_Set, writers_chain_on_a_constant_generator)
{
    ICS_Backup_Set set = filled_record<ICS_Set>();
    JSON_Text text;
    {
        const YAJL_Gen gen(text.get());
        const YAJL_Array_Guard array(gen);
        const YAJL_Gen& last = gen << Memory() << ICS_Backup_Set::Aggregate_Infos{{"x", ICS_Backup_Set::TAG}}
                                   << ICS_Backup_Set::Aggregate_Infos() << Memory();
        EXPECT_EQ(&last, &gen);
        static_assert(std::is_same_v<decltype(gen << Base()), const YAJL_Gen&>);
        static_assert(std::is_same_v<decltype(gen << CPU()), const YAJL_Gen&>);
        gen << set.base_info << set.cpu_info << "end";
    }
    const std::string memory = R"({"mem_mbytes":0,"mem_reservation":0,"enable_huge_page":false,)"
                               R"("mem_balloon_enabled":false,"mem_hot_add_enabled":false,)"
                               R"("mem_hot_plug_enabled":false})";
    const Json_Members filled(ICS_Set::filled_document());
    EXPECT_EQ(text.view(), '[' + memory + R"(,[{"id":"x","type":1}],[],)" + memory + ','
                               + *filled.find("base_info", json_spirit::obj_type) + ','
                               + *filled.find("cpu_info", json_spirit::obj_type) + R"(,"end"])");
}

TEST(ICS_Backup_Set, columns_of_its_own_table_set_nothing)
{
    ICS_Backup_Set set;
    const Log_Capture log;
    EXPECT_TRUE(set.print_cstr(0, "vm_name", "text", 4));
    EXPECT_TRUE(set.print_json(0, "floppys", Array{"text"}));
    EXPECT_TRUE(set.print_json(0, "base_info", whole_block<Base>()));
    EXPECT_EQ(to_json(set), ICS_Set::fresh_document());
    EXPECT_EQ(log.count(), 0u) << log.text();
}

} // namespace record_test
