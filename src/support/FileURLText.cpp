#include "support/FileURLText.h"

#include "support/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>

namespace torvo {

namespace {

constexpr std::string_view kScheme = "file://";

/// For each byte whether it stands for itself: letters, digits and what else RFC 3986 lets a path hold, without ";",
/// which parts parameters.
constexpr auto kIsPlain = [] {
    std::array<bool, 256> table{};
    for (unsigned c = 0; c < 128; ++c) {
        table.at(c) = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                      std::string_view("-._~/!$&'()*+,=:@").find(static_cast<char>(c)) != std::string_view::npos;
    }
    return table;
}();

} // namespace

std::string fileURLText(const FileURL& url) {
    std::string text(kScheme);
    text.reserve(kScheme.size() + url.path().size());
    for (const char c : url.path()) {
        if (kIsPlain[static_cast<unsigned char>(c)])
            text += c;
        else
            text += fmt::format("%{:02X}", static_cast<unsigned char>(c));
    }
    return text;
}

std::optional<FileURL> parseFileURLText(std::string_view text) {
    const auto scheme = text.substr(0, kScheme.size());
    if (!std::ranges::equal(scheme, kScheme, [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a + 32 : a) == b; }))
        return std::nullopt;
    text.remove_prefix(kScheme.size());
    if (text.starts_with("localhost/"))
        text.remove_prefix(text.find('/'));
    if (!text.starts_with('/'))
        return std::nullopt;
    std::string path;
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned value = static_cast<unsigned char>(text[i]);
        if (text[i] == '?' || text[i] == '#')
            return std::nullopt;
        if (text[i] == '%') {
            const auto digits = text.substr(i + 1, 2);
            const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
            if (digits.size() != 2 || read.ec != std::errc() || read.ptr != digits.data() + 2)
                return std::nullopt;
            i += 2;
        }
        if (value == 0)
            return std::nullopt;
        path += static_cast<char>(value);
    }
    return FileURL(std::move(path));
}

std::vector<FileURL> filesInUriList(std::string_view list) {
    std::vector<FileURL> files;
    // Comments begin with a number sign, and so are no addresses of files either.
    for (const auto line : splitNonEmpty(list, "\r\n")) {
        if (auto file = parseFileURLText(line))
            files.push_back(std::move(*file));
    }
    return files;
}

} // namespace torvo
