#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace Foundation {

/// Whether the text is a number by the grammar of RFC 8259, section 6.
bool isJSONNumber(std::string_view text);

/// The double nearest to such a number, or another that `std::from_chars` takes as a whole; 0 or a denormal where it is
/// too small, nothing where it is too large for one.
std::optional<double> nearestDouble(std::string_view number);

/// The integer that such a number is, however it is written (3, 3.0, 30e-1): a double in between would round what has
/// more than 53 bits. Nothing where it has a fraction or does not fit.
std::optional<std::int64_t> exactInteger(std::string_view number);

}  // namespace Foundation
