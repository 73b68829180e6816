#include "catalog/cli/copy_choice.h"

#include "backup_set/common/backup_set_storage_selector.h"
#include "platform/json/json_dump.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

using namespace catalog::cli;
using json_spirit::Array;
using json_spirit::Object;
using json_spirit::Value;

namespace {

Value copy(const std::string& pool, const std::string& upstream, std::initializer_list<const char*> states)
{
    Object storage;
    storage["pool_uuid"] = pool;
    if (!upstream.empty()) {
        storage["upstream_pool_uuid"] = upstream;
    }
    Array names;
    for (const char* state : states) {
        names.emplace_back(state);
    }
    storage["state"] = names;
    return storage;
}

/// Every kind of element that the rules tell apart, in a pool called `pool`.
std::vector<Value> all_kinds(const std::string& pool)
{
    std::vector<Value> kinds;
    for (const char* upstream : {"", "up"}) {
        for (const std::string& name : {pool, std::string()}) {
            kinds.push_back(copy(name, upstream, {"online"}));
            kinds.push_back(copy(name, upstream, {"online", "virtual"}));
            kinds.push_back(copy(name, upstream, {"offline", "expired"}));
            kinds.push_back(copy(name, upstream, {"virtual"}));
        }
    }
    Object bare;
    bare["pool_uuid"] = pool;
    kinds.emplace_back(bare); // without states
    Object odd;
    odd["pool_uuid"] = pool;
    odd["upstream_pool_uuid"] = 5; // not a text: as if missing
    odd["state"] = Array{Value("ONLINE"), Value(1), Value("online")};
    kinds.emplace_back(odd);
    kinds.emplace_back("no object");
    return kinds;
}

/// Holds the verdicts of one list against the selector's choice.
void check(const Array& storages)
{
    const Backup_Set_Storage_Selector selector(storages, Backup_Set_Storage_Selector::M_SOURCE);
    const std::vector<Copy_Verdict> verdicts = explain_choice(storages);
    ASSERT_EQ(verdicts.size(), storages.size());
    std::string chosen;
    for (const Copy_Verdict& verdict : verdicts) {
        ASSERT_FALSE(verdict.reason.empty()) << JSON_Dump(storages).str();
        ASSERT_EQ(verdict.chosen, verdict.reason.starts_with("chosen: ")) << verdict.reason;
        if (verdict.chosen) {
            ASSERT_EQ(chosen, "") << "two are chosen: " << JSON_Dump(storages).str();
            chosen = verdict.pool_uuid;
        }
    }
    ASSERT_EQ(chosen, selector.pool_uuid()) << JSON_Dump(storages).str();
}

} // namespace

TEST(Copy_Choice, agrees_with_the_selector_on_every_list_of_up_to_four_copies)
{
    const Log_Capture log; // the selector traces its hits
    const std::vector<Value> kinds[] = {all_kinds("p1"), all_kinds("p2"), all_kinds("p3"), all_kinds("p4")};
    std::size_t lists = 0;
    for (std::size_t length = 0; length <= 4; ++length) {
        std::vector<std::size_t> choice(length, 0);
        while (true) {
            Array storages;
            for (std::size_t i = 0; i < length; ++i) {
                storages.push_back(kinds[i][choice[i]]);
            }
            check(storages);
            ASSERT_FALSE(HasFatalFailure());
            ++lists;
            std::size_t at = 0;
            while (at < length && ++choice[at] == kinds[at].size()) {
                choice[at++] = 0;
            }
            if (at == length) {
                break;
            }
        }
    }
    EXPECT_EQ(lists, 1u + 19u + 361u + 6859u + 130321u);
}

TEST(Copy_Choice, first_online_first_copy_settles_it)
{
    const auto verdicts = explain_choice(
        {copy("a", "", {"offline"}), copy("b", "x", {"online"}), copy("c", "", {"online"}), copy("d", "", {"online"})});
    EXPECT_EQ(verdicts[0].reason, "passed over: not online, and copy 3 is an online first copy");
    EXPECT_EQ(verdicts[1].reason, "passed over: copy 3 is an online first copy");
    EXPECT_EQ(verdicts[2].reason, "chosen: the first online first copy");
    EXPECT_EQ(verdicts[3].reason, "not looked at: copy 3 settled the choice");
}

TEST(Copy_Choice, last_online_replica_is_next)
{
    const auto verdicts =
        explain_choice({copy("a", "", {}), copy("b", "x", {"online"}), copy("c", "x", {"online", "expired"}),
                        copy("d", "x", {"online", "virtual"}), copy("e", "x", {"offline"})});
    EXPECT_EQ(verdicts[0].reason, "passed over: not online, and copy 3 is an online replica");
    EXPECT_EQ(verdicts[1].reason, "passed over: copy 3 is a later online replica");
    EXPECT_EQ(verdicts[2].reason, "chosen: no first copy is online; the last online replica");
    EXPECT_EQ(verdicts[3].reason, "passed over: a replica that is virtual");
    EXPECT_EQ(verdicts[4].reason, "passed over: a replica that is not online");
    EXPECT_EQ(verdicts[2].states, (std::vector<std::string>{"online", "expired"}));
    EXPECT_EQ(verdicts[2].upstream_pool_uuid, "x");
}

TEST(Copy_Choice, last_offline_first_copy_comes_last)
{
    const auto verdicts = explain_choice({copy("a", "", {"offline"}), copy("b", "", {"offline"})});
    EXPECT_EQ(verdicts[0].reason, "passed over: copy 2 is a later first copy that is not online");
    EXPECT_EQ(verdicts[1].reason, "chosen: no copy to read from is online; the last first copy");
}

TEST(Copy_Choice, storages_stand_under_either_key)
{
    Array storages;
    std::string fault;
    ASSERT_TRUE(storages_of_document(R"({"storage": {"pool_uuid": "a"}})", storages, fault));
    ASSERT_EQ(storages.size(), 1u);
    storages.clear();
    ASSERT_TRUE(storages_of_document(R"({"storages": [{"pool_uuid": "a"}, {"pool_uuid": "b"}]})", storages, fault));
    ASSERT_EQ(storages.size(), 2u);
    EXPECT_EQ(storages[1].get_obj().at("pool_uuid").get_str(), "b");
    storages.clear();
    ASSERT_TRUE(storages_of_document("{}", storages, fault));
    EXPECT_TRUE(storages.empty());
    EXPECT_FALSE(storages_of_document("[]", storages, fault));
    EXPECT_FALSE(fault.empty());
}
