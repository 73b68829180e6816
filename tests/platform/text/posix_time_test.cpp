#include "platform/text/posix_time.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <random>
#include <string>
#include <string_view>

namespace {

constexpr const char* usual = "%Y-%m-%d %H:%M:%S";
constexpr std::time_t untouched = 4711;

std::string written(std::time_t time)
{
    return POSIX_Time_To_ISO8601(time, usual).c_str();
}

/// The time that a text stands for, or `untouched` when it is refused.
std::time_t as_read(std::string_view text)
{
    std::time_t time = untouched;
    const bool good = iso8601_to_posix_time(text, time);
    EXPECT_EQ(good, time != untouched) << text;
    return time;
}

void expect_refused(std::string_view text)
{
    std::time_t time = untouched;
    EXPECT_FALSE(iso8601_to_posix_time(text, time)) << text;
    EXPECT_EQ(time, untouched) << text;
}

} // namespace

TEST(POSIX_Time_To_ISO8601, writes_known_times)
{
    EXPECT_EQ(written(0), "1970-01-01 00:00:00");
    EXPECT_EQ(written(-1), "1969-12-31 23:59:59");
    EXPECT_EQ(written(1), "1970-01-01 00:00:01");
    EXPECT_EQ(written(951782400), "2000-02-29 00:00:00");
    EXPECT_EQ(written(1700000000), "2023-11-14 22:13:20");
    EXPECT_EQ(written(2147483647), "2038-01-19 03:14:07");
    EXPECT_EQ(written(2147483648), "2038-01-19 03:14:08");
    EXPECT_EQ(written(-2147483649), "1901-12-13 20:45:51");
    EXPECT_EQ(written(253402271999), "9999-12-31 15:59:59");
    EXPECT_EQ(written(253402300799), "9999-12-31 23:59:59");
    EXPECT_EQ(written(-62167219200), "0000-01-01 00:00:00");
    EXPECT_EQ(written(-62135596800), "0001-01-01 00:00:00");
}

TEST(POSIX_Time_To_ISO8601, text_length_and_view_agree)
{
    const POSIX_Time_To_ISO8601 text(0, usual);
    EXPECT_EQ(text.length(), 19u);
    EXPECT_EQ(text.view(), "1970-01-01 00:00:00");
    EXPECT_EQ(text.c_str()[19], '\0');
}

