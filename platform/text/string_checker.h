// Checks of names that become file names or parts of them. Thread-safe.
#pragma once

#include "platform/export.h"

#include <string_view>

class BACKUP_PLATFORM_EXPORT String_Checker
{
public:
    /// Characters that are unsafe in file names.
    static constexpr std::string_view unsafe_name_characters = "|<>/\\:*?\"";

    /// Check kinds.
    enum Kind
    {
        SAFE_NAME = 8 ///< refuses a text that holds one of `unsafe_name_characters` or a control character
    };

    /// True when `text` passes the check. An unknown kind accepts nothing.
    static bool check(std::string_view text, int kind);
};
