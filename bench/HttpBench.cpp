// What one request costs above a bare libcurl transfer of the same bytes on loopback.
// Goal: perform / bare <= 1.2.
#include "linux/CurlHttpSession.h"
#include "tests/support/ModelServer.h"

#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

const std::string& requestBody() {
    static const std::string body(8'000, 'x');
    return body;
}

void queueReply(torvo::testing::ModelServer& server) {
    server.queue(torvo::testing::ScriptedReply::status(200, std::string(2'000, 'y')));
}

std::size_t append(char* bytes, std::size_t size, std::size_t count, void* body) {
    static_cast<std::string*>(body)->append(bytes, size * count);
    return size * count;
}

void bare(const std::string& url) {
    std::string body;
    CURL* easy = curl_easy_init();
    curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
    curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE, static_cast<long>(requestBody().size()));
    curl_easy_setopt(easy, CURLOPT_POSTFIELDS, requestBody().c_str());
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, append);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &body);
    benchmark::DoNotOptimize(curl_easy_perform(easy));
    curl_easy_cleanup(easy);
}

void ours(torvo::CurlHttpSession& session, const std::string& url) {
    auto reply = session.perform({.method = torvo::HttpMethod::post, .url = url, .body = requestBody()}, {});
    benchmark::DoNotOptimize(reply);
}

double median(std::vector<double>& values) {
    std::ranges::nth_element(values, values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2));
    return values[values.size() / 2];
}

/// Both take turns, so that a busy machine slows both alike.
void requestOnLoopback(benchmark::State& state) {
    torvo::testing::ModelServer server;
    torvo::CurlHttpSession session;
    std::vector<double> floor;
    std::vector<double> own;
    const auto time = [&](std::vector<double>& times, auto&& work) {
        queueReply(server);
        const auto start = Clock::now();
        work();
        times.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
    };
    for ([[maybe_unused]] auto round : state) {
        time(floor, [&] { bare(server.url()); });
        time(own, [&] { ours(session, server.url()); });
    }
    state.counters["bare_us"] = median(floor);
    state.counters["ours_us"] = median(own);
    state.counters["ratio"] = median(own) / median(floor);
}

BENCHMARK(requestOnLoopback)->Iterations(1000)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
