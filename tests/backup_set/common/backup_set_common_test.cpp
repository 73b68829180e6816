#include "backup_set/common/backup_set_common.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Named_Type
{
    const char* name;
    Resource_Type type;
    int number;
};

constexpr Named_Type named_types[] = {
    {"storage", RESOURCE_STORAGE, 1},    {"file", RESOURCE_FILE, 2},       {"dmdb", RESOURCE_DMDB, 3},
    {"postgres", RESOURCE_POSTGRES, 8},  {"cachedb", RESOURCE_CACHEDB, 4}, {"mongodb", RESOURCE_MONGODB, 10},
    {"mysql", RESOURCE_MYSQL, 12},       {"gbase", RESOURCE_GBASE, 13},    {"os", RESOURCE_BMR, 6},
    {"hana", RESOURCE_HANA, 7},          {"oracle", RESOURCE_ORACLE, 9},   {"ndmp", RESOURCE_NDMP, 11},
    {"kingbase", RESOURCE_KINGBASE, 16}, {"db2", RESOURCE_DB2, 17},        {"oscar", RESOURCE_OSCAR, 18},
    {"k8s", RESOURCE_K8S, 19},
};

struct Named_Action
{
    const char* name;
    BSET_COMMIT_ACTION action;
    int number;
};

constexpr Named_Action named_actions[] = {
    {"Initialize", E_ACTION_INITIALIZE, 1},
    {"AddPiece", E_ACTION_ADD_PIECE, 2},
    {"Complete", E_ACTION_COMPLETE, 3},
    {"Abort", E_ACTION_ABORT, 4},
};

} // namespace

TEST(Resource_Type, has_its_number_and_its_name_both_ways)
{
    for (const Named_Type& row : named_types) {
        EXPECT_EQ(static_cast<int>(row.type), row.number) << row.name;
        EXPECT_STREQ(resource_type_to_name(row.type), row.name);
        EXPECT_EQ(name_to_resource_type(row.name), row.type) << row.name;
        EXPECT_EQ(name_to_resource_type(std::string(row.name).c_str()), row.type) << row.name;
    }
}

TEST(Resource_Type, some_types_have_a_number_and_no_name)
{
    EXPECT_EQ(static_cast<int>(RESOURCE_UNDEFINED), 0);
    EXPECT_EQ(static_cast<int>(RESOURCE_SHAREPOINT), 5);
    EXPECT_EQ(static_cast<int>(RESOURCE_INFORMIX), 14);
    EXPECT_EQ(static_cast<int>(RESOURCE_DOMINO), 15);
    for (const Resource_Type type : {RESOURCE_UNDEFINED, RESOURCE_SHAREPOINT, RESOURCE_INFORMIX, RESOURCE_DOMINO}) {
        EXPECT_EQ(resource_type_to_name(type), nullptr) << type;
    }
    for (const char* name : {"undefined", "sharepoint", "informix", "domino", "bmr"}) {
        EXPECT_EQ(name_to_resource_type(name), RESOURCE_UNDEFINED) << name;
    }
}

TEST(Resource_Type, unknown_number_has_no_name)
{
    for (const int number : {-1, 20, 21, 255, 256 + 9, 0x7fffffff}) {
        EXPECT_EQ(resource_type_to_name(static_cast<Resource_Type>(number)), nullptr) << number;
    }
}

TEST(Resource_Type, name_matches_only_in_full_and_in_its_case)
{
    for (const char* name :
         {"", "storag", "storages", "Oracle", "ORACLE", "oracle ", " oracle", "o", "filed", "fil", "k8"}) {
        EXPECT_EQ(name_to_resource_type(name), RESOURCE_UNDEFINED) << name;
    }
    EXPECT_EQ(name_to_resource_type(nullptr), RESOURCE_UNDEFINED);
}

TEST(Resource_Type, is_kept_in_32_bits)
{
    EXPECT_EQ(sizeof(Resource_Type), 4u);
    EXPECT_EQ(sizeof(BSET_COMMIT_ACTION), 4u);
}

TEST(Commit_Action, has_its_number_and_its_name_both_ways)
{
    for (const Named_Action& row : named_actions) {
        EXPECT_EQ(static_cast<int>(row.action), row.number) << row.name;
        EXPECT_STREQ(commit_action_to_name(row.action), row.name);
        EXPECT_EQ(name_to_commit_action(row.name), row.action) << row.name;
    }
}

TEST(Commit_Action, unknown_number_has_no_name)
{
    EXPECT_EQ(static_cast<int>(E_ACTION_UNKOWN), 0);
    for (const int number : {0, 5, -1, 256 + 1}) {
        EXPECT_EQ(commit_action_to_name(static_cast<BSET_COMMIT_ACTION>(number)), nullptr) << number;
    }
}

TEST(Commit_Action, name_matches_only_in_full_and_in_its_case)
{
    for (const char* name : {"", "addpiece", "AddPieces", "AddPiec", "ABORT", "Unkown", "storage"}) {
        EXPECT_EQ(name_to_commit_action(name), E_ACTION_UNKOWN) << name;
    }
    EXPECT_EQ(name_to_commit_action(nullptr), E_ACTION_UNKOWN);
}

TEST(Commit_Action, names_are_constants_of_the_program)
{
    EXPECT_EQ(commit_action_to_name(E_ACTION_ABORT), commit_action_to_name(E_ACTION_ABORT));
    EXPECT_EQ(resource_type_to_name(RESOURCE_K8S), resource_type_to_name(RESOURCE_K8S));
}
