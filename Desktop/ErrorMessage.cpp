#include "Desktop/ErrorMessage.h"

#include <tuple>

#include "Foundation/JSONCoding.h"

template <>
constexpr auto Foundation::fields<Desktop::ErrorMessage> = std::tuple{
    required("summary", &Desktop::ErrorMessage::summary),
    required("text", &Desktop::ErrorMessage::text),
};

namespace Desktop {

ErrorMessage ErrorMessage::read(const Foundation::Data& file) {
    return Foundation::decodeJSON<ErrorMessage>(Foundation::textView(file));
}

Foundation::Data ErrorMessage::file() const {
    return Foundation::bytes(Foundation::encodeJSON(*this));
}

}  // namespace Desktop
