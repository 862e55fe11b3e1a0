#include "Text/CanonicalEquivalence.h"

#include <algorithm>
#include <string>

#include <unicode/unorm2.h>
#include <unicode/ustring.h>

#include "Foundation/DynamicLibrary.h"
#include "Text/ICU.h"

namespace Text {

namespace {

#define TESSEL_QUOTED_(name) #name
#define TESSEL_QUOTED(name) TESSEL_QUOTED_(name)

/// The part of ICU that normalises. It is loaded for the first pair of texts that differ outside ASCII, which no
/// ordinary push does. ICU's names carry its version, as the headers spell it.
class Normalizer {
public:
    static const Normalizer& shared() {
        static const Normalizer normalizer;
        return normalizer;
    }

    std::u16string normalized(std::string_view text) const {
        std::u16string utf16(text.size(), u'\0');
        std::int32_t length = 0;
        UErrorCode error = U_ZERO_ERROR;
        // Ill-formed sequences become U+FFFD one by one, as they do when such bytes are made into text.
        fromUTF8_(utf16.data(), static_cast<std::int32_t>(utf16.size()), &length, text.data(),
                  static_cast<std::int32_t>(text.size()), 0xFFFD, nullptr, &error);
        check(error);
        std::u16string result(static_cast<std::size_t>(length) * 4 + 16, u'\0');
        const std::int32_t written =
            normalize_(nfd_, utf16.data(), length, result.data(), static_cast<std::int32_t>(result.size()), &error);
        if (error == U_BUFFER_OVERFLOW_ERROR) {
            error = U_ZERO_ERROR;
            result.resize(static_cast<std::size_t>(written));
            normalize_(nfd_, utf16.data(), length, result.data(), written, &error);
        }
        check(error);
        result.resize(static_cast<std::size_t>(written));
        return result;
    }

private:
    Normalizer() : library_("libicuuc.so." TESSEL_QUOTED(U_ICU_VERSION_MAJOR_NUM)) {
        fromUTF8_ = library_.function<decltype(u_strFromUTF8WithSub)>(TESSEL_QUOTED(u_strFromUTF8WithSub));
        normalize_ = library_.function<decltype(unorm2_normalize)>(TESSEL_QUOTED(unorm2_normalize));
        UErrorCode error = U_ZERO_ERROR;
        nfd_ = library_.function<decltype(unorm2_getNFDInstance)>(TESSEL_QUOTED(unorm2_getNFDInstance))(&error);
        check(error);
    }

    Foundation::DynamicLibrary library_;
    decltype(u_strFromUTF8WithSub)* fromUTF8_ = nullptr;
    decltype(unorm2_normalize)* normalize_ = nullptr;
    const UNormalizer2* nfd_ = nullptr;
};

bool isASCII(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char character) { return (character & 0x80) == 0; });
}

}  // namespace

bool canonicallyEquivalent(std::string_view left, std::string_view right) {
    if (left == right) return true;
    // ASCII is its own normal form, but a few characters outside it (U+212A KELVIN SIGN) are equivalent to some of it.
    if (isASCII(left) && isASCII(right)) return false;
    if (std::max(left.size(), right.size()) > longestNormalized) return false;
    const Normalizer& normalizer = Normalizer::shared();
    return normalizer.normalized(left) == normalizer.normalized(right);
}

}  // namespace Text
