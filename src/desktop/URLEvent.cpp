#include "desktop/URLEvent.h"

#include "support/Text.h"

#include <algorithm>
#include <charconv>
#include <string>

namespace torvo {

namespace {

/// Absent when a percent sign is not followed by two hexadecimal digits.
std::optional<std::string> percentDecoded(std::string_view text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            bytes += text[i];
            continue;
        }
        unsigned value = 0;
        const auto digits = text.substr(i + 1, 2);
        const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
        if (digits.size() != 2 || read.ec != std::errc() || read.ptr != digits.data() + 2)
            return std::nullopt;
        bytes += static_cast<char>(value);
        i += 2;
    }
    return bytes;
}

bool hasOurScheme(std::string_view address) {
    const auto scheme = address.substr(0, std::min(address.find(':'), address.size()));
    return scheme.size() < address.size() && lowercased(scheme) == kURLScheme;
}

/// What stands between the first question mark and the fragment.
std::string_view queryOf(std::string_view address) {
    address = address.substr(0, address.find('#'));
    const auto mark = address.find('?');
    return mark == std::string_view::npos ? std::string_view{} : address.substr(mark + 1);
}

} // namespace

std::optional<std::vector<FileURL>> filesOfURL(std::string_view address) {
    if (!hasOurScheme(address))
        return std::nullopt;
    std::vector<FileURL> files;
    if (!percentDecoded(address))
        return files;
    for (const auto item : split(queryOf(address), '&')) {
        const auto equals = item.find('=');
        if (percentDecoded(item.substr(0, equals)) != "files")
            continue;
        const auto encoded = equals == std::string_view::npos ? std::string_view{} : item.substr(equals + 1);
        const auto value = percentDecoded(encoded).value_or("");
        for (const auto path : split(value, '\n')) {
            if (path.starts_with('/') && path.find('\0') == std::string_view::npos)
                files.emplace_back(std::string(path));
        }
        break;
    }
    return files;
}

} // namespace torvo
