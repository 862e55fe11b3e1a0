#pragma once

#include <chrono>
#include <compare>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace Foundation {

/// An instant, in seconds since 1970-01-01 00:00 UTC, leap seconds not counted.
struct Date {
    double secondsSince1970 = 0;

    /// The system clock's time.
    static Date now() {
        return {std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count()};
    }

    /// The instant in a text as RFC 3339, section 5.6, has it ("2026-11-23T03:33:48.12+01:00"), kept to the
    /// millisecond; a leap second is the second that follows it. Nothing for any other text, one without an offset
    /// included, and for an instant outside the years 0 to 9999 of UTC.
    static std::optional<Date> fromRFC3339(std::string_view text);

    /// The instant in UTC, to the millisecond: "2026-11-23T02:33:48.120Z", without a fraction where it is 0.
    /// Throws `std::invalid_argument` outside the years 0 to 9999.
    std::string rfc3339() const;

    friend bool operator==(const Date&, const Date&) = default;
    friend auto operator<=>(const Date&, const Date&) = default;
};

}  // namespace Foundation

template <>
struct std::hash<Foundation::Date> {
    std::size_t operator()(const Foundation::Date& date) const noexcept {
        return std::hash<double>()(date.secondsSince1970);
    }
};
