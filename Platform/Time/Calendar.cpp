#include "Time/Calendar.h"

#include <algorithm>
#include <limits>
#include <utility>

#include <absl/time/civil_time.h>
#include <absl/time/time.h>

namespace Time {

namespace {

constexpr std::int64_t millisecondsInSecond = 1000;

/// absl takes more than the database's names: paths, "localtime", "libc:…", "Fixed/UTC+…" with colons in it. The
/// database's begin with a capital letter, and have neither dots, colons nor empty parts.
bool mayBeName(std::string_view text) {
    const auto isCapital = [](char character) { return character >= 'A' && character <= 'Z'; };
    const auto mayStand = [&](char character) {
        return isCapital(character) || (character >= 'a' && character <= 'z') ||
               (character >= '0' && character <= '9') || std::string_view("/_+-").find(character) != text.npos;
    };
    return !text.empty() && isCapital(text.front()) && std::all_of(text.begin(), text.end(), mayStand) &&
           text.find("//") == text.npos;
}

/// The first instant at which clocks show what was asked for, or pass over it.
absl::Time first(const absl::TimeZone::TimeInfo& shown) {
    return shown.kind == absl::TimeZone::TimeInfo::SKIPPED ? shown.trans : shown.pre;
}

}  // namespace

struct Calendar::Zone {
    absl::TimeZone zone;
};

Calendar::Calendar() {
    static const auto utc = std::make_shared<const Zone>(Zone{absl::UTCTimeZone()});
    zone_ = utc;
}

Calendar::Calendar(std::shared_ptr<const Zone> zone) : zone_(std::move(zone)) {}

std::optional<Calendar> Calendar::in(std::string_view timeZone) {
    if (!mayBeName(timeZone)) return std::nullopt;
    absl::TimeZone zone;
    const bool isFound = absl::LoadTimeZone({timeZone.data(), timeZone.size()}, &zone);
    // "UTC0" is not the database's either: it gives UTC.
    if (!isFound || zone.name() != timeZone) return std::nullopt;
    return Calendar(std::make_shared<const Zone>(Zone{zone}));
}

std::string Calendar::timeZone() const {
    return zone_->zone.name();
}

Day Calendar::day(std::int64_t instant) const {
    const absl::TimeZone& zone = zone_->zone;
    const absl::Time time = absl::FromUnixMillis(instant);
    const absl::CivilDay day = absl::ToCivilDay(time, zone);
    const absl::TimeZone::TimeInfo midnight = zone.At(absl::CivilSecond(day));
    // Midnight comes again where clocks are set back across it, and what lies between may be the day before.
    const bool comesAgain = midnight.kind == absl::TimeZone::TimeInfo::REPEATED && time < midnight.trans;
    const absl::Time end = comesAgain ? midnight.trans : first(zone.At(absl::CivilSecond(day + 1)));

    constexpr std::int64_t latest = std::numeric_limits<std::int64_t>::max();
    const std::int64_t endSeconds = absl::ToUnixSeconds(end);
    const std::int64_t last =
        endSeconds > latest / millisecondsInSecond ? latest : endSeconds * millisecondsInSecond - 1;
    // Come back to from the next one, the day ends at a midnight that is past.
    return {absl::ToUnixSeconds(first(midnight)), std::max(instant, last)};
}

CivilTime Calendar::civilTime(std::int64_t instant) const {
    const absl::CivilSecond shown = absl::ToCivilSecond(absl::FromUnixMillis(instant), zone_->zone);
    const auto weekday = static_cast<int>(absl::GetWeekday(shown));  // 0 for Monday
    return {shown.year(), shown.month(), shown.day(), weekday + 1, shown.hour(), shown.minute(), shown.second()};
}

}  // namespace Time
