#include "Time/Calendar.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "Foundation/Date.h"

// clang-format off: the tables hold several short rows on a line.
using Time::Calendar;

namespace {

/// "…Z" in RFC 3339; a time is put behind a bare date.
std::int64_t milliseconds(std::string text) {
    if (text.find('T') == text.npos) text += "T00:00:00Z";
    return std::llround(Foundation::Date::fromRFC3339(text).value().secondsSince1970 * 1000);
}

TEST(Calendar, DaysStartAtTheFirstMidnightThereIsOrWhereItIsPassedOver) {
    struct Row { const char *zone, *instant, *start, *end; };  // the instants before the end have the same day
    const Row rows[] = {
        {"UTC", "2024-01-01", "2024-01-01", "2024-01-02"},
        {"UTC", "1969-12-31T23:59:59.999Z", "1969-12-31", "1970-01-01"},
        {"Asia/Kolkata", "2023-12-31T18:29:59.999Z", "2023-12-30T18:30:00Z", "2023-12-31T18:30:00Z"},
        {"America/Sao_Paulo", "2018-11-04T02:59:59.999Z", "2018-11-03T03:00:00Z", "2018-11-04T03:00:00Z"},
        {"America/Sao_Paulo", "2018-11-04T12:00:00Z", "2018-11-04T03:00:00Z", "2018-11-05T02:00:00Z"},
        {"Asia/Beirut", "2023-03-26T20:59:59.999Z", "2023-03-25T22:00:00Z", "2023-03-26T21:00:00Z"},
        {"Africa/Cairo", "2023-04-28T12:00:00Z", "2023-04-27T22:00:00Z", "2023-04-28T21:00:00Z"},
        {"America/Toronto", "1919-03-31T12:00:00Z", "1919-03-31T04:30:00Z", "1919-04-01T04:00:00Z"},
        {"Atlantic/Azores", "2023-10-29T00:30:00Z", "2023-10-29", "2023-10-29T01:00:00Z"},  // 0:30, and again:
        {"Atlantic/Azores", "2023-10-29T01:30:00Z", "2023-10-29", "2023-10-30T01:00:00Z"},
        {"America/Havana", "2023-11-05T05:30:00Z", "2023-11-05T04:00:00Z", "2023-11-06T05:00:00Z"},
        // At 0:01 of the 7th it was 23:01 of the 6th.
        {"America/St_Johns", "2010-11-07T02:29:59.999Z", "2010-11-06T02:30:00Z", "2010-11-07T02:30:00Z"},
        {"America/St_Johns", "2010-11-07T02:30:30Z", "2010-11-07T02:30:00Z", "2010-11-07T02:31:00Z"},
        {"America/St_Johns", "2010-11-07T02:31:00Z", "2010-11-06T02:30:00Z", "2010-11-07T02:31:00.001Z"},
        {"America/St_Johns", "2010-11-07T03:30:00Z", "2010-11-07T02:30:00Z", "2010-11-08T03:30:00Z"},
        // There was no 30th.
        {"Pacific/Apia", "2011-12-30T09:59:59Z", "2011-12-29T10:00:00Z", "2011-12-30T10:00:00Z"},
        {"Pacific/Apia", "2011-12-30T10:00:00Z", "2011-12-30T10:00:00Z", "2011-12-31T10:00:00Z"},
        {"America/New_York", "2500-07-04T12:00:00Z", "2500-07-04T04:00:00Z", "2500-07-05T04:00:00Z"}};
    for (const auto& [zone, instant, start, end] : rows) {
        const auto day = Calendar::in(zone).value().day(milliseconds(instant));
        EXPECT_EQ(day.start * 1000, milliseconds(start)) << zone << ' ' << instant;
        EXPECT_EQ(day.sameUntil + 1, milliseconds(end)) << zone << ' ' << instant;
    }
}

TEST(Calendar, TellsDateAndTimeOfDay) {
    using Time::CivilTime;
    const std::tuple<const char*, const char*, CivilTime> rows[] = {
        {"UTC", "2026-11-23T09:05:07.999Z", {2026, 11, 23, 1, 9, 5, 7}},
        {"UTC", "1969-12-31T23:59:59.999Z", {1969, 12, 31, 3, 23, 59, 59}},
        {"UTC", "0000-02-29", {0, 2, 29, 2, 0, 0, 0}}, {"Asia/Kathmandu", "1970-01-01", {1970, 1, 1, 4, 5, 30, 0}},
        {"Asia/Kolkata", "2024-12-31T18:29:59Z", {2024, 12, 31, 2, 23, 59, 59}},
        {"Asia/Kolkata", "2024-12-31T18:30:00Z", {2025, 1, 1, 3, 0, 0, 0}},
        {"America/St_Johns", "1969-07-20T20:17:40Z", {1969, 7, 20, 7, 17, 47, 40}}};
    for (const auto& [zone, instant, shown] : rows)
        EXPECT_EQ(Calendar::in(zone).value().civilTime(milliseconds(instant)), shown) << zone << ' ' << instant;
    EXPECT_EQ(Calendar().civilTime(std::numeric_limits<std::int64_t>::min()).year, -292'275'055);
    EXPECT_EQ(Calendar().civilTime(std::numeric_limits<std::int64_t>::max()).year, 292'278'994);
}

TEST(Calendar, InstantsMayBeAsFarAwayAsTheirTypeAllows) {
    using Limits = std::numeric_limits<std::int64_t>;
    constexpr std::int64_t second = 1000, inDay = 86'400;
    for (const char* zone : {"UTC", "America/New_York", "Pacific/Kiritimati", "Etc/GMT+12", "Africa/Abidjan"})
        for (const std::int64_t instant : {Limits::min(), Limits::max()}) {
            const auto day = Calendar::in(zone).value().day(instant);
            EXPECT_LE(std::abs(instant / second - day.start - inDay / 2), inDay / 2) << zone;
            EXPECT_LE(static_cast<std::uint64_t>(day.sameUntil) - instant, inDay * second) << zone;
        }
    EXPECT_EQ(Calendar().day(Limits::min()).start, (Limits::min() / second / inDay - 1) * inDay);
}

TEST(Calendar, ZonesAreFoundByTheDatabasesNamesAlone) {
    for (const char* name : {"UTC", "Zulu", "Etc/GMT+5", "EST5EDT", "America/Port-au-Prince",
             "America/Argentina/Salta"})
        EXPECT_EQ(Calendar::in(name).value().timeZone(), name);
    for (const std::string_view text : {"", "utc", "UTC0", "Fixed/UTC+05:00:00", "Fixed/UTC+00:00:00", "localtime",
             "posixrules", "libc:UTC", "file:UTC", "/usr/share/zoneinfo/UTC", "../zoneinfo/UTC", "America/../UTC",
             "posix/UTC", "right/UTC", "America", "Europe//Berlin", "Europe/Berlin/", "Nowhere", ":UTC", "UTC "})
        EXPECT_FALSE(Calendar::in(text)) << text;
    EXPECT_FALSE(Calendar::in(std::string_view("UTC\0", 4)));
    EXPECT_TRUE(Calendar() == *Calendar::in("UTC") && Calendar() != *Calendar::in("Zulu"));
}

}  // namespace
