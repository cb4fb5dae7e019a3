#include "linux/HttpAddress.h"

#include <arpa/inet.h>
#include <curl/curl.h>
#include <netinet/in.h>

#include <algorithm>
#include <memory>

namespace torvo {

namespace {

struct UrlDeleter {
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
};

std::string part(CURLU* url, CURLUPart which, unsigned flags = 0) {
    char* text = nullptr;
    if (curl_url_get(url, which, &text, flags) != CURLUE_OK)
        return {};
    std::string result = text;
    curl_free(text);
    return result;
}

std::string lowered(std::string text) {
    std::ranges::transform(text, text.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : c; });
    return text;
}

bool isLoopbackIPv4(in_addr_t networkOrder) {
    return ntohl(networkOrder) >> 24 == 127;
}

} // namespace

std::expected<HttpAddress, HttpError> HttpAddress::parse(const std::string& text) {
    const auto isForbidden = [](char c) { return static_cast<unsigned char>(c) <= ' ' || c == 0x7f; };
    const std::unique_ptr<CURLU, UrlDeleter> url(curl_url());
    if (!url)
        return std::unexpected(httpError(HttpErrorCode::failed));
    if (text.empty() || std::ranges::any_of(text, isForbidden))
        return std::unexpected(httpError(HttpErrorCode::badURL));
    // libcurl forgives a missing or an extra slash and then takes the first folder for the host.
    const std::string lower = lowered(text.substr(0, 9));
    if (lower.starts_with("http:") || lower.starts_with("https:")) {
        const auto rest = std::string_view(text).substr(text.find(':') + 1);
        if (!rest.starts_with("//") || rest.starts_with("///"))
            return std::unexpected(httpError(HttpErrorCode::badURL));
    }
    const CURLUcode code = curl_url_set(url.get(), CURLUPART_URL, text.c_str(), CURLU_URLENCODE);
    if (code == CURLUE_UNSUPPORTED_SCHEME || code == CURLUE_BAD_SCHEME)
        return std::unexpected(httpError(HttpErrorCode::unsupportedURL));
    if (code != CURLUE_OK)
        return std::unexpected(httpError(HttpErrorCode::badURL));
    HttpAddress address{.url = part(url.get(), CURLUPART_URL),
                        .scheme = lowered(part(url.get(), CURLUPART_SCHEME)),
                        .host = lowered(part(url.get(), CURLUPART_HOST)),
                        .port = part(url.get(), CURLUPART_PORT, CURLU_DEFAULT_PORT)};
    if (address.scheme != "http" && address.scheme != "https")
        return std::unexpected(httpError(HttpErrorCode::unsupportedURL));
    if (address.host.empty() || address.url.empty())
        return std::unexpected(httpError(HttpErrorCode::badURL));
    return address;
}

bool HttpAddress::hasSameOriginAs(const HttpAddress& other) const {
    return scheme == other.scheme && host == other.host && port == other.port;
}

bool HttpAddress::isLoopback() const {
    std::string name = host;
    if (name.starts_with('[')) {
        name = name.substr(1, name.find_first_of("]%") - 1);
        in6_addr address{};
        if (inet_pton(AF_INET6, name.c_str(), &address) != 1)
            return false;
        if (IN6_IS_ADDR_V4MAPPED(&address))
            return address.s6_addr[12] == 127;
        return IN6_IS_ADDR_LOOPBACK(&address);
    }
    if (name.ends_with('.'))
        name.pop_back();
    in_addr address{};
    if (inet_pton(AF_INET, name.c_str(), &address) == 1)
        return isLoopbackIPv4(address.s_addr);
    return name == "localhost" || name.ends_with(".localhost");
}

} // namespace torvo
