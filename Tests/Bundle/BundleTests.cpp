#include "Bundle/Bundle.h"

#include <array>

#include "Bundle/Locale.h"
#include "Support/Support.h"

// clang-format off: the tables hold several short rows on a line.
using namespace Foundation;
using namespace std::string_literals;

namespace {

/// The values of LANGUAGE, LC_ALL, LC_MESSAGES and LANG; a null one is unset.
using Locale = std::array<const char*, 4>;

void setLocale(const Locale& locale) {
    const char* const names[] = {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"};
    for (std::size_t i = 0; i < locale.size(); ++i)
        locale[i] == nullptr ? ::unsetenv(names[i]) : ::setenv(names[i], locale[i], 1);
}

TEST(Locale, NamesLanguagesInGettextsOrder) {
    constexpr const char* no = nullptr;
    const std::pair<Locale, std::vector<std::string>> rows[] = {
        {{}, {}}, {{"", "", "", ""}, {}}, {{no, "", "", "de_AT.UTF-8@euro"}, {"de"}}, {{no, no, "fr", "de"}, {"fr"}},
        {{no, "es_ES", "fr", "de"}, {"es"}}, {{"fr:de_DE::ja", no, no, "en_GB"}, {"fr", "de", "ja", "en"}},
        {{"fr", "C", no, "de"}, {}}, {{"fr", no, "POSIX", "de"}, {}}, {{"fr", "de", no, "C"}, {"fr", "de"}},
        {{"zh_TW:zh-Hans-TW:zh_Hant:zh", no, no, "zh_CN"}, {"zh-Hant", "zh-Hans", "zh-Hant", "zh-Hans", "zh-Hans"}}};
    for (const auto& [locale, languages] : rows) {
        setLocale(locale);
        EXPECT_EQ(preferredLanguages(), languages);
    }
}

TEST(Bundle, LocalisesInEitherLayout) {
    const Support::TemporaryDirectory directory;
    const auto write = [&](const std::string& path, const char* entries) {
        Support::writeFile(directory / (path + ".lproj/Localizable.strings"),
                           "<plist><dict><key>k</key>"s + entries + "</dict></plist>");
    };
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"de_DE", "k", "Stra\u00DFe"}, {"ja:de", "k", "Stra\u00DFe"}, {"ja", "k", "English"}, {"de", "e", "e"},
        {"de", "n", "n"}, {"fr", "k", "k"}, {"sub/out", "k", "English"}, {"ja", "missing", "missing"}};
    for (const std::string resources : {"flat/", "deep/Contents/Resources/"}) {
        write(resources + "en", "<string>English</string><key>e</key><string>e!</string>");
        write(resources + "de", "<string>Stra\u00DFe</string><key>n</key><integer>1</integer>");
        write(resources + "fr", "<damaged");
        write(resources + "sub/out", "<string>outside</string>");
        const auto bundle = Bundle::open(directory / resources.substr(0, 4));
        for (const auto& [language, key, text] : rows) {
            setLocale({language, nullptr, nullptr, "nl"});
            EXPECT_EQ(bundle->localizedString(key), text) << resources << language;
        }
    }
    EXPECT_EQ(Bundle::open(directory / "none"), nullptr);
}

TEST(Bundle, ReadsItsInformationOrNone) {
    const auto binary = "bplist00\xD1\1\2Qa\x51" "b\x08\x0B\x0D\0\0\0\0\0\0\1\1\0\0\0\0\0\0\0\3"
                        "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x0F"s;
    const std::string xml = "<plist><dict><key>t</key><true/><key>i</key><integer>-1</integer><key>r</key>"
                            "<real>1.5</real><key>d</key><data>AP8=</data><key>x</key><date>2024-01-01T00:00:00Z</date>"
                            "<key>s</key><array><string/><dict/></array></dict></plist>";
    const PropertyList::Array array = {"", Dictionary{}};
    const std::pair<std::string, Dictionary> rows[] = {
        {xml, {{"t", true}, {"i", -1}, {"r", 1.5}, {"d", Data{0, 255}}, {"x", {}}, {"s", array}}},
        {binary, {{"a", "b"}}}, {"", {}}, {"no property list", {}}, {binary.substr(0, 30), {}},
        {xml.substr(0, 80), {}}, {"<plist><array/></plist>", {}}};
    for (const auto& [text, information] : rows)
        for (const std::string file : {"Info.plist", "Contents/Info.plist"}) {
            const Support::TemporaryDirectory directory;
            EXPECT_EQ(Bundle::open(directory.path())->infoDictionary(), Dictionary());
            Support::writeFile(directory / file, text);
            EXPECT_EQ(Bundle::open(directory.path())->infoDictionary(), information) << text;
        }
}

}  // namespace
