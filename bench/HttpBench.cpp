// What one request costs above a bare libcurl transfer of the same bytes on loopback.
#include "Ratio.h"
#include "linux/CurlHttpSession.h"
#include "tests/support/ModelServer.h"

#include <curl/curl.h>

#include <string>

using namespace torvo;
using namespace torvo::bench;

namespace {

constexpr int kRounds = 1000;

const std::string& requestBody() {
    static const std::string body(8'000, 'x');
    return body;
}

std::size_t append(char* bytes, std::size_t size, std::size_t count, void* body) {
    static_cast<std::string*>(body)->append(bytes, size * count);
    return size * count;
}

void requestBare(const std::string& url) {
    std::string body;
    CURL* easy = curl_easy_init();
    curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
    curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE, static_cast<long>(requestBody().size()));
    curl_easy_setopt(easy, CURLOPT_POSTFIELDS, requestBody().c_str());
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, append);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &body);
    keep(curl_easy_perform(easy));
    curl_easy_cleanup(easy);
}

void request(CurlHttpSession& session, const std::string& url) {
    keep(session.perform({.method = HttpMethod::post, .url = url, .body = requestBody()}, {}));
}

} // namespace

int main() {
    testing::ModelServer server;
    for (int i = 0; i < 2 * (kRounds + 1); ++i)
        server.queue(testing::ScriptedReply::status(200, std::string(2'000, 'y')));
    CurlHttpSession session;
    reportRatio(
        "one request on loopback", [&] { requestBare(server.url()); }, [&] { request(session, server.url()); }, 1.2,
        kRounds);
}
