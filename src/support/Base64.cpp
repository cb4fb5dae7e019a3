#include "support/Base64.h"

#include <cstdint>

namespace torvo {

namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

} // namespace

std::string base64Encoded(std::string_view bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    std::uint32_t buffer = 0;
    int bits = 0;
    for (const char byte : bytes) {
        buffer = buffer << 8 | static_cast<unsigned char>(byte);
        for (bits += 8; bits >= 6; bits -= 6)
            text += kAlphabet[buffer >> (bits - 6) & 63];
    }
    if (bits > 0)
        text += kAlphabet[buffer << (6 - bits) & 63];
    text.append((4 - text.size() % 4) % 4, '=');
    return text;
}

std::optional<std::string> base64Decoded(std::string_view text) {
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t buffer = 0;
    int bits = 0;
    for (const char letter : text.substr(0, text.find_last_not_of('=') + 1)) {
        const auto digit = kAlphabet.find(letter);
        if (digit == std::string_view::npos)
            return std::nullopt;
        buffer = buffer << 6 | static_cast<std::uint32_t>(digit);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes += static_cast<char>(buffer >> bits & 255);
        }
    }
    // Only the canonical text counts: right padding, no bits set beyond the last byte.
    if (base64Encoded(bytes) != text)
        return std::nullopt;
    return bytes;
}

} // namespace torvo
