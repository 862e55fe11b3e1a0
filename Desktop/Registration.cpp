#include "Desktop/Registration.h"

#include <random>

#include "Foundation/Files.h"
#include "Foundation/JSONCoding.h"

using Desktop::Registration;
using Foundation::optional;
using Foundation::required;

template <>
constexpr auto Foundation::fields<Registration> = std::tuple{
    required("token", &Registration::token),
    optional("distributor", &Registration::distributor),
    optional("endpoint", &Registration::endpoint),
};

namespace Desktop {

namespace {

constexpr const char* fileName = "registration.json";

std::string randomToken() {
    constexpr std::size_t length = 32;
    constexpr std::string_view digits = "0123456789abcdef";
    std::random_device random;
    std::string token(length, ' ');
    for (char& digit : token)
        digit = digits[random() % digits.size()];
    return token;
}

/// Whether the file does; what cannot be read fails to be written, too, and there it is told.
bool holds(const std::filesystem::path& file, const Foundation::Data& content) {
    try {
        return Foundation::Files::read(file) == content;
    } catch (const Foundation::CocoaError&) {
        return false;
    }
}

}  // namespace

Registration Registration::make() {
    return {randomToken(), std::nullopt, std::nullopt};
}

Registration Registration::load(const std::filesystem::path& directory) {
    try {
        return Foundation::decodeJSON<Registration>(
            Foundation::textView(Foundation::Files::read(directory / fileName)));
    } catch (const Foundation::CocoaError& error) {
        if (error.code() != Foundation::CocoaError::Code::fileReadNoSuchFile) throw;
    }
    return make();
}

void Registration::save(const std::filesystem::path& directory) const {
    const auto json = Foundation::bytes(Foundation::encodeJSON(*this));
    if (holds(directory / fileName, json)) return;
    Foundation::Files::createDirectory(directory);
    Foundation::Files::AtomicWrite(directory / fileName, json).commit();
}

}  // namespace Desktop
