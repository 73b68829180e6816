// The index of a set's files, which the file agent keeps beside the segments.
#pragma once

#include "platform/json/json_generator.h"
#include "platform/json/object_get.h"
#include "platform/json/value.h"
#include "platform/json/yajl_gen.h"
#include "tar_pool.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <unordered_map>
#include <utility>

inline constexpr const char* index_name = "index.jsonl";

/// An index is one JSON object a line: first the set's, then one for each file. Paths are relative to the directory and
/// spelled as in a URI, so that any bytes fit.
struct Index
{
    json_spirit::Object head;
    std::unordered_map<std::string, json_spirit::Object> files; ///< by path
};

inline Index read_index(const std::filesystem::path& path)
{
    Index index;
    std::ifstream file(path);
    std::string error;
    for (std::string line; std::getline(file, line);) {
        json_spirit::Value value;
        if (!json_spirit::read(line, value, &error)) {
            tar_pool::fail(path, error);
        }
        json_spirit::Object& object = value.get_obj();
        if (index.head.empty()) {
            index.head = std::move(object);
        } else {
            const std::string name = json_spirit::object_get_str_or_throw(object, "path");
            index.files[name] = std::move(object);
        }
    }
    if (!file.eof() || index.head.empty()) {
        tar_pool::fail(path, "cannot be read as an index");
    }
    return index;
}

inline void write_line(tar_pool::New_File& index, const json_spirit::Object& object)
{
    JSON_Text line;
    yajl_gen_value(line.get(), object);
    index.write(line.take() + "\n");
}
