#include "catalog/service/openapi.h"

#include "catalog/service/fault.h"
#include "catalog/service/rest_front.h"
#include "catalog/service/rpc_front.h"
#include "catalog/service/view.h"
#include "platform/json/object_get.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <set>

using namespace catalog::service;
using namespace json_spirit;

namespace {

class Openapi : public ::testing::Test
{
protected:
    void SetUp() override
    {
        Value value;
        std::string error;
        ASSERT_TRUE(read(openapi_description(), value, &error)) << error;
        description = value.get_obj();
    }

    Object description;
};

void collect_references(const Value& value, std::set<std::string>& references)
{
    if (const Object* const object = value.if_obj()) {
        for (const auto& [key, member] : *object) {
            if (key == "$ref") {
                references.insert(member.get_str());
            }
            collect_references(member, references);
        }
    } else if (const Array* const array = value.if_array()) {
        for (const Value& element : *array) {
            collect_references(element, references);
        }
    }
}

TEST_F(Openapi, has_every_path_and_method_that_is_served)
{
    const Object& paths = object_get_object_or_throw(description, "paths");
    std::size_t operations = 0;
    for (const REST_Path& path : rest_paths()) {
        const Object* const methods = object_get_object(paths, path.path);
        ASSERT_NE(methods, nullptr) << path.path;
        std::string method = path.method;
        std::ranges::transform(method, method.begin(), [](char c) { return static_cast<char>(std::tolower(c)); });
        const Object* const operation = object_get_object(*methods, method);
        ASSERT_NE(operation, nullptr) << path.method << ' ' << path.path;
        EXPECT_EQ(object_get_str_or_throw(*operation, "operationId"), path.id);
        EXPECT_EQ(object_get_object(*operation, "requestBody") != nullptr, path.body != REST_Content::NOTHING);
        ++operations;
    }
    std::size_t described = 0;
    for (const auto& [name, methods] : paths) {
        described += methods.get_obj().size();
    }
    EXPECT_EQ(described, operations);
}

TEST_F(Openapi, names_every_fault_view_and_method)
{
    const std::string& text = openapi_description();
    for (const Fault_Code& code : fault_codes()) {
        EXPECT_NE(text.find('"' + std::string(code.name) + '"'), std::string::npos) << code.name;
    }
    for (const View_Description& view : view_descriptions()) {
        if (view.type == nullptr) {
            EXPECT_NE(text.find(std::string(view.module) + ' ' + view.name + ": "), std::string::npos) << view.name;
        }
        for (const View_Parameter& parameter : view.parameters) {
            EXPECT_NE(text.find(std::string(R"("name":")") + parameter.name + '"'), std::string::npos)
                << parameter.name;
        }
    }
    for (const RPC_Method& method : rpc_methods()) {
        EXPECT_NE(text.find(method.name), std::string::npos) << method.name;
    }
}

TEST_F(Openapi, refers_to_nothing_that_is_not_there)
{
    std::set<std::string> references;
    collect_references(Value(description), references);
    EXPECT_GE(references.size(), 5u);
    for (const std::string& reference : references) {
        ASSERT_TRUE(reference.starts_with("#/components/")) << reference;
        const Object* place = object_get_object(description, "components");
        std::size_t begin = std::string("#/components/").size();
        while (place != nullptr && begin < reference.size()) {
            const std::size_t end = std::min(reference.find('/', begin), reference.size());
            place = object_get_object(*place, reference.substr(begin, end - begin));
            begin = end + 1;
        }
        EXPECT_NE(place, nullptr) << reference;
    }
}

TEST(Fault_Codes, are_distinct_and_in_the_ranges_of_json_rpc)
{
    std::set<int> numbers;
    std::set<std::string> names;
    for (const Fault_Code& code : fault_codes()) {
        EXPECT_TRUE(numbers.insert(code.rpc_code).second) << code.rpc_code;
        EXPECT_TRUE(names.insert(code.name).second) << code.name;
        const bool standard = code.rpc_code == -32700 || (code.rpc_code <= -32600 && code.rpc_code >= -32603);
        const bool own = code.rpc_code <= -32000 && code.rpc_code >= -32099;
        EXPECT_TRUE(standard || own) << code.rpc_code;
        EXPECT_GE(code.status, 400);
    }
}

} // namespace
