#include "linux/ReleaseFeed.h"

#include "support/Json.h"
#include "support/Text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <re2/re2.h>

#include <algorithm>

namespace torvo {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isNumber(std::string_view text) {
    return !text.empty() && std::ranges::all_of(text, isDigit);
}

bool isIdentifier(std::string_view text) {
    return !text.empty() && std::ranges::all_of(text, [](char c) {
        return isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-';
    });
}

std::string withoutLeadingZeros(std::string_view number) {
    return std::string(number.substr(std::min(number.find_first_not_of('0'), number.size() - 1)));
}

/// Both without leading zeros.
std::strong_ordering compareNumbers(const std::string& a, const std::string& b) {
    return a.size() != b.size() ? a.size() <=> b.size() : a <=> b;
}

std::strong_ordering compareIdentifiers(const std::string& a, const std::string& b) {
    if (isNumber(a) && isNumber(b))
        return compareNumbers(a, b);
    if (isNumber(a) != isNumber(b))
        return isNumber(a) ? std::strong_ordering::less : std::strong_ordering::greater;
    return a <=> b;
}

/// The text of a member; absent when it is missing or no text.
std::optional<std::string> textOf(const Json& object, const char* key) {
    const auto* member = memberOf(object, key);
    if (member == nullptr || !member->is_string())
        return std::nullopt;
    return member->get<std::string>();
}

} // namespace

std::optional<ReleaseVersion> ReleaseVersion::parse(std::string_view text) {
    ReleaseVersion version;
    const auto hyphen = text.find('-');
    for (const auto number : split(text.substr(0, hyphen), '.')) {
        if (!isNumber(number))
            return std::nullopt;
        version.m_numbers.push_back(withoutLeadingZeros(number));
    }
    if (hyphen == std::string_view::npos)
        return version;
    for (const auto identifier : split(text.substr(hyphen + 1), '.')) {
        if (!isIdentifier(identifier))
            return std::nullopt;
        version.m_preRelease.push_back(isNumber(identifier) ? withoutLeadingZeros(identifier)
                                                            : std::string(identifier));
    }
    return version;
}

std::strong_ordering ReleaseVersion::operator<=>(const ReleaseVersion& other) const {
    const std::string zero = "0";
    for (std::size_t i = 0; i < std::max(m_numbers.size(), other.m_numbers.size()); ++i) {
        const auto order = compareNumbers(i < m_numbers.size() ? m_numbers[i] : zero,
                                          i < other.m_numbers.size() ? other.m_numbers[i] : zero);
        if (order != 0)
            return order;
    }
    if (m_preRelease.empty() != other.m_preRelease.empty())
        return m_preRelease.empty() ? std::strong_ordering::greater : std::strong_ordering::less;
    for (std::size_t i = 0; i < std::min(m_preRelease.size(), other.m_preRelease.size()); ++i) {
        const auto order = compareIdentifiers(m_preRelease[i], other.m_preRelease[i]);
        if (order != 0)
            return order;
    }
    return m_preRelease.size() <=> other.m_preRelease.size();
}

std::expected<Release, std::string> parseReleaseFeed(std::string_view text) {
    const auto document = parseJson(text);
    if (!document)
        return std::unexpected(fmt::format("the release feed is no JSON: {}", document.error()));
    const auto version = textOf(*document, "version");
    if (!version || !ReleaseVersion::parse(*version))
        return std::unexpected("the release feed names no version");
    const auto url = textOf(*document, "url");
    if (!url || !isTrustworthyAddress(*url))
        return std::unexpected("the release feed has no https address for the new version");
    if (memberOf(*document, "notes") != nullptr && !textOf(*document, "notes"))
        return std::unexpected("the notes of the release feed are no text");
    return Release{*version, *url, textOf(*document, "notes").value_or("")};
}

bool isTrustworthyAddress(const std::string& address) {
    static const RE2 trustworthy(R"((?i)https://[^\x00-\x20\x7f/?#][^\x00-\x20\x7f]*)"
                                 R"(|http://(localhost|127\.0\.0\.1|\[::1\])(:\d{1,5})?([/?#][^\x00-\x20\x7f]*)?)");
    return RE2::FullMatch(address, trustworthy);
}

} // namespace torvo
