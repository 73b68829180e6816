// Template expansion: a text with named placeholders between a prefix and a suffix ("{{b}}.uuid").
//
// Not thread-safe: an object belongs to one thread at a time. Owns copies of all it is given.
#pragma once

#include "platform/export.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

class BACKUP_PLATFORM_EXPORT String_Template
{
public:
    /// `flags` is 0; other values are reserved.
    String_Template(std::string_view text, std::string_view prefix, std::string_view suffix, unsigned flags = 0);

    /// Binds the placeholder `name` to `value`; binding a name again replaces its value.
    String_Template& operator()(std::string_view name, std::string_view value);

    /// Replaces the template text; the bindings stay.
    String_Template& operator()(std::string_view text);

    /// The text with every bound placeholder replaced. A placeholder that nothing is bound to, and a prefix without
    /// a suffix, stay as they are. A value that looks like a placeholder is not expanded again.
    std::string str() const;

private:
    std::string text_;
    std::string prefix_;
    std::string suffix_;
    std::vector<std::pair<std::string, std::string>> bindings_;
};
