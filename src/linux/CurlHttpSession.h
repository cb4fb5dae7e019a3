#pragma once

#include "platform/HttpSession.h"

#include <chrono>
#include <cstddef>

namespace torvo {

struct CurlHttpSettings {
    /// Nothing received for this long: the request fails (a request may ask for another value).
    std::chrono::milliseconds silence{std::chrono::seconds(90)};
    /// A request with all its redirects may take this long in all.
    std::chrono::milliseconds whole{std::chrono::seconds(120)};
    /// Finding the server and connecting to it.
    std::chrono::milliseconds connecting{std::chrono::seconds(10)};
    /// Bytes of a decoded body.
    std::size_t largestBody = std::size_t{16} << 20;
    /// Bytes of all response headers together.
    std::size_t largestHeaders = std::size_t{128} << 10;
    int mostRedirects = 5;
};

/// HTTP/1.1 through libcurl, each request on a connection of its own.
///
/// Redirects are followed within the origin of the request (scheme, host and port) only, and a POST only where it
/// stays one (307, 308); any other redirect is itself the reply. The proxies of the environment are used, but never
/// for this machine. No cookies, no .netrc.
class CurlHttpSession : public HttpSession {
  public:
    explicit CurlHttpSession(CurlHttpSettings settings = {}) : m_settings(settings) {}

    [[nodiscard]] std::expected<HttpReply, HttpError> perform(const HttpRequest& request,
                                                              const std::stop_token& stop) override;

  private:
    CurlHttpSettings m_settings;
};

} // namespace torvo
