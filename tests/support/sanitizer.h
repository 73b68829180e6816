// Which sanitizer the tests are built with, for the few that one of them rules out or that take long with any.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
constexpr bool is_address_sanitized = true;
#elif defined(__has_feature)
constexpr bool is_address_sanitized = __has_feature(address_sanitizer);
#else
constexpr bool is_address_sanitized = false;
#endif

#if defined(__SANITIZE_THREAD__)
constexpr bool is_thread_sanitized = true;
#elif defined(__has_feature)
constexpr bool is_thread_sanitized = __has_feature(thread_sanitizer);
#else
constexpr bool is_thread_sanitized = false;
#endif

constexpr bool is_sanitized = is_address_sanitized || is_thread_sanitized;
