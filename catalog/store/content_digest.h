// Digests by which contents and requests are told apart without keeping them. Thread-safe.
#pragma once

#include "platform/text/uuid.h"

#include <initializer_list>
#include <string>
#include <string_view>

namespace catalog {

/// A text that two valid JSON texts share exactly when they have the same content (`json_document::same_content`). It is
/// no JSON.
std::string canonical(std::string_view json);

/// SHA-256 of a valid JSON text's content, in hexadecimal digits.
std::string content_digest(std::string_view json);

/// The first 16 bytes of the SHA-256 over texts, each kept apart from its neighbours.
UUID_Bytes short_digest(std::initializer_list<std::string_view> texts);

} // namespace catalog
