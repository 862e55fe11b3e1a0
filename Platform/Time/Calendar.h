#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace Time {

/// What a calendar tells of the day that an instant lies in.
struct Day {
    /// Its first instant, in seconds since the Unix epoch: local midnight, the first where there are two, and where the
    /// clocks pass over it the instant at which they do.
    std::int64_t start = 0;

    /// An instant in milliseconds since the Unix epoch, not before the one that was asked for; those between the two
    /// lie in the same day. It is the day's last, but for days that the clocks leave and come back to.
    std::int64_t sameUntil = 0;
};

/// What calendars and clocks show at an instant.
struct CivilTime {
    std::int64_t year = 1970;  ///< of the Gregorian calendar, also before it was introduced; 0 is the year before 1
    int month = 1;             ///< 1 to 12
    int day = 1;               ///< 1 to 31
    int weekday = 4;           ///< 1 for Monday to 7 for Sunday (ISO 8601)
    int hour = 0;              ///< 0 to 23
    int minute = 0;
    int second = 0;

    friend bool operator==(const CivilTime&, const CivilTime&) = default;
};

/// The Gregorian calendar in a time zone, as the zone database of the system has it. Cheap to copy. May be used from
/// several threads.
class Calendar {
public:
    /// In UTC.
    Calendar();

    // To move is to copy: one that was moved from still has a zone.
    Calendar(const Calendar&) = default;
    Calendar& operator=(const Calendar&) = default;

    /// In the zone of this name of the zone database ("Europe/Berlin"), which is read once in a process. Nothing for
    /// another text, be it a path or an offset, and for a zone that cannot be read. The database is the directory
    /// $TZDIR, else /usr/share/zoneinfo.
    static std::optional<Calendar> in(std::string_view timeZone);

    /// The zone's name.
    std::string timeZone() const;

    /// The day of an instant, in milliseconds since the Unix epoch; any will do.
    Day day(std::int64_t instant) const;

    /// The date and the time of day of an instant, in milliseconds since the Unix epoch; any will do. Parts of a second
    /// are dropped, before 1970 too: a millisecond before the epoch it is 23:59:59 in UTC.
    CivilTime civilTime(std::int64_t instant) const;

    /// Whether the zones have the same name.
    friend bool operator==(const Calendar& left, const Calendar& right) { return left.timeZone() == right.timeZone(); }

private:
    struct Zone;

    explicit Calendar(std::shared_ptr<const Zone> zone);

    std::shared_ptr<const Zone> zone_;
};

}  // namespace Time

template <>
struct std::hash<Time::Calendar> {
    std::size_t operator()(const Time::Calendar& calendar) const { return hash<string>()(calendar.timeZone()); }
};
