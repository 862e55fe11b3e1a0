#include "Desktop/Registration.h"

#include <array>
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

}  // namespace

Registration Registration::load(const std::filesystem::path& directory) {
    try {
        return Foundation::decodeJSON<Registration>(
            Foundation::textView(Foundation::Files::read(directory / fileName)));
    } catch (const Foundation::CocoaError& error) {
        if (error.code() != Foundation::CocoaError::Code::fileReadNoSuchFile) throw;
    } catch (const Foundation::DecodingError&) {
        // The distributor is asked again.
    }
    return {randomToken(), std::nullopt, std::nullopt};
}

void Registration::save(const std::filesystem::path& directory) const {
    Foundation::Files::createDirectory(directory);
    Foundation::Files::AtomicWrite(directory / fileName, Foundation::bytes(Foundation::encodeJSON(*this))).commit();
}

}  // namespace Desktop
