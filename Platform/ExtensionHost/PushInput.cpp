#include "ExtensionHost/PushInput.h"

#include <algorithm>
#include <new>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "Foundation/Files.h"
#include "Foundation/StandardStreams.h"

namespace ExtensionHost {

using Foundation::DecodingError;
using Foundation::Dictionary;

namespace {

constexpr const char* standardInput = "-";
constexpr const char* noMemory = "there is not enough memory";

bool isBlank(std::string_view line) {
    return line.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

/// The payload that the text as a whole is; nothing where it is none, or is one line only, which reads the same.
std::optional<Dictionary> wholePayload(std::string_view text) {
    const std::size_t firstEnd = text.find('\n', std::min(text.find_first_not_of(" \t\r\n"), text.size()));
    if (firstEnd == std::string_view::npos || isBlank(text.substr(firstEnd))) return std::nullopt;
    try {
        return Foundation::parseDictionary(text);
    } catch (const DecodingError&) {
        return std::nullopt;  // then it is read line by line, and each line speaks for itself
    }
}

}  // namespace

PushInput::PushInput(std::vector<std::string> files) : files_(std::move(files)) {
    if (files_.empty()) files_.emplace_back(standardInput);
}

bool PushInput::read(const std::function<bool(Push)>& take) {
    for (const auto& file : files_)
        if (!(file == standardInput ? readStandardInput(take) : readFile(file, take))) break;
    return allGood_;
}

bool PushInput::readFile(const std::string& file, const std::function<bool(Push)>& take) {
    Foundation::Data data;
    std::optional<Dictionary> whole;
    try {
        data = Foundation::Files::read(file);
        whole = wholePayload(Foundation::textView(data));
        if (whole) return take({index_++, *std::move(whole)});
    } catch (const Foundation::CocoaError& error) {
        report(file, 0, std::generic_category().message(error.posixCode()).c_str());
        return true;
    } catch (const std::bad_alloc&) {
        report(file, 0, noMemory);
        return true;
    }
    std::string_view text = Foundation::textView(data);
    for (std::size_t number = 1; !text.empty(); ++number) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        if (!readLine(file, number, text.substr(0, end), take)) return false;
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return true;
}

bool PushInput::readStandardInput(const std::function<bool(Push)>& take) {
    Foundation::StandardInput input;
    try {
        for (std::size_t number = 1; const auto line = input.next(); ++number)
            if (!readLine(standardInput, number, line->text, take)) return false;
    } catch (const std::system_error& error) {
        report(standardInput, 0, error.code().message().c_str());
    } catch (const std::bad_alloc&) {
        report(standardInput, 0, noMemory);
    }
    return true;
}

bool PushInput::readLine(const std::string& file, std::size_t number, std::string_view line,
                         const std::function<bool(Push)>& take) {
    if (isBlank(line)) return true;
    const std::size_t index = index_++;
    try {
        return take({index, Foundation::parseDictionary(line)});
    } catch (const DecodingError& error) {
        report(file, number, error.description().c_str());
    } catch (const std::bad_alloc&) {
        report(file, number, noMemory);
    }
    return true;
}

void PushInput::report(const std::string& file, std::size_t line, const char* reason) noexcept {
    allGood_ = false;
    try {
        Foundation::reportError(file + (line > 0 ? ':' + std::to_string(line) : "") + ": " + reason);
    } catch (const std::bad_alloc&) {
        Foundation::reportError(reason);
    }
}

}  // namespace ExtensionHost
