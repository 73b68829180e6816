// Reads any text as JSON. What is read and written again is the same value; what yajl's own parser refuses is refused; and
// the functions that keep a document's spelling agree with the reader on what is valid and what it means.
#include "fuzz/fuzz.h"
#include "platform/json/document.h"
#include "platform/json/json_generator.h"
#include "platform/json/value.h"
#include "platform/json/yajl_gen.h"

#include <yajl/yajl_parse.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace {

using fuzz::check;
using json_spirit::Value;

bool is_taken_by_yajl(std::string_view text)
{
    yajl_handle_t* const parser = yajl_alloc(nullptr, nullptr, nullptr);
    const bool taken =
        yajl_parse(parser, reinterpret_cast<const unsigned char*>(text.data()), text.size()) == yajl_status_ok
        && yajl_complete_parse(parser) == yajl_status_ok;
    yajl_free(parser);
    return taken;
}

std::size_t depth_of(const Value& value)
{
    std::size_t depth = 0;
    if (const json_spirit::Array* const array = value.if_array()) {
        for (const Value& element : *array) {
            depth = std::max(depth, depth_of(element));
        }
        return depth + 1;
    }
    if (const json_spirit::Object* const object = value.if_obj()) {
        for (const auto& [key, member] : *object) {
            depth = std::max(depth, depth_of(member));
        }
        return depth + 1;
    }
    return 0;
}

std::string written(const Value& value, JSON_Text::Style style)
{
    JSON_Text text(style);
    check(yajl_gen_value(text.get(), value), "a value that was read can be written");
    return text.take();
}

Value read_again(std::string_view text)
{
    Value value;
    check(json_spirit::read(text, value), "what was written can be read");
    return value;
}

void check_members(std::string_view text, const json_spirit::Object& object)
{
    std::vector<json_document::Member> members;
    check(json_document::split_object(text, members), "an object can be split");
    std::map<std::string, Value> last;
    for (const json_document::Member& member : members) {
        Value value = read_again(member.text);
        check(value.type() == member.type, "the type of a member is that of its value");
        last[member.key] = std::move(value);
    }
    check(std::equal(last.begin(), last.end(), object.begin(), object.end(),
                     [](const auto& a, const auto& b) { return a.first == b.first && a.second == b.second; }),
          "the members of an object are those that the reader finds");
}

void check_elements(std::string_view text, const json_spirit::Array& array)
{
    std::vector<json_document::Member> elements;
    check(json_document::split_array(text, elements), "an array can be split");
    check(std::equal(elements.begin(), elements.end(), array.begin(), array.end(),
                     [](const json_document::Member& a, const Value& b) {
                         return a.key.empty() && a.type == b.type() && read_again(a.text) == b;
                     }),
          "the elements of an array are those that the reader finds");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    fuzz::log_nothing();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text = fuzz::text_of(data, size);
    const Value untouched("untouched");
    Value value = untouched;
    std::string error;
    std::string reason;
    const bool valid = json_spirit::read(text, value, &error);
    check(json_document::validate(text, &reason) == valid && reason == error, "reading and checking agree");
    if (!valid) {
        check(!error.empty() && value == untouched, "a refusal has a reason and changes nothing");
        return 0;
    }
    check(is_taken_by_yajl(text), "what yajl refuses is refused");

    const std::string compact = json_document::compact(text);
    check(compact.size() <= text.size() && read_again(compact) == value, "without white space it is the same value");
    check(json_document::compact(compact) == compact, "white space is gone at once");
    check(json_document::same_content(text, compact), "without white space it means the same");

    if (depth_of(value) < YAJL_Level::max_levels) {
        const std::string first = written(value, JSON_Text::COMPACT);
        check(read_again(first) == value, "what is written reads as the same value");
        check(written(read_again(first), JSON_Text::COMPACT) == first, "and is written in the same way again");
        check(json_document::compact(first) == first, "it is written without white space");
        check(read_again(written(value, JSON_Text::PRETTY)) == value, "laid out for people it is the same value");
    }
    if (const json_spirit::Object* const object = value.if_obj()) {
        check_members(text, *object);
    } else if (const json_spirit::Array* const array = value.if_array()) {
        check_elements(text, *array);
    } else if (const std::string* const string = value.if_str()) {
        check(json_document::unescape(compact) == *string, "a string is unescaped to what the reader finds");
    }
    return 0;
}
