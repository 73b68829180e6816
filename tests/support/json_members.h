// The members of a JSON object, compared without regard to their order, for tests that change one of them.
#pragma once

#include "platform/json/document.h"
#include "platform/json/json_dump.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// A text as JSON writes it, with its quotes.
inline std::string json_quoted(const std::string& text)
{
    return JSON_Dump(json_spirit::Value(text)).str();
}

class Json_Members
{
public:
    /// Throws std::invalid_argument when `text` is not a JSON object.
    explicit Json_Members(const std::string& text)
    {
        std::vector<json_document::Member> members;
        std::string error;
        if (!json_document::split_object(text, members, &error)) {
            throw std::invalid_argument(error + ": " + text);
        }
        for (const json_document::Member& member : members) {
            members_.push_back({member.key, std::string(member.text), member.type});
        }
    }

    /// Gives a member another value, written as JSON. Of members with one key it is the one whose value is of the same
    /// type; where there is none the member is added.
    void set(const std::string& key, const std::string& value)
    {
        const json_spirit::Value_type type = type_of(value);
        const auto found = std::ranges::find_if(
            members_, [&](const Member& member) { return member.key == key && member.type == type; });
        if (found == members_.end()) {
            members_.push_back({key, value, type});
        } else {
            found->text = value;
        }
    }

    void erase(const std::string& key)
    {
        std::erase_if(members_, [&](const Member& member) { return member.key == key; });
    }

    /// The value of a member as JSON, chosen like above; null when there is none.
    const std::string* find(const std::string& key, json_spirit::Value_type type) const
    {
        const auto found = std::ranges::find_if(
            members_, [&](const Member& member) { return member.key == key && member.type == type; });
        return found == members_.end() ? nullptr : &found->text;
    }

    std::vector<std::string> keys() const
    {
        std::vector<std::string> keys;
        for (const Member& member : members_) {
            keys.push_back(member.key);
        }
        return keys;
    }

    /// One member a line, sorted.
    std::string text() const
    {
        std::vector<std::string> lines;
        for (const Member& member : members_) {
            lines.push_back(json_quoted(member.key) + ": " + member.text + '\n');
        }
        std::ranges::sort(lines);
        std::string text;
        for (const std::string& line : lines) {
            text += line;
        }
        return text;
    }

private:
    struct Member
    {
        std::string key;
        std::string text;
        json_spirit::Value_type type;
    };

    static json_spirit::Value_type type_of(const std::string& value)
    {
        const std::vector<json_document::Member> only = [&] {
            std::vector<json_document::Member> elements;
            std::string error;
            if (!json_document::split_array('[' + value + ']', elements, &error) || elements.size() != 1) {
                throw std::invalid_argument("not one JSON value: " + value);
            }
            return elements;
        }();
        return only.front().type;
    }

    std::vector<Member> members_;
};
