#include "Support.h"

#include "ChatModel/MentionMatcher.h"
#include "ChatModel/SlowMentions.h"
#include "UnicodeText.h"

using namespace ChatModel::NotificationRules;
using Fuzzing::check;

/// Mention keys and a text in which they may appear: they are found where a search of all its parts finds them.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr int mostBytes = 48;  // the slow search takes the square of it
    FuzzedDataProvider input(data, size);
    std::vector<MentionKey> keys;
    for (int count = input.ConsumeIntegralInRange(0, 4); count > 0; --count)
        keys.push_back({Fuzzing::unicodeText(input.ConsumeRandomLengthString(8)), input.ConsumeBool()});
    const std::string text = Fuzzing::unicodeText(input.ConsumeRandomLengthString(mostBytes));

    const auto characters = SlowMentions::characters(text);
    const bool isAnyFound = std::any_of(keys.begin(), keys.end(),
                                        [&](const MentionKey& key) { return SlowMentions::isFound(key, characters); });
    check(MentionMatcher(keys).matches(text) == isAnyFound, "keys made ready are found where they stand", text);
    check(mentionsAny(keys, text) == isAnyFound, "keys are found where they stand", text);
    return 0;
}
