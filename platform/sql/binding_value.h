// A value for a statement's parameter. Values travel only this way, never as part of a statement's text.
#pragma once

#include "platform/export.h"

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

/// Integers of every width, signed and unsigned kept apart; not `char`, which is text to most people.
template <class T>
concept Bindable_Integer = std::integral<T> && !std::same_as<T, bool> && !std::same_as<T, char>;

class BACKUP_PLATFORM_EXPORT Binding_Value
{
public:
    /// 16 bytes in network order.
    using UUID = std::array<unsigned char, 16>;

    /// Bytes that are not text.
    struct Bytes
    {
        std::string bytes;
        friend bool operator==(const Bytes&, const Bytes&) = default;
    };

    /// NULL. Spelled out: of a defaulted one g++ 12 makes a void value in "true ? Binding_Value() : Binding_Value(1)".
    Binding_Value() noexcept : held_(std::monostate()) {}
    Binding_Value(const char* text) : held_(std::in_place_type<std::string>, text) {}
    Binding_Value(std::string text) noexcept : held_(std::move(text)) {}
    Binding_Value(std::string_view text) : held_(std::in_place_type<std::string>, text) {}
    Binding_Value(const UUID& uuid) noexcept : held_(uuid) {}
    Binding_Value(double real) noexcept : held_(real) {}
    Binding_Value(std::same_as<bool> auto boolean) noexcept : held_(static_cast<bool>(boolean)) {}

    template <Bindable_Integer T>
    Binding_Value(T integer) noexcept
    {
        if constexpr (std::signed_integral<T>) {
            held_.emplace<std::int64_t>(integer);
        } else {
            held_.emplace<std::uint64_t>(integer);
        }
    }

    /// Copies `length` bytes; 16 bytes are taken as a UUID's.
    Binding_Value(const void* bytes, std::size_t length);

    using Held = std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, UUID, std::string, Bytes>;
    const Held& held() const noexcept { return held_; }

    friend bool operator==(const Binding_Value&, const Binding_Value&) = default;

private:
    Held held_;
};
