// UUIDs: any spelling in, lower-case text out. Thread-safe.
#pragma once

#include "platform/export.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// 16 bytes in network order.
using UUID_Bytes = std::array<unsigned char, 16>;

/// Reads a UUID: 32 hexadecimal digits of either case, with or without the four hyphens of the usual form, with or
/// without braces around it or "urn:uuid:" before it. Anything else: nothing.
BACKUP_PLATFORM_EXPORT std::optional<UUID_Bytes> read_uuid(std::string_view text);

/// Length of the text form.
inline constexpr std::size_t uuid_text_length = 36;

/// Writes the lower-case text form and a closing NUL: `text` takes 37 characters.
BACKUP_PLATFORM_EXPORT void write_uuid(const unsigned char* bytes, char* text);

/// The lower-case text form.
BACKUP_PLATFORM_EXPORT std::string uuid_text(const UUID_Bytes& uuid);
