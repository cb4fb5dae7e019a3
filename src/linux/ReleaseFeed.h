#pragma once

#include <compare>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// A version of a program: numbers between dots, then perhaps "-" and a pre-release of letters, digits and hyphens
/// between dots ("1.2.3-beta.4"). Ordered as Semantic Versioning 2.0.0 orders them (section 11), with any count of
/// numbers, missing ones being 0, of any length.
class ReleaseVersion {
  public:
    /// Absent for any other text.
    [[nodiscard]] static std::optional<ReleaseVersion> parse(std::string_view text);

    [[nodiscard]] std::strong_ordering operator<=>(const ReleaseVersion& other) const;
    [[nodiscard]] bool operator==(const ReleaseVersion& other) const { return (*this <=> other) == 0; }

  private:
    /// Decimal digits without leading zeros.
    std::vector<std::string> m_numbers;
    std::vector<std::string> m_preRelease;
};

/// What the feed says of the newest version.
struct Release {
    std::string version;
    /// Where to get it: an address that `isTrustworthyAddress` accepts.
    std::string url;
    /// What is new, as plain text; may be empty.
    std::string notes;

    bool operator==(const Release&) const = default;
};

/// Reads a feed: the object {"version": "1.2.3", "url": "https://...", "notes": "..."}. The notes may be missing; what
/// else it holds is for later versions. The error is one line.
[[nodiscard]] std::expected<Release, std::string> parseReleaseFeed(std::string_view text);

/// Whether nobody on the way can change what is read from an address: https, or http on this machine itself.
[[nodiscard]] bool isTrustworthyAddress(const std::string& address);

} // namespace torvo
