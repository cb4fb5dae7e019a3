#pragma once

#include "platform/HttpSession.h"

#include <expected>
#include <optional>
#include <string>
#include <string_view>

namespace torvo {

/// What a request comes to.
using HttpAnswer = std::expected<HttpReply, HttpError>;

/// A request and an answer as bytes, for the way between a program and its HTTP client in another process. Any bytes
/// survive it. Bytes that are no such message give nothing.
[[nodiscard]] std::string encodedRequest(const HttpRequest& request);
[[nodiscard]] std::optional<HttpRequest> decodedRequest(std::string_view bytes);
[[nodiscard]] std::string encodedAnswer(const HttpAnswer& answer);
[[nodiscard]] std::optional<HttpAnswer> decodedAnswer(std::string_view bytes);

} // namespace torvo
