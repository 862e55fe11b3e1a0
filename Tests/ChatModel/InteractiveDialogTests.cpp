#include <gtest/gtest.h>

#include "ChatModel/InteractiveDialog.h"
#include "ChatModel/ServerJSON.h"

using namespace ChatModel;
using namespace std::string_literals;
using Element = InteractiveDialog::Element;
using Control = Element::Control;

namespace {

const Element::Kind text, number = Element::TextField{"number"}, email = Element::TextField{"email"},
    select = Element::Select{"number"}, date = Element::Unsupported{"date"};

Element element(const char* name, const Element::Kind& kind, const char* defaultValue = "") {
    return {name, "", kind, defaultValue, "", "", false, 0, 0, {}, ""};
}

InteractiveDialog dialog(const std::vector<Element>& elements) { return {"", "", "", "", elements, "", false, ""}; }

std::string fault(const Element& element, std::string_view value) {
    const auto error = element.validate(value);
    if (!error) return "";
    if (const auto* tooShort = std::get_if<InteractiveDialog::TooShort>(&*error))
        return "short " + std::to_string(tooShort->minimum);
    if (const auto* tooLong = std::get_if<InteractiveDialog::TooLong>(&*error))
        return "long " + std::to_string(tooLong->maximum);
    return std::string(Foundation::wireName(std::get<InteractiveDialog::Fault>(*error)));
}

std::string submitted(const std::vector<Element>& elements, const InteractiveDialog::Entries& entries) {
    return ServerJSON<JSONValue>::encode(dialog(elements).submission(entries));
}

TEST(InteractiveDialog, SaysWhatIsWrongFirst) {
    const std::tuple<Element::Kind, std::pair<int, int>, const char*, const char*> rows[] = {
        {text, {}, " \u00A0\n\u2028", "required"}, {date, {}, " ", "required"}, {select, {}, "\n", "required"},
        {Control::radio, {}, "", "required"}, {Control::textarea, {}, "", "required"},
        {Control::boolean, {3, 0}, " ", ""}, {text, {3, 0}, " ab\n", "short 3"}, {text, {3, 3}, "abc", ""},
        {text, {0, 2}, " ab\n", ""}, {text, {0, 2}, "abc", "long 2"}, {text, {-3, -1}, "ab", ""},
        {text, {0, 1}, "ab", "long 1"}, {text, {2, 0}, "\U0001F468\u200D\U0001F469", "short 2"},
        {text, {0, 4}, "e\u0301a\r\n\u00E9", ""}, {text, {3, 2}, "a", "short 3"}, {text, {3, 2}, "abc", "long 2"},
        {Control::textarea, {3, 0}, "ab", "short 3"}, {Control::textarea, {0, 2}, "abc", "long 2"},
        {Control::textarea, {}, "abc", ""}, {select, {3, 1}, "ab", ""}, {date, {3, 1}, "ab", ""},
        {Control::radio, {3, 1}, "ab", ""}, {Control::boolean, {3, 1}, "ab", ""}, {number, {0, 1}, "ab", "long 1"},
        {number, {3, 0}, "12", "short 3"}, {email, {0, 1}, "ab", "long 1"}, {email, {}, "a@b", ""},
        {email, {}, " @\n", ""}, {email, {}, "ab", "invalidEmail"}, {Element::TextField{"numbers"}, {}, "ab", ""},
        {Element::TextField{"Email"}, {}, "ab", ""}};
    for (const auto& [kind, limits, value, expected] : rows) {
        Element tested = element("", kind);
        std::tie(tested.minLength, tested.maxLength) = limits;
        SCOPED_TRACE(std::string(value) + ": " + expected);
        EXPECT_TRUE(ServerJSON<Element>::decode(ServerJSON<Element>::encode(tested)) == tested);
        EXPECT_EQ(fault(tested, value), expected);
        tested.isOptional = true;
        EXPECT_EQ(fault(tested, value), expected == "required"s ? "" : expected);
    }
}

TEST(InteractiveDialog, TakesNumbersThatAreFinite) {
    const Element n = element("n", number);
    const std::pair<std::string, const char*> rows[] = {
        {"12.5", "12.5"}, {"+5", "5"}, {".5", "0.5"}, {"5.", "5"}, {"1e5", "100000"}, {"-.5E+1", "-5"}, {"007", "7"},
        {"1e-400", "0"}, {"+1e-400", "0"}, {"4.9e-324", "5e-324"}, {"-0", "-0"}, {"\t \u1680\u3000" "7\u00A0 ", "7"},
        {"0x10", "16"}, {"-0X1.8p3", "-12"}, {"0x1p-9999", "0"}, {"0e99999", "0"}, {"1.7976931348623157e308", "1.7976931348623157e+308"}};
    for (const auto& [entry, value] : rows) {
        EXPECT_EQ(fault(n, entry), "") << entry;
        EXPECT_EQ(submitted({n}, {{"n", entry}}), R"({"n":)"s + value + '}') << entry;
    }
    for (const auto& entry : {"12,5"s, "abc"s, "inf"s, "-inf"s, "+Infinity"s, "nan"s, "-nan(1)"s, "0x"s, "0x1p9999"s,
                              "1e400"s, "-1e400"s, "+-5"s, "-+5"s, "++5"s, "+"s, "-"s, "."s, "-."s, "e5"s, "1e"s,
                              "1e+"s, "5 5"s, "- 5"s, "1.5.2"s, "5\0"s, "1_0"s, "\u0661"s, "5\xFF"s}) {
        EXPECT_EQ(fault(n, entry), "notANumber") << entry;
        EXPECT_EQ(submitted({n}, {{"n", entry}}), "{}") << entry;
    }
    for (const std::string lineEnd : {"\n", "\v", "\f", "\r", "\u0085", "\u2028", "\u2029"})
        for (const auto& entry : {lineEnd + '7', '7' + lineEnd}) {
            EXPECT_EQ(fault(n, entry), "");
            EXPECT_EQ(submitted({n}, {{"n", entry}}), "{}") << testing::PrintToString(entry);
        }
}

TEST(InteractiveDialog, SubmitsWhatWasEntered) {
    const auto all = [](const std::string& entry) {
        std::vector<Element> elements;
        InteractiveDialog::Entries entries = {{"other", "x"}};
        for (const Element::Kind& kind : {text, number, email, select, date, Element::Kind(Control::textarea),
                                          Element::Kind(Control::radio), Element::Kind(Control::boolean)}) {
            elements.push_back(element(std::string(1, static_cast<char>('a' + elements.size())).c_str(), kind));
            if (entry != "none") entries[elements.back().name] = entry;
        }
        return submitted(elements, entries);
    };
    EXPECT_EQ(all("none"), R"({"h":false})");
    EXPECT_EQ(all(""), R"({"h":false})");
    EXPECT_EQ(all(" "), R"({"a":" ","c":" ","d":" ","e":" ","f":" ","g":" ","h":false})");
    EXPECT_EQ(all("7"), R"({"a":"7","b":7,"c":"7","d":"7","e":"7","f":"7","g":"7","h":false})");
    EXPECT_EQ(all("true"), R"({"a":"true","c":"true","d":"true","e":"true","f":"true","g":"true","h":true})");
    const Element asText = element("n", text, "1"), asNumber = element("n", number, "2");
    EXPECT_EQ(submitted({asText, asNumber}, {{"n", "7"}}), R"({"n":7})");
    EXPECT_EQ(submitted({asNumber, asText}, {{"n", "7"}}), R"({"n":"7"})");
    EXPECT_EQ(submitted({asText, asNumber}, {{"n", "a"}}), R"({"n":"a"})");
    EXPECT_EQ(dialog({asText, element("e", text), asNumber}).defaultValues(),
              (InteractiveDialog::Entries{{"e", ""}, {"n", "1"}}));
}

}  // namespace
