#include "catalog/service/view_arguments.h"

#include "backup_set/common/backup_set_state.h"
#include "catalog/store/refusal.h"
#include "platform/json/document.h"
#include "platform/text/posix_time.h"

#include <algorithm>
#include <charconv>

namespace catalog::service {
namespace {

/// The text of a value; nothing when it cannot be a parameter's.
std::optional<std::string> text_of(const json_spirit::Value& value)
{
    switch (value.type()) {
    case json_spirit::null_type:
        return std::string();
    case json_spirit::str_type:
        return value.get_str();
    case json_spirit::secure_str_type:
        return value.get_secure_str();
    case json_spirit::bool_type:
        return value.get_bool() ? "true" : "false";
    case json_spirit::int_type:
        return value.is_uint64() ? std::to_string(value.get_uint64()) : std::to_string(value.get_int64());
    default:
        return std::nullopt;
    }
}

/// What a text column may be compared with on every engine.
bool is_plain_text(std::string_view text)
{
    std::string json = "\"";
    for (const char c : text) {
        if (c == '\0') {
            return false;
        }
        json += static_cast<unsigned char>(c) < 0x80 ? 'a' : c;
    }
    return json_document::validate(json + '"');
}

std::optional<std::time_t> read_time(const std::string& text)
{
    std::time_t time = 0;
    if (iso8601_to_posix_time(std::string_view(text), time)
        || iso8601_to_posix_time(std::string_view(text + " 00:00:00"), time))
    {
        return time;
    }
    return std::nullopt;
}

std::optional<std::uint64_t> read_count(std::string_view text)
{
    std::uint64_t count = 0;
    const auto [stop, fault] = std::from_chars(text.data(), text.data() + text.size(), count);
    if (fault != std::errc() || stop != text.data() + text.size()) {
        return std::nullopt;
    }
    return count;
}

std::string state_names()
{
    std::string names;
    for (const json_spirit::Value& name : Backup_Set_State(~ACE_UINT64{0}).states()) {
        names += (names.empty() ? "" : ", ") + name.get_str();
    }
    return names;
}

/// What belongs there when `text` is no value of the parameter; empty when it is one.
std::string fault_of(const View_Parameter& parameter, const std::string& text)
{
    if (!is_plain_text(text)) {
        return "which is not UTF-8 text without NUL";
    }
    switch (parameter.kind) {
    case Parameter_Kind::TEXT:
    case Parameter_Kind::KEY: // each view reads its own
        return {};
    case Parameter_Kind::UUID:
        return read_uuid(text) ? "" : "which is no UUID";
    case Parameter_Kind::TIME:
        return read_time(text) ? "" : "which is no time of the form \"YYYY-MM-DD HH:MM:SS\" or \"YYYY-MM-DD\"";
    case Parameter_Kind::COUNT: {
        const std::optional<std::uint64_t> count = read_count(text);
        if (count && *count > 0 && (parameter.most == 0 || *count <= parameter.most)) {
            return {};
        }
        return "which is no whole number from 1"
               + (parameter.most == 0 ? " on" : " to " + std::to_string(parameter.most));
    }
    case Parameter_Kind::TYPE:
        return find_set_type(text) != nullptr ? "" : "which is no type of set; known are: " + known_set_types();
    case Parameter_Kind::LIFE:
        return text == "committed" || text == "open" || text == "complete" || text == "any"
                   ? ""
                   : "which is none of: committed, open, complete, any";
    case Parameter_Kind::FORM:
        return text == "object" || text == "text" ? "" : "which is none of: object, text";
    case Parameter_Kind::STATE: {
        ACE_UINT64 bits = 0;
        to_value(text, bits);
        return bits != 0 ? "" : "which is no state; known are: " + state_names();
    }
    }
    return {};
}

std::string of_parameter(const std::string& name, const std::string& found, const std::string& fault)
{
    return '"' + name + "\" is " + found + ", " + fault;
}

std::string named(const View_Description& view)
{
    return "view " + std::string(view.name) + " of module " + view.module;
}

std::string parameter_names(const View_Description& view)
{
    std::string names;
    for (const View_Parameter& parameter : view.parameters) {
        names += (names.empty() ? "" : ", ") + std::string(parameter.name);
    }
    return names;
}

} // namespace

bool View_Arguments::take(const View_Description& view, const json_spirit::Object& parameters, Error& error)
{
    for (const auto& [name, value] : parameters) {
        const auto parameter = std::ranges::find_if(
            view.parameters, [&name = name](const View_Parameter& known) { return name == known.name; });
        if (parameter == view.parameters.end()) {
            return refuse(error, name,
                          "unknown parameter " + shown(name) + "; " + named(view) + " has: " + parameter_names(view));
        }
        std::optional<std::string> text = text_of(value);
        if (!text) {
            const std::string type = json_spirit::type_name(value.type());
            return refuse(error, name,
                          of_parameter(name, "of the type " + type, "where a string or an integer belongs"));
        }
        if (text->empty()) {
            continue;
        }
        if (const std::string fault = fault_of(*parameter, *text); !fault.empty()) {
            return refuse(error, name, of_parameter(name, shown(*text), fault));
        }
        texts_.emplace(name, std::move(*text));
    }
    for (const View_Parameter& parameter : view.parameters) {
        if (parameter.required && !texts_.contains(parameter.name)) {
            return refuse(error, parameter.name,
                          '"' + std::string(parameter.name) + "\" is missing: " + named(view)
                              + " needs it; it has: " + parameter_names(view));
        }
        if (parameter.kind == Parameter_Kind::COUNT) {
            usual_counts_.emplace(parameter.name, parameter.usual);
        }
    }
    return true;
}

std::string View_Arguments::text(std::string_view name) const
{
    const auto found = texts_.find(name);
    return found != texts_.end() ? found->second : std::string();
}

std::optional<UUID_Bytes> View_Arguments::uuid(std::string_view name) const
{
    return read_uuid(text(name));
}

std::optional<std::time_t> View_Arguments::time(std::string_view name) const
{
    return read_time(text(name));
}

std::uint64_t View_Arguments::count(std::string_view name) const
{
    const auto given = texts_.find(name);
    if (given != texts_.end()) {
        return read_count(given->second).value_or(0);
    }
    const auto usual = usual_counts_.find(name);
    return usual != usual_counts_.end() ? usual->second : 0;
}

} // namespace catalog::service
