#include "support/Utf8.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace torvo {

namespace {

/// The position of the first byte at or after `at` that is not ASCII, or a little before it.
std::size_t skipASCII(const char* data, std::size_t at, std::size_t size) {
    constexpr std::uint64_t kHighBits = 0x8080808080808080U;
    for (; at + 64 <= size; at += 64) {
        std::uint64_t words[8];
        std::memcpy(words, data + at, sizeof words);
        std::uint64_t any = 0;
        for (const std::uint64_t word : words)
            any |= word;
        if ((any & kHighBits) != 0)
            break;
    }
    for (; at + 8 <= size; at += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, data + at, sizeof word);
        if ((word & kHighBits) != 0)
            break;
    }
    return at;
}

/// The range that the second byte after `lead` must lie in, and how many bytes follow `lead`; none for a bad lead.
struct Sequence {
    std::size_t following = 0;
    unsigned char lowest = 0x80;
    unsigned char highest = 0xBF;
};

Sequence sequenceOf(unsigned char lead) {
    if (lead >= 0xC2 && lead <= 0xDF)
        return {1};
    if (lead == 0xE0)
        return {2, 0xA0, 0xBF};
    if (lead == 0xED)
        return {2, 0x80, 0x9F};
    if (lead >= 0xE1 && lead <= 0xEF)
        return {2};
    if (lead == 0xF0)
        return {3, 0x90, 0xBF};
    if (lead >= 0xF1 && lead <= 0xF3)
        return {3};
    if (lead == 0xF4)
        return {3, 0x80, 0x8F};
    return {};
}

} // namespace

bool isValidUTF8(std::string_view bytes) {
    const char* const data = bytes.data();
    const std::size_t size = bytes.size();
    std::size_t at = 0;
    while (at < size) {
        const auto lead = static_cast<unsigned char>(data[at]);
        if (lead < 0x80) {
            const std::size_t next = skipASCII(data, at, size);
            at = next == at ? at + 1 : next;
            continue;
        }
        const Sequence sequence = sequenceOf(lead);
        if (sequence.following == 0 || size - at <= sequence.following)
            return false;
        const auto second = static_cast<unsigned char>(data[at + 1]);
        if (second < sequence.lowest || second > sequence.highest)
            return false;
        for (std::size_t i = 2; i <= sequence.following; ++i)
            if ((static_cast<unsigned char>(data[at + i]) & 0xC0) != 0x80)
                return false;
        at += sequence.following + 1;
    }
    return true;
}

} // namespace torvo
