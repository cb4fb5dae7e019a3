#include "support/UUID.h"

#include <cstddef>
#include <random>

namespace torvo {

namespace {

constexpr bool hasHyphenBefore(std::size_t byte) {
    return byte == 4 || byte == 6 || byte == 8 || byte == 10;
}

int hexadecimalValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

} // namespace

UUID UUID::random() {
    std::random_device source;
    UUID uuid;
    for (auto& byte : uuid.bytes)
        byte = static_cast<std::uint8_t>(source());
    uuid.bytes[6] = static_cast<std::uint8_t>((uuid.bytes[6] & 0x0F) | 0x40);
    uuid.bytes[8] = static_cast<std::uint8_t>((uuid.bytes[8] & 0x3F) | 0x80);
    return uuid;
}

std::optional<UUID> UUID::parse(std::string_view text) {
    if (text.size() != 36)
        return std::nullopt;
    UUID uuid;
    std::size_t position = 0;
    for (std::size_t i = 0; i < uuid.bytes.size(); ++i) {
        if (hasHyphenBefore(i) && text[position++] != '-')
            return std::nullopt;
        const int high = hexadecimalValue(text[position++]);
        const int low = hexadecimalValue(text[position++]);
        if (high < 0 || low < 0)
            return std::nullopt;
        uuid.bytes[i] = static_cast<std::uint8_t>(high * 16 + low);
    }
    return uuid;
}

std::string UUID::text() const {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (hasHyphenBefore(i))
            text += '-';
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 0x0F];
    }
    return text;
}

} // namespace torvo
