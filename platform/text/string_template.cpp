#include "platform/text/string_template.h"

#include <algorithm>

String_Template::String_Template(std::string_view text, std::string_view prefix, std::string_view suffix,
                                 unsigned /*flags*/) :
    text_(text),
    prefix_(prefix), suffix_(suffix)
{}

String_Template& String_Template::operator()(std::string_view name, std::string_view value)
{
    const auto bound =
        std::find_if(bindings_.begin(), bindings_.end(), [name](const auto& binding) { return binding.first == name; });
    if (bound != bindings_.end()) {
        bound->second = value;
    } else {
        bindings_.emplace_back(name, value);
    }
    return *this;
}

String_Template& String_Template::operator()(std::string_view text)
{
    text_ = text;
    return *this;
}

std::string String_Template::str() const
{
    if (prefix_.empty() || suffix_.empty()) {
        return text_;
    }
    std::string result;
    result.reserve(text_.size());
    const std::string_view text = text_;
    std::size_t at = 0;
    while (true) {
        const std::size_t prefix = text.find(prefix_, at);
        const std::size_t name = prefix == std::string_view::npos ? prefix : prefix + prefix_.size();
        const std::size_t suffix = name == std::string_view::npos ? name : text.find(suffix_, name);
        if (suffix == std::string_view::npos) {
            return result.append(text.substr(at));
        }
        result.append(text.substr(at, prefix - at));
        const std::string_view wanted = text.substr(name, suffix - name);
        const auto bound = std::find_if(bindings_.begin(), bindings_.end(),
                                        [wanted](const auto& binding) { return binding.first == wanted; });
        if (bound != bindings_.end()) {
            result.append(bound->second);
            at = suffix + suffix_.size();
        } else {
            // Only one character is passed over: a bound placeholder may begin inside this one ("{{{b}}").
            result.push_back(text[prefix]);
            at = prefix + 1;
        }
    }
}
