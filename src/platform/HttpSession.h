#pragma once

#include <chrono>
#include <expected>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace torvo {

enum class HttpMethod { get, post };

struct HttpHeader {
    std::string name;
    std::string value;
};

struct HttpRequest {
    HttpMethod method = HttpMethod::get;
    /// An absolute http or https address.
    std::string url;
    std::vector<HttpHeader> headers;
    /// Sent with a POST only.
    std::string body;
    /// How long nothing may arrive from the server before the request fails; absent: what the session is set to.
    std::optional<std::chrono::milliseconds> silence;
};

/// What the server answered, whatever its status: a 404 or a 500 is a reply, not an error.
struct HttpReply {
    int status = 0;
    /// Decoded (gzip, deflate) and complete.
    std::string body;
};

enum class HttpErrorCode {
    /// The text is not a URL.
    badURL,
    /// A URL, but not an absolute http or https one.
    unsupportedURL,
    cannotFindHost,
    cannotConnect,
    secureConnectionFailed,
    /// The server hung up before its reply was complete.
    connectionLost,
    timedOut,
    cancelled,
    tooLarge,
    /// What came back is not HTTP, or not the kind of HTTP reply that the caller needs.
    badServerResponse,
    /// The reply is sound HTTP, but its body does not have the shape that the caller needs.
    cannotParseResponse,
    /// Any other failure of the transfer.
    failed,
};

struct HttpError {
    HttpErrorCode code = HttpErrorCode::failed;
    /// One line for the user.
    std::string description;
};

/// The error of that kind with its standard line.
[[nodiscard]] HttpError httpError(HttpErrorCode code);

/// An HTTP client. It keeps nothing from one request to the next. Safe to call from any thread, also at once.
class HttpSession {
  public:
    virtual ~HttpSession() = default;

    /// Sends one request and waits for the whole reply; blocks the calling thread. A request is sent once, never
    /// again. A stop ends it at once with `HttpErrorCode::cancelled`.
    [[nodiscard]] virtual std::expected<HttpReply, HttpError> perform(const HttpRequest& request,
                                                                      const std::stop_token& stop) = 0;
};

} // namespace torvo
