#include "Support.h"

#include <cmath>
#include <cstdlib>

#include "ChatModel/InteractiveDialog.h"
#include "ChatModel/ServerJSON.h"
#include "Foundation/UTF8.h"
#include "Text/Characters.h"
#include "Text/WhiteSpace.h"

using namespace ChatModel;
using Element = InteractiveDialog::Element;
using Fuzzing::check;

namespace {

Element element(FuzzedDataProvider& input) {
    Element made;
    made.name = "n";
    switch (input.ConsumeIntegralInRange(0, 3)) {
        case 0:
            made.kind = Element::Select();
            break;
        case 1:
            made.kind = static_cast<Element::Control>(input.ConsumeIntegralInRange(0, 2));
            break;
        default:
            made.kind = Element::TextField{input.PickValueInArray({"number", "email", ""})};
    }
    made.isOptional = input.ConsumeBool();
    made.minLength = input.ConsumeIntegralInRange(-1, 3);
    made.maxLength = input.ConsumeIntegralInRange(-1, 12);
    return made;
}

/// The number as the C library reads it; nothing for what is not finite, or has something around it.
std::optional<double> number(const std::string& text) {
    if (text.find_first_not_of("0123456789+-.xXpPaAbBcCdDeEfF") != std::string::npos || text.empty())
        return std::nullopt;
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    return end == text.c_str() + text.size() && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

void checkAgreement(const Element& element, const std::string& entry, const JSONValue* posted) {
    const auto error = element.validate(entry);
    const std::string trimmed(Text::trimmed(entry));
    const bool isSwitch = element.kind == Element::Kind(Element::Control::boolean);
    const auto* const field = std::get_if<Element::TextField>(&element.kind);
    const bool isRequired = error == InteractiveDialog::ValidationError(InteractiveDialog::Fault::required);
    check(isRequired == (trimmed.empty() && !element.isOptional && !isSwitch), "what is required is asked for", entry);
    const auto length = static_cast<std::int64_t>(Text::characterCount(trimmed));
    if (!error && field != nullptr && !trimmed.empty())
        check(length >= element.minLength && (element.maxLength < 1 || length <= element.maxLength), "limits hold",
              entry);
    if (isSwitch) {
        check(posted != nullptr && posted->boolValue() == (entry == "true"), "a switch is on or off", entry);
    } else if (field != nullptr && field->subtype == "number") {
        const auto expected = number(std::string(Text::trimmedOfBlanks(entry)));
        check(posted != nullptr ? expected && *posted == JSONValue(*expected) : !expected, "a number is posted", entry);
        if (!error && !trimmed.empty()) check(number(trimmed).has_value(), "a valid number is one", entry);
        if (!error && !trimmed.empty() && trimmed == Text::trimmedOfBlanks(entry))
            check(posted != nullptr, "a valid number is posted", entry);
        if (posted != nullptr)
            check(error != InteractiveDialog::ValidationError(InteractiveDialog::Fault::notANumber), "and not refused");
    } else {
        check((posted == nullptr) == entry.empty(), "what was entered is posted", entry);
        check(posted == nullptr || *posted == JSONValue(entry), "as it was entered", entry);
        if (!error && !trimmed.empty() && field != nullptr && field->subtype == "email")
            check(trimmed.find('@') != std::string::npos, "an address has its at", entry);
    }
}

}  // namespace

/// What is entered into a dialog: what is said of it and what is posted agree.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    InteractiveDialog dialog;
    dialog.elements.push_back(element(input));
    const std::string entry = Foundation::repairedUTF8(input.ConsumeRemainingBytesAsString());
    const auto posted = dialog.submission({{"n", entry}, {"other", entry}});
    check(posted.size() == posted.count("n"), "nothing is posted but what has an element", entry);
    checkAgreement(dialog.elements[0], entry, find(posted, "n"));
    check(ServerJSON<JSONValue>::decode(ServerJSON<JSONValue>::encode(posted)) == JSONValue(posted),
          "what is posted is JSON", entry);
    return 0;
}