TEST(POSIX_Time_To_ISO8601, every_day_of_ten_thousand_years_is_written_and_read_back)
{
    // Counts the days by the calendar's own rules, beginning with 0000-01-01.
    std::int64_t day_number = -719528;
    const auto two = [](char* at, int number) {
        at[0] = static_cast<char>('0' + number / 10);
        at[1] = static_cast<char>('0' + number % 10);
    };
    std::string text = "0000-00-00 23:59:59";
    int days_in_month[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    for (int year = 0; year <= 9999; ++year) {
        const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
        days_in_month[1] = leap ? 29 : 28;
        two(text.data(), year / 100);
        two(text.data() + 2, year % 100);
        for (int month = 1; month <= 12; ++month) {
            two(text.data() + 5, month);
            for (int day = 1; day <= days_in_month[month - 1]; ++day, ++day_number) {
                two(text.data() + 8, day);
                const std::time_t time = day_number * 86400 + 86399;
                ASSERT_EQ(POSIX_Time_To_ISO8601(time, usual).view(), text);
                std::time_t back = 0;
                ASSERT_TRUE(iso8601_to_posix_time(text, back)) << text;
                ASSERT_EQ(back, time) << text;
            }
        }
    }
    EXPECT_EQ(day_number, 2932897); // 10000-01-01
}

TEST(POSIX_Time_To_ISO8601, every_second_of_a_day_is_written_and_read_back)
{
    for (const std::time_t midnight : {std::time_t{1709164800}, std::time_t{-86400}}) { // 2024-02-29 and 1969-12-31
        for (std::time_t second = 0; second < 86400; ++second) {
            const POSIX_Time_To_ISO8601 text(midnight + second, usual);
            char clock[16];
            std::snprintf(clock, sizeof clock, "%02d:%02d:%02d", static_cast<int>(second / 3600 % 24),
                          static_cast<int>(second / 60 % 60), static_cast<int>(second % 60));
            ASSERT_EQ(text.view().substr(11), clock);
            std::time_t back = 0;
            ASSERT_TRUE(iso8601_to_posix_time(text.view(), back));
            ASSERT_EQ(back, midnight + second);
        }
    }
}

TEST(POSIX_Time_To_ISO8601, other_formats_are_those_of_strftime_in_utc)
{
    std::mt19937_64 random(1);
    std::uniform_int_distribution<std::time_t> any(-70000000000, 300000000000);
    for (int i = 0; i < 20000; ++i) {
        const std::time_t time = any(random);
        for (const char* format : {"%Y%m%dT%H%M%SZ", "%a %b %e %H:%M:%S %Y", "%j %U %W %u %w %G-%V", "%FT%TZ",
                                   "%y %C %p %I", "literal", "%Z %z"})
        {
            std::tm fields{};
            ASSERT_NE(gmtime_r(&time, &fields), nullptr);
            fields.tm_zone = "UTC";
            char expected[64];
            const std::size_t length = std::strftime(expected, sizeof expected, format, &fields);
            ASSERT_EQ(POSIX_Time_To_ISO8601(time, format).view(), std::string_view(expected, length)) << time << format;
        }
    }
}

TEST(POSIX_Time_To_ISO8601, years_beyond_four_digits_are_still_written)
{
    EXPECT_EQ(written(253402300800), "10000-01-01 00:00:00");
    EXPECT_EQ(written(-62167219201).substr(0, 2), "-1");
}

TEST(POSIX_Time_To_ISO8601, a_time_beyond_the_calendar_gives_the_empty_text)
{
    EXPECT_EQ(written(std::numeric_limits<std::time_t>::max()), "");
    EXPECT_EQ(written(std::numeric_limits<std::time_t>::min()), "");
    EXPECT_EQ(POSIX_Time_To_ISO8601(std::numeric_limits<std::time_t>::max(), usual).length(), 0u);
}

TEST(POSIX_Time_To_ISO8601, holds_63_bytes_and_gives_the_empty_text_beyond)
{
    const std::string fits(63, 'x');
    EXPECT_EQ(POSIX_Time_To_ISO8601(0, fits.c_str()).view(), fits);
    const POSIX_Time_To_ISO8601 too_long(0, std::string(64, 'x').c_str());
    EXPECT_STREQ(too_long.c_str(), "");
    EXPECT_EQ(too_long.length(), 0u);
}

TEST(POSIX_Time_To_ISO8601, the_time_zone_of_the_process_plays_no_part)
{
    const char* const before = std::getenv("TZ");
    const std::string kept = before == nullptr ? "" : before;
    setenv("TZ", "Asia/Shanghai", 1);
    tzset();
    EXPECT_EQ(written(0), "1970-01-01 00:00:00");
    EXPECT_EQ(POSIX_Time_To_ISO8601(0, "%H:%M").view(), "00:00");
    EXPECT_EQ(as_read("1970-01-01 00:00:00"), 0);
    before == nullptr ? unsetenv("TZ") : setenv("TZ", kept.c_str(), 1);
    tzset();
}

TEST(iso8601_to_posix_time, accepts_the_letter_t_for_the_blank)
{
    EXPECT_EQ(as_read("2023-11-14T22:13:20"), 1700000000);
    EXPECT_EQ(as_read("2023-11-14T22:13:20Z"), 1700000000);
}

TEST(iso8601_to_posix_time, drops_a_fraction)
{
    EXPECT_EQ(as_read("2023-11-14 22:13:20.9"), 1700000000);
    EXPECT_EQ(as_read("2023-11-14 22:13:20.123456789012345678901234567890"), 1700000000);
    EXPECT_EQ(as_read("2023-11-14T22:13:20.999Z"), 1700000000);
    EXPECT_EQ(as_read("1969-12-31 23:59:59.5"), -1);
}

TEST(iso8601_to_posix_time, applies_an_offset_in_each_of_its_forms)
{
    EXPECT_EQ(as_read("1970-01-01 08:00:00+08:00"), 0);
    EXPECT_EQ(as_read("1970-01-01 08:00:00+0800"), 0);
    EXPECT_EQ(as_read("1970-01-01 08:00:00+08"), 0);
    EXPECT_EQ(as_read("1969-12-31 19:00:00-05"), 0);
    EXPECT_EQ(as_read("1970-01-01T05:45:00+05:45"), 0);
    EXPECT_EQ(as_read("1969-12-31T20:30:00-0330"), 0);
    EXPECT_EQ(as_read("1970-01-01 00:00:00-00:00"), 0);
    EXPECT_EQ(as_read("2024-03-01 03:59:59.25+14:00"), as_read("2024-02-29 13:59:59"));
}

TEST(iso8601_to_posix_time, accepts_exactly_the_days_of_the_calendar)
{
    for (const int year : {0, 1, 1582, 1700, 1752, 1900, 1970, 1999, 2000, 2023, 2024, 2100, 2400, 9999}) {
        for (unsigned month = 0; month <= 13; ++month) {
            for (unsigned day = 0; day <= 32; ++day) {
                char text[32];
                std::snprintf(text, sizeof text, "%04d-%02u-%02u 12:00:00", year, month, day);
                const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(month),
                                                       std::chrono::day(day)};
                std::time_t time = untouched;
                EXPECT_EQ(iso8601_to_posix_time(text, time), date.ok()) << text;
                if (date.ok()) {
                    const auto days = std::chrono::sys_days(date).time_since_epoch();
                    EXPECT_EQ(time, days.count() * 86400 + 43200) << text;
                } else {
                    EXPECT_EQ(time, untouched) << text;
                }
            }
        }
    }
}

