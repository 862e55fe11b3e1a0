#pragma once

#include <string>
#include <vector>

namespace Foundation {

/// The user's languages, most wanted first, as BCP 47 tags of language and script ("de", "zh-Hans"), from LANGUAGE,
/// LC_ALL, LC_MESSAGES and LANG in the order of gettext: the first of the latter three that is set names the locale,
/// and LANGUAGE a list that goes before it, but for the locale "C" (or "POSIX"), which has none. Empty variables
/// count as unset; read anew at each call.
std::vector<std::string> preferredLanguages();

}  // namespace Foundation
