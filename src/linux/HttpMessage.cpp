#include "linux/HttpMessage.h"

#include <charconv>
#include <cstdint>
#include <vector>

namespace torvo {

namespace {

/// A message is a list of fields, each of them its length, a colon and its bytes.
void append(std::string& message, std::string_view field) {
    message += std::to_string(field.size());
    message += ':';
    message += field;
}

std::optional<std::int64_t> number(std::string_view text) {
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(value) : std::nullopt;
}

std::optional<std::vector<std::string>> fieldsOf(std::string_view message) {
    std::vector<std::string> fields;
    while (!message.empty()) {
        const auto colon = message.find(':');
        const auto length = colon == std::string_view::npos ? std::nullopt : number(message.substr(0, colon));
        if (!length || *length < 0 || static_cast<std::uint64_t>(*length) > message.size() - colon - 1)
            return std::nullopt;
        fields.emplace_back(message.substr(colon + 1, static_cast<std::size_t>(*length)));
        message.remove_prefix(colon + 1 + static_cast<std::size_t>(*length));
    }
    return fields;
}

} // namespace

std::string encodedRequest(const HttpRequest& request) {
    std::string message;
    append(message, request.method == HttpMethod::post ? "POST" : "GET");
    append(message, request.url);
    append(message, request.silence ? std::to_string(request.silence->count()) : "");
    append(message, request.body);
    for (const auto& header : request.headers) {
        append(message, header.name);
        append(message, header.value);
    }
    return message;
}

std::optional<HttpRequest> decodedRequest(std::string_view bytes) {
    auto fields = fieldsOf(bytes);
    if (!fields || fields->size() < 4 || fields->size() % 2 != 0)
        return std::nullopt;
    auto& all = *fields;
    HttpRequest request{.method = all[0] == "POST" ? HttpMethod::post : HttpMethod::get,
                        .url = std::move(all[1]),
                        .body = std::move(all[3])};
    if (const auto silence = number(all[2]))
        request.silence = std::chrono::milliseconds(*silence);
    for (std::size_t i = 4; i < all.size(); i += 2)
        request.headers.push_back({std::move(all[i]), std::move(all[i + 1])});
    return request;
}

std::string encodedAnswer(const HttpAnswer& answer) {
    std::string message;
    append(message, answer ? "reply" : "error");
    append(message, std::to_string(answer ? answer->status : static_cast<int>(answer.error().code)));
    append(message, answer ? answer->body : answer.error().description);
    return message;
}

std::optional<HttpAnswer> decodedAnswer(std::string_view bytes) {
    auto fields = fieldsOf(bytes);
    const auto code = fields && fields->size() == 3 ? number((*fields)[1]) : std::nullopt;
    if (!code)
        return std::nullopt;
    if ((*fields)[0] == "reply")
        return HttpReply{static_cast<int>(*code), std::move((*fields)[2])};
    if (*code < 0 || *code > static_cast<int>(HttpErrorCode::failed))
        return std::nullopt;
    return std::unexpected(HttpError{static_cast<HttpErrorCode>(*code), std::move((*fields)[2])});
}

} // namespace torvo
