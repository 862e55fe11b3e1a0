#pragma once

#include <string>
#include <vector>

namespace Foundation {

/// The user's languages, most wanted first, as BCP 47 tags of language and script ("de", "zh-Hans"), from LANGUAGE,
/// LC_ALL, LC_MESSAGES and LANG: the first of the latter three that is set names the locale, and LANGUAGE a list that
/// goes before it. The locale "C" (or "POSIX") has none, whatever LANGUAGE says; unlike gettext's, a locale that is not
/// set at all leaves LANGUAGE its say. Empty variables count as unset; read anew at each call.
std::vector<std::string> preferredLanguages();

}  // namespace Foundation
