#pragma once

#include "platform/HttpSession.h"

#include <expected>
#include <string>
#include <string_view>

namespace torvo {

/// An absolute http or https URL, taken apart as far as the client needs it.
struct HttpAddress {
    /// The URL in normal form, bytes outside ASCII percent-encoded.
    std::string url;
    /// Lower case.
    std::string scheme;
    /// Lower case; an IPv6 address in brackets.
    std::string host;
    /// Decimal; the scheme's own when the URL has none.
    std::string port;

    /// Fails with `badURL` or `unsupportedURL`.
    [[nodiscard]] static std::expected<HttpAddress, HttpError> parse(const std::string& text);

    /// RFC 6454, section 4: scheme, host and port agree.
    [[nodiscard]] bool hasSameOriginAs(const HttpAddress& other) const;
    /// This machine itself: 127.0.0.0/8, ::1, and the name localhost with those below it (RFC 6761, section 6.3).
    [[nodiscard]] bool isLoopback() const;
};

} // namespace torvo
