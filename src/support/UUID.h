#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace torvo {

/// A universally unique identifier (RFC 9562).
struct UUID {
    std::array<std::uint8_t, 16> bytes{};

    /// A new random identifier (version 4), from the kernel's random source.
    [[nodiscard]] static UUID random();
    /// Reads the 36-character form in either case; absent for anything else.
    [[nodiscard]] static std::optional<UUID> parse(std::string_view text);
    /// The canonical 36-character form in upper case.
    [[nodiscard]] std::string text() const;

    bool operator==(const UUID&) const = default;
};

} // namespace torvo
