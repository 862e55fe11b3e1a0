#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "Foundation/JSONReader.h"
#include "Foundation/JSONWriter.h"
#include "Foundation/URL.h"

namespace tessel {

/// Reads one JSON value and writes the answer. Throws `Foundation::DecodingError` for what it refuses.
using Operation = std::function<void(Foundation::JSONReader&, Foundation::JSONWriter&)>;
using Operations = std::map<std::string, Operation>;

/// The operations on pushes, and those on entities and by the chat's rules.
const Operations& pushOperations();
const Operations& ruleOperations();

/// The operations by the rules that decide who is notified, and how.
const Operations& notificationOperations();

/// The operations that make a channel's posts into the rows of a view.
const Operations& timelineOperations();

/// The operations on what the user sets: notifications, the sidebar, the server, the device.
const Operations& settingOperations();

/// The operations on read receipts and on interactive dialogs.
const Operations& dialogOperations();

/// The operation that assembles the sidebar.
const Operations& sidebarOperations();

/// The operation `decode TYPE`, by the type's name.
const Operations& decodeOperations();

/// The operation of this name among these; null where there is none.
const Operation* findOperation(const Operations& operations, const std::string& name);

/// Applies the operation to each line of standard input that is not blank, and answers each with a line. Returns the
/// exit status. Throws `std::system_error` where input or output fails.
int runModel(const Operation& operation);

/// An operation's input: the members of an object. Unknown ones are passed over. Valid while the object is being read.
/// Errors name the member.
class Members {
public:
    explicit Members(Foundation::JSONReader& reader);

    /// A member that must be there. Throws where it is missing, null or of another kind.
    std::string text(const std::string& key) const;
    Foundation::URL url(const std::string& key) const;
    void read(const std::string& key, Foundation::FunctionRef<void(Foundation::JSONReader&)> read) const;

    /// The same, through a function of the member's JSON text.
    template <class Decode>
    auto decoded(const std::string& key, Decode decode) const {
        const std::string_view json = required(key);
        try {
            return decode(json);
        } catch (const Foundation::DecodingError& error) {
            throw error.below(key);
        }
    }

    /// A member that may be missing or null, through such a function.
    template <class Decode>
    auto optionallyDecoded(const std::string& key, Decode decode) const {
        using Value = decltype(decode(std::string_view()));
        return has(key) ? std::optional<Value>(decoded(key, decode)) : std::nullopt;
    }

    std::optional<std::string> optionalText(const std::string& key) const;
    std::optional<std::int64_t> optionalInteger(const std::string& key) const;
    bool has(const std::string& key) const;

private:
    std::string_view required(const std::string& key) const;

    std::map<std::string, std::string_view, std::less<>> members_;
};

/// The URL's text, to be written.
std::optional<std::string> spelling(const std::optional<Foundation::URL>& url);

/// The error for a member that holds what the operation does not take: "KEY: REASON".
[[noreturn]] void refuse(const std::string& key, const std::string& reason);

}  // namespace tessel
