#include "Printable.h"

#include <cstddef>

namespace torvo::sips {
namespace {

/// The length of the well-formed UTF-8 sequence at the start of `text` (RFC 3629, section 4); 0 when there is none.
std::size_t sequenceLength(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC2 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 0;
    if (length > text.size())
        return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
    }
    if (length > 2) {
        const unsigned char second = byte(1);
        const bool isOverlong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
        const bool isOutside = (lead == 0xED && second > 0x9F) || (lead == 0xF4 && second > 0x8F);
        if (isOverlong || isOutside)
            return 0;
    }
    return length;
}

} // namespace

std::string printable(std::string_view bytes) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string result;
    while (!bytes.empty()) {
        std::size_t length = sequenceLength(bytes);
        const auto lead = static_cast<unsigned char>(bytes[0]);
        const bool isControl =
            lead < 0x20 || lead == 0x7F || (lead == 0xC2 && length == 2 && static_cast<unsigned char>(bytes[1]) < 0xA0);
        if (length == 0 || isControl) {
            result += "\\x";
            result += kDigits[lead >> 4];
            result += kDigits[lead & 15];
            length = 1;
        } else {
            result += bytes.substr(0, length);
        }
        bytes.remove_prefix(length);
    }
    return result;
}

} // namespace torvo::sips
