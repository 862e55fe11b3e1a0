#include "Foundation/Date.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <stdexcept>

namespace Foundation {

namespace {

using namespace std::chrono;
using Milliseconds = std::chrono::milliseconds;

/// The first and the last instant that four digits of a year can tell.
constexpr sys_time<Milliseconds> first = sys_days(year(0) / January / 1);
constexpr sys_time<Milliseconds> last = sys_days(year(10000) / January / 1) - Milliseconds(1);

/// Takes a text to pieces from its front. Once something is not as expected, `good` stays false.
struct Pieces {
    std::string_view rest;
    bool good = true;

    bool take(std::string_view either) {
        const bool found = !rest.empty() && either.find(rest.front()) != std::string_view::npos;
        if (found) rest.remove_prefix(1);
        return found;
    }

    void expect(std::string_view either) { good = take(either) && good; }

    /// A number of just so many digits, from 0 to `most`.
    int number(std::size_t digits, int most) {
        int value = 0;
        for (std::size_t i = 0; i < digits; ++i) {
            if (rest.empty() || rest.front() < '0' || rest.front() > '9') return good = false;
            value = value * 10 + (rest.front() - '0');
            rest.remove_prefix(1);
        }
        good = good && value <= most;
        return value;
    }

    /// The digits behind the point; those behind the third do not count.
    Milliseconds fraction() {
        int value = number(1, 9);
        int digits = 1;
        for (; !rest.empty() && rest.front() >= '0' && rest.front() <= '9'; ++digits) {
            const int digit = number(1, 9);
            if (digits < 3) value = value * 10 + digit;
        }
        for (; digits < 3; ++digits)
            value *= 10;
        return Milliseconds(value);
    }
};

}  // namespace

std::optional<Date> Date::fromRFC3339(std::string_view text) {
    Pieces pieces{text};
    const year years(pieces.number(4, 9999));
    pieces.expect("-");
    const month months(static_cast<unsigned>(pieces.number(2, 12)));
    pieces.expect("-");
    const day days(static_cast<unsigned>(pieces.number(2, 31)));
    pieces.expect("Tt");
    const hours hour(pieces.number(2, 23));
    pieces.expect(":");
    const minutes minute(pieces.number(2, 59));
    pieces.expect(":");
    const seconds second(pieces.number(2, 60));
    const Milliseconds fraction = pieces.take(".") ? pieces.fraction() : Milliseconds(0);
    minutes offset(0);
    if (!pieces.take("Zz")) {
        const int sign = pieces.take("-") ? -1 : 1;
        if (sign == 1) pieces.expect("+");
        offset = sign * hours(pieces.number(2, 23));
        pieces.expect(":");
        offset += sign * minutes(pieces.number(2, 59));
    }
    const year_month_day date = years / months / days;
    if (!pieces.good || !pieces.rest.empty() || !date.ok()) return std::nullopt;
    const auto whole = sys_days(date) + hour + minute + second - offset;
    // Leap seconds stand at the end of a day of UTC, and nowhere else.
    if (second == seconds(60) && whole != floor<std::chrono::days>(whole)) return std::nullopt;
    const sys_time<Milliseconds> time = whole + fraction;
    if (time < first || time > last) return std::nullopt;
    return Date{static_cast<double>(time.time_since_epoch().count()) / 1000};
}

std::string Date::rfc3339() const {
    const double milliseconds = std::round(secondsSince1970 * 1000);
    // NaN compares false, and is refused as well.
    if (!(milliseconds >= static_cast<double>(first.time_since_epoch().count()) &&
          milliseconds <= static_cast<double>(last.time_since_epoch().count())))
        throw std::invalid_argument("an instant lies outside the years 0 to 9999");
    const sys_time<Milliseconds> time{Milliseconds(static_cast<std::int64_t>(milliseconds))};
    const auto midnight = floor<days>(time);
    const year_month_day date(midnight);
    const hh_mm_ss clock(time - midnight);
    std::array<char, 80> text{};
    const int length = std::snprintf(
        text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d", static_cast<int>(date.year()),
        static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
        static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()));
    std::string result(text.data(), static_cast<std::size_t>(length));
    if (const auto fraction = clock.subseconds().count(); fraction != 0)
        result.append(".").append(std::to_string(1000 + fraction), 1, 3);
    return result + 'Z';
}

}  // namespace Foundation
