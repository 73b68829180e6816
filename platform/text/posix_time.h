// Times as text. All times are POSIX seconds and all texts are UTC.
//
// Thread-safe; nothing here allocates. Reading, and writing in the usual form, takes no lock; strftime may take that of
// the time zone.
#pragma once

#include "platform/export.h"

#include <array>
#include <cstddef>
#include <ctime>
#include <string_view>

/// The text of a time, made once in the constructor and held inside the object.
class BACKUP_PLATFORM_EXPORT POSIX_Time_To_ISO8601
{
public:
    /// `format` is a strftime format; "%Y-%m-%d %H:%M:%S" is made without strftime.
    /// A time beyond what the calendar can express, or a text of more than 63 bytes, gives the empty text.
    POSIX_Time_To_ISO8601(std::time_t time, const char* format);

    const char* c_str() const { return text_.data(); }
    std::size_t length() const { return length_; }
    std::string_view view() const { return {text_.data(), length_}; }

private:
    std::array<char, 64> text_;
    std::size_t length_;
};

/// Reads "YYYY-MM-DD HH:MM:SS": a 'T' may stand for the blank; a fraction (dropped), then "Z" or an offset
/// ("+08:00", "+0800", "+08") may follow. Returns false and leaves `time` unchanged when the text is anything else
/// (a day that the calendar does not have, trailing text, null).
BACKUP_PLATFORM_EXPORT bool iso8601_to_posix_time(const char* text, std::time_t& time);
BACKUP_PLATFORM_EXPORT bool iso8601_to_posix_time(std::string_view text, std::time_t& time);
