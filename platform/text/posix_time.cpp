#include "platform/text/posix_time.h"

#include <cstdint>
#include <cstring>
#include <limits>

namespace {

constexpr std::int64_t seconds_per_day = 86400;
constexpr std::int64_t seconds_per_hour = 3600;
constexpr std::int64_t seconds_per_minute = 60;
constexpr std::string_view usual_format = "%Y-%m-%d %H:%M:%S";

struct Civil_Date
{
    std::int64_t year;
    int month; ///< 1 to 12
    int day;   ///< 1 to 31
};

// Both conversions count years from March, so that the leap day is the last day of its year, in eras of 400 years.

constexpr Civil_Date date_of_day(std::int64_t day)
{
    const std::int64_t shifted = day + 719468; // days since 0000-03-01
    const std::int64_t era = (shifted >= 0 ? shifted : shifted - 146096) / 146097;
    const auto of_era = static_cast<std::uint32_t>(shifted - era * 146097);
    const std::uint32_t year_of_era = (of_era - of_era / 1460 + of_era / 36524 - of_era / 146096) / 365;
    const std::uint32_t day_of_year = of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
    const std::uint32_t march_month = (5 * day_of_year + 2) / 153;
    const auto day_of_month = static_cast<int>(day_of_year - (153 * march_month + 2) / 5 + 1);
    const auto month = static_cast<int>(march_month < 10 ? march_month + 3 : march_month - 9);
    return {era * 400 + year_of_era + (month <= 2 ? 1 : 0), month, day_of_month};
}

constexpr std::int64_t day_of_date(std::int64_t year, int month, int day)
{
    year -= month <= 2 ? 1 : 0;
    const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
    const std::int64_t year_of_era = year - era * 400;
    const std::int64_t day_of_year = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    return era * 146097 + year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year - 719468;
}

constexpr bool is_leap_year(std::int64_t year)
{
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

constexpr int days_of_month(std::int64_t year, int month)
{
    constexpr std::array<int, 12> days = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && is_leap_year(year) ? 29 : days[static_cast<std::size_t>(month - 1)];
}

char* put_two(char* out, int number)
{
    out[0] = static_cast<char>('0' + number / 10);
    out[1] = static_cast<char>('0' + number % 10);
    return out + 2;
}

/// Reads exactly `count` digits; -1 when there are fewer.
int take_digits(std::string_view& text, std::size_t count)
{
    if (text.size() < count) {
        return -1;
    }
    int number = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const char c = text[i];
        if (c < '0' || c > '9') {
            return -1;
        }
        number = number * 10 + (c - '0');
    }
    text.remove_prefix(count);
    return number;
}

bool take(std::string_view& text, char expected)
{
    if (text.empty() || text.front() != expected) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

/// Reads ".digits" when there is a point. False when the point has no digit behind it.
bool skip_fraction(std::string_view& text)
{
    if (!take(text, '.')) {
        return true;
    }
    std::size_t digits = 0;
    while (digits < text.size() && text[digits] >= '0' && text[digits] <= '9') {
        ++digits;
    }
    text.remove_prefix(digits);
    return digits != 0;
}

/// Reads the zone, which must be all that is left: nothing or "Z" (0), "+hh:mm", "+hhmm", "+hh".
bool take_offset(std::string_view text, std::int64_t& offset)
{
    offset = 0;
    if (text.empty() || text == "Z") {
        return true;
    }
    const bool east = take(text, '+');
    if (!east && !take(text, '-')) {
        return false;
    }
    const int hours = take_digits(text, 2);
    int minutes = 0;
    if (!text.empty()) {
        take(text, ':');
        minutes = take_digits(text, 2);
    }
    if (hours < 0 || hours > 23 || minutes < 0 || minutes > 59 || !text.empty()) {
        return false;
    }
    offset = (east ? 1 : -1) * (hours * seconds_per_hour + minutes * seconds_per_minute);
    return true;
}

} // namespace

POSIX_Time_To_ISO8601::POSIX_Time_To_ISO8601(std::time_t time, const char* format) : length_(0)
{
    std::int64_t day = time / seconds_per_day;
    std::int64_t second = time % seconds_per_day;
    if (second < 0) {
        second += seconds_per_day;
        --day;
    }
    const Civil_Date date = date_of_day(day);
    const auto hour = static_cast<int>(second / seconds_per_hour);
    const auto minute = static_cast<int>(second / seconds_per_minute % 60);
    const auto rest = static_cast<int>(second % seconds_per_minute);

    if (date.year >= 0 && date.year <= 9999 && format == usual_format) {
        const auto year = static_cast<int>(date.year);
        char* out = put_two(put_two(text_.data(), year / 100), year % 100);
        *out++ = '-';
        out = put_two(out, date.month);
        *out++ = '-';
        out = put_two(out, date.day);
        *out++ = ' ';
        out = put_two(out, hour);
        *out++ = ':';
        out = put_two(out, minute);
        *out++ = ':';
        out = put_two(out, rest);
        *out = '\0';
        length_ = static_cast<std::size_t>(out - text_.data());
        return;
    }

    text_[0] = '\0';
    const std::int64_t tm_year = date.year - 1900;
    if (tm_year < std::numeric_limits<int>::min() || tm_year > std::numeric_limits<int>::max()) {
        return;
    }
    std::tm fields{};
    fields.tm_year = static_cast<int>(tm_year);
    fields.tm_mon = date.month - 1;
    fields.tm_mday = date.day;
    fields.tm_hour = hour;
    fields.tm_min = minute;
    fields.tm_sec = rest;
    fields.tm_wday = static_cast<int>(((day + 4) % 7 + 7) % 7); // the first day was a Thursday
    fields.tm_yday = static_cast<int>(day - day_of_date(date.year, 1, 1));
    fields.tm_zone = "UTC";
    length_ = std::strftime(text_.data(), text_.size(), format, &fields);
    if (length_ == 0) {
        text_[0] = '\0'; // strftime leaves anything when the text does not fit
    }
}

bool iso8601_to_posix_time(const char* text, std::time_t& time)
{
    return text != nullptr && iso8601_to_posix_time(std::string_view(text), time);
}

bool iso8601_to_posix_time(std::string_view text, std::time_t& time)
{
    const int year = take_digits(text, 4);
    if (year < 0 || !take(text, '-')) {
        return false;
    }
    const int month = take_digits(text, 2);
    if (month < 1 || month > 12 || !take(text, '-')) {
        return false;
    }
    const int day = take_digits(text, 2);
    if (day < 1 || day > days_of_month(year, month) || (!take(text, ' ') && !take(text, 'T'))) {
        return false;
    }
    const int hour = take_digits(text, 2);
    if (hour < 0 || hour > 23 || !take(text, ':')) {
        return false;
    }
    const int minute = take_digits(text, 2);
    if (minute < 0 || minute > 59 || !take(text, ':')) {
        return false;
    }
    const int second = take_digits(text, 2);
    if (second < 0 || second > 59) // a leap second is no POSIX time
    {
        return false;
    }
    std::int64_t offset = 0;
    if (!skip_fraction(text) || !take_offset(text, offset)) {
        return false;
    }
    time = day_of_date(year, month, day) * seconds_per_day + hour * seconds_per_hour + minute * seconds_per_minute
           + second - offset;
    return true;
}
