#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "Foundation/DecodingError.h"
#include "Foundation/FunctionRef.h"

namespace Foundation {

/// One value of a JSON text (RFC 8259) while it is being read. A reader is handed to a callback and serves for the
/// length of that call; a value that the callback leaves unread is skipped, and checked all the same. Every read
/// throws `DecodingError` where the value is of another kind or the text is malformed.
class JSONReader {
public:
    enum class Kind { null, boolean, number, text, array, object };

    /// Values nested deeper than this are refused.
    static constexpr int maximumDepth = 512;

    Kind kind() const;

    /// Reads an object, member by member in the text's order. Of equal keys each is handed over: the last one wins
    /// where the callback assigns. `key` is unescaped, and valid during the call.
    void object(FunctionRef<void(std::string_view key, JSONReader& value)> member);
    void array(FunctionRef<void(JSONReader& element)> element);

    void read(std::string& text);
    void read(bool& boolean);

    /// A number without fraction within range, however it is written (3, 3.0, 3e0).
    void read(std::int64_t& integer);

    /// The nearest double; a number too small for one is 0 or denormal, one too large is refused.
    void read(double& real);

    /// Whether the value is null; if not, it is still to be read.
    bool null();

    /// Passes over the value and checks that it is well-formed, all the way down.
    void skip();

    /// Whether the number is written with digits alone, and so is an integer by its spelling.
    bool isWrittenAsInteger() const;

    /// The value's own text, once it has been passed over and checked; valid during the callback.
    std::string_view raw();

    /// Throws the error for this place: "expected EXPECTATION", unless what stands there is no JSON at all.
    [[noreturn]] void failExpecting(const std::string& expectation);

    /// Throws the error for a key that this object lacks.
    [[noreturn]] void failMissing(std::string_view key) const;

private:
    friend struct JSONReading;
    JSONReader(const JSONReader* parent, std::string_view key, std::size_t index, void* value);

    std::string_view token() const;
    std::string path() const;
    [[noreturn]] void failMalformed(const char* reason) const;

    const JSONReader* parent_;
    std::string_view key_;
    std::size_t index_;
    int depth_;
    bool consumed_ = false;
    void* value_;
};

/// Reads the JSON text, which must hold one value and nothing behind it. Safe to call from several threads and from
/// within itself. Throws `DecodingError`, and what `read` throws.
void parseJSON(std::string_view text, FunctionRef<void(JSONReader& value)> read);

}  // namespace Foundation
