#pragma once

#include <iterator>
#include <random>
#include <string>
#include <string_view>

/// A made-up word of one to four syllables, of which there are few: many words start alike.
inline std::string babbledWord(std::mt19937& random) {
    constexpr std::string_view syllables[] = {"ka", "to", "mi",  "ren", "sol", "da", "per", "vin",
                                              "lo", "es", "tra", "ing", "the", "on", "at",  "er"};
    std::string word;
    for (auto length = 1 + random() % 4; length > 0; --length)
        word += syllables[random() % std::size(syllables)];
    return word;
}
