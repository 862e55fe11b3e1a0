#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Foundation {

/// Finds one of a fixed set of keys by a look at three of its characters and its length. Made when the program is
/// compiled: a set for which no such look tells the keys apart does not compile. Empty keys stand for none.
template <std::size_t count>
class KeyIndex {
public:
    consteval explicit KeyIndex(const std::array<std::string_view, count>& keys) {
        // An odd factor whose bits are well mixed; the next one is its own multiple.
        constexpr std::uint32_t mixed = 0x9E3779B1;
        for (factor_ = mixed; !place(keys); factor_ *= mixed) {
        }
    }

    /// The number of the only key that this can be, which the caller still has to compare; `count` for none.
    constexpr std::size_t find(std::string_view key) const { return key.empty() ? count : numbers_[slotOf(key)]; }

private:
    static constexpr int bits = count <= 8 ? 5 : count <= 16 ? 6 : 8;

    constexpr std::size_t slotOf(std::string_view key) const {
        const auto at = [&](std::size_t i) { return static_cast<std::uint32_t>(static_cast<unsigned char>(key[i])); };
        const auto size = static_cast<std::uint32_t>(key.size());
        // Not at the first character: "min_length" and "max_length" have it in common with the middle and the last.
        const std::uint32_t look = at(size / 4) | at(size / 2) << 8 | at(size - 1) << 16 | size << 24;
        return look * factor_ >> (32 - bits);
    }

    constexpr bool place(const std::array<std::string_view, count>& keys) {
        numbers_.fill(count);
        for (std::size_t number = 0; number < count; ++number) {
            if (keys[number].empty()) continue;
            auto& slot = numbers_[slotOf(keys[number])];
            if (slot != count) return false;
            slot = static_cast<std::uint8_t>(number);
        }
        return true;
    }

    std::uint32_t factor_ = 1;
    std::array<std::uint8_t, std::size_t{1} << bits> numbers_{};
};

}  // namespace Foundation
