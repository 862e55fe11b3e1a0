#pragma once

#include <array>
#include <compare>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace ChatModel {

/// What the server calls a record by: any text, which is compared and handed on as it is. One of 31 bytes or fewer, as
/// the server's own are, stands in the value itself, which is as large as a `std::string`. It reads as a
/// `std::string_view`, valid as long as the identifier is neither moved nor assigned to.
class Identifier {
public:
    Identifier() noexcept = default;
    Identifier(std::string_view text) {
        if (text.size() <= room)
            putInside(text);
        else
            putOutside(text);
    }
    Identifier(const std::string& text) : Identifier(std::string_view(text)) {}
    Identifier(const char* text) : Identifier(std::string_view(text)) {}

    Identifier(const Identifier& other) : bytes_(other.bytes_) {
        if (other.isOutside()) putOutside(other);
    }
    Identifier(Identifier&& other) noexcept : bytes_(other.bytes_) {
        if (other.isOutside()) other.bytes_ = {};
    }
    Identifier& operator=(const Identifier& other) { return *this = Identifier(other); }
    Identifier& operator=(Identifier&& other) noexcept {
        std::swap(bytes_, other.bytes_);
        return *this;
    }
    ~Identifier() {
        if (isOutside()) delete[] outside().data();
    }

    operator std::string_view() const noexcept {
        return isOutside() ? outside() : std::string_view(bytes_.data(), static_cast<std::size_t>(bytes_[room]));
    }
    bool empty() const noexcept { return bytes_[room] == 0; }

    friend bool operator==(const Identifier& left, const Identifier& right) noexcept {
        // What stands inside is followed by zeros, and the length is among the bytes.
        return left.bytes_ == right.bytes_ ||
               (left.isOutside() && right.isOutside() && left.outside() == right.outside());
    }
    template <class Text>
    requires std::convertible_to<const Text&, std::string_view>
    friend bool operator==(const Identifier& left, const Text& right) noexcept {
        return std::string_view(left) == std::string_view(right);
    }
    friend std::strong_ordering operator<=>(const Identifier& left, const Identifier& right) noexcept {
        return std::string_view(left) <=> std::string_view(right);
    }
    template <class Text>
    requires std::convertible_to<const Text&, std::string_view>
    friend std::strong_ordering operator<=>(const Identifier& left, const Text& right) noexcept {
        return std::string_view(left) <=> std::string_view(right);
    }

private:
    static constexpr std::size_t room = 31;
    static constexpr char outsideMark = room + 1;

    bool isOutside() const noexcept { return bytes_[room] == outsideMark; }

    void putInside(std::string_view text) noexcept {
        constexpr std::size_t half = 16;
        if (text.size() >= half) {
            // Two pieces of a fixed length, which overlap, are faster than one of any.
            std::memcpy(bytes_.data(), text.data(), half);
            std::memcpy(bytes_.data() + text.size() - half, text.data() + text.size() - half, half);
        } else if (!text.empty()) {
            std::memcpy(bytes_.data(), text.data(), text.size());
        }
        bytes_[room] = static_cast<char>(text.size());
    }

    /// The text's address and then its size stand in front.
    void putOutside(std::string_view text) {
        const std::size_t size = text.size();
        char* const copy = new char[size];
        std::memcpy(copy, text.data(), size);
        bytes_ = {};
        std::memcpy(bytes_.data(), &copy, sizeof(copy));
        std::memcpy(bytes_.data() + sizeof(copy), &size, sizeof(size));
        bytes_[room] = outsideMark;
    }

    std::string_view outside() const noexcept {
        char* text = nullptr;
        std::size_t size = 0;
        std::memcpy(&text, bytes_.data(), sizeof(text));
        std::memcpy(&size, bytes_.data() + sizeof(text), sizeof(size));
        return {text, size};
    }

    // The last one is the length, or says that the text stands outside.
    alignas(8) std::array<char, room + 1> bytes_{};
};

}  // namespace ChatModel

template <>
struct std::hash<ChatModel::Identifier> {
    std::size_t operator()(const ChatModel::Identifier& identifier) const noexcept {
        return std::hash<std::string_view>()(identifier);
    }
};
