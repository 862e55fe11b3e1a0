#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Foundation/Data.h"

namespace Foundation {

/// Decodes standard base64 (RFC 4648, section 4), strictly: the padding is required, and a character outside the
/// alphabet, a length that is no multiple of 4 or padding anywhere but at the end gives nothing. The bits that the
/// last character has to spare are not looked at. The empty text gives no bytes.
std::optional<Data> base64Decoded(std::string_view text);

/// Standard base64 with padding.
std::string base64Encoded(const Data& data);

}  // namespace Foundation