TEST(iso8601_to_posix_time, refuses_hours_minutes_and_seconds_beyond_the_clock)
{
    expect_refused("2024-01-01 24:00:00");
    expect_refused("2024-01-01 00:60:00");
    expect_refused("2024-01-01 23:59:60");
    expect_refused("2024-01-01 99:99:99");
    expect_refused("2024-01-01 00:00:00+24");
    expect_refused("2024-01-01 00:00:00+08:60");
}

TEST(iso8601_to_posix_time, refuses_every_beginning_of_a_time)
{
    const std::string whole = "2024-01-31 23:59:58";
    EXPECT_EQ(as_read(whole), 1706745598);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        expect_refused(whole.substr(0, length));
        expect_refused(whole.substr(0, length) + "Z");
    }
}

TEST(iso8601_to_posix_time, refuses_a_wrong_character_anywhere)
{
    const std::string whole = "2024-01-31 23:59:58";
    for (std::size_t i = 0; i < whole.size(); ++i) {
        for (const char wrong : {'\0', 'x', '-', '+', '/', ':', ' ', '\xff', '.', 't'}) {
            std::string text = whole;
            text[i] = wrong;
            if (text != whole) {
                expect_refused(text);
            }
        }
    }
}

TEST(iso8601_to_posix_time, refuses_text_before_or_behind)
{
    for (const char* text : {" 2024-01-01 00:00:00", "2024-01-01 00:00:00 ", "2024-01-01 00:00:00x",
                             "2024-01-01  00:00:00", "2024-01-01 00:00:00 Z", "2024-01-01 00:00:00 +08:00",
                             "2024-01-01 00:00:00ZZ", "2024-01-01 00:00:00Z+08", "2024-01-01 00:00:00+08:00Z",
                             "2024-01-01 00:00:00+08:00:00", "2024-01-01 00:00:00UTC", "2024-01-01 00:00:00\n"})
    {
        expect_refused(text);
    }
    expect_refused(std::string_view("2024-01-01 00:00:00\0", 20));
}

TEST(iso8601_to_posix_time, refuses_half_an_offset_or_fraction)
{
    for (const char* tail : {"+",   "-",    "+0", "+080", "+8", "+08:", "+08:0", "+08:000", "+08000", "+0:800", "+-8",
                             "+ 8", "+:00", ".",  ".Z",   ".x", ".+08", ",5",    ".5.5",    "z",      "--08"})
    {
        expect_refused("2024-01-01 00:00:00" + std::string(tail));
    }
}

TEST(iso8601_to_posix_time, refuses_what_is_not_a_time)
{
    for (const char* text : {"", "now", "0", "1700000000", "2024-01-01", "00:00:00", "20240101T000000Z",
                             "2024-1-1 0:0:0", "12024-01-01 00:00:00", "-024-01-01 00:00:00", "+2024-01-01 00:00:00",
                             "0000-00-00 00:00:00", "2024/01/01 00:00:00", "infinity"})
    {
        expect_refused(text);
    }
}

TEST(iso8601_to_posix_time, null_is_refused)
{
    std::time_t time = untouched;
    const char* const null = nullptr;
    EXPECT_FALSE(iso8601_to_posix_time(null, time));
    EXPECT_EQ(time, untouched);
}

TEST(iso8601_to_posix_time, reads_a_view_that_ends_inside_a_longer_text)
{
    const std::string_view longer = "2023-11-14 22:13:209999";
    EXPECT_EQ(as_read(longer.substr(0, 19)), 1700000000);
}

TEST(iso8601_to_posix_time, years_beyond_four_digits_cannot_be_read)
{
    expect_refused(written(253402300800));
    expect_refused(written(-62167219201));
}
