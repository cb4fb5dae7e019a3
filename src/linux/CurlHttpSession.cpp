#include "linux/CurlHttpSession.h"

#include "linux/HttpAddress.h"

#include <curl/curl.h>

#include <algorithm>
#include <csignal>
#include <ctime>
#include <memory>
#include <new>
#include <utility>

namespace torvo {

namespace {

using Clock = std::chrono::steady_clock;

struct EasyDeleter {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct MultiDeleter {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};
struct ListDeleter {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using Easy = std::unique_ptr<CURL, EasyDeleter>;
using Multi = std::unique_ptr<CURLM, MultiDeleter>;
using List = std::unique_ptr<curl_slist, ListDeleter>;

/// Keeps the SIGPIPE of a server that hung up from ending the process. With CURLOPT_NOSIGNAL this is left to the
/// caller: libcurl's plain sockets write without the signal, those of OpenSSL do not.
class NoSigpipe {
  public:
    NoSigpipe() {
        sigemptyset(&m_pipe);
        sigaddset(&m_pipe, SIGPIPE);
        sigset_t pending;
        sigpending(&pending);
        m_wasPending = sigismember(&pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &m_pipe, &m_before);
    }
    ~NoSigpipe() {
        const timespec now{};
        while (!m_wasPending && sigtimedwait(&m_pipe, nullptr, &now) == SIGPIPE) {
        }
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }
    NoSigpipe(const NoSigpipe&) = delete;
    NoSigpipe& operator=(const NoSigpipe&) = delete;

  private:
    sigset_t m_pipe{};
    sigset_t m_before{};
    bool m_wasPending = false;
};

/// What arrives, kept within its limits.
struct Receiver {
    const CurlHttpSettings& settings;
    std::string body;
    std::size_t headerBytes = 0;
    bool isTooLarge = false;

    bool accept(std::string_view bytes) {
        isTooLarge = isTooLarge || bytes.size() > settings.largestBody - body.size();
        if (isTooLarge)
            return false;
        try {
            body.append(bytes);
        } catch (const std::bad_alloc&) {
            isTooLarge = true;
        }
        return !isTooLarge;
    }

    bool acceptHeader(std::size_t size) {
        headerBytes += size;
        isTooLarge = isTooLarge || headerBytes > settings.largestHeaders;
        return !isTooLarge;
    }
};

std::size_t receiveBody(char* bytes, std::size_t size, std::size_t count, void* receiver) {
    return static_cast<Receiver*>(receiver)->accept({bytes, size * count}) ? size * count : 0;
}

std::size_t receiveHeader(char*, std::size_t size, std::size_t count, void* receiver) {
    return static_cast<Receiver*>(receiver)->acceptHeader(size * count) ? size * count : 0;
}

HttpErrorCode errorCodeOf(CURLcode code) {
    switch (code) {
    case CURLE_URL_MALFORMAT:
        return HttpErrorCode::badURL;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return HttpErrorCode::cannotFindHost;
    case CURLE_COULDNT_CONNECT:
    case CURLE_PROXY:
        return HttpErrorCode::cannotConnect;
    case CURLE_OPERATION_TIMEDOUT:
        return HttpErrorCode::timedOut;
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
        return HttpErrorCode::connectionLost;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_PEER_FAILED_VERIFICATION:
        return HttpErrorCode::secureConnectionFailed;
    case CURLE_FILESIZE_EXCEEDED:
    case CURLE_OUT_OF_MEMORY: // also what a single header beyond libcurl's own limit ends with
        return HttpErrorCode::tooLarge;
    case CURLE_UNSUPPORTED_PROTOCOL: // HTTP/0.9, which is any bytes at all
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_BAD_CONTENT_ENCODING:
    case CURLE_WRITE_ERROR:
        return HttpErrorCode::badServerResponse;
    default:
        return HttpErrorCode::failed;
    }
}

List headerList(const HttpRequest& request) {
    List list;
    const auto append = [&list](const std::string& line) {
        if (curl_slist* longer = curl_slist_append(list.get(), line.c_str())) {
            static_cast<void>(list.release());
            list.reset(longer);
        }
    };
    for (const HttpHeader& header : request.headers)
        append(header.name + ": " + header.value);
    // Without this, libcurl asks first and waits a second for servers that do not know the question.
    append("Expect:");
    return list;
}

void configure(CURL* easy, const HttpRequest& request, const HttpAddress& address, const CurlHttpSettings& settings) {
    curl_easy_setopt(easy, CURLOPT_URL, address.url.c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(easy, CURLOPT_HTTP09_ALLOWED, 0L);
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    // A reused connection may turn out to be dead, and libcurl would then send the request a second time.
    curl_easy_setopt(easy, CURLOPT_FRESH_CONNECT, 1L);
    curl_easy_setopt(easy, CURLOPT_FORBID_REUSE, 1L);
    // A stop must not wait for a name server that does not answer.
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(settings.connecting.count()));
    curl_easy_setopt(easy, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(settings.largestBody));
    curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "gzip, deflate");
    curl_easy_setopt(easy, CURLOPT_USERAGENT, "Torvo");
    curl_easy_setopt(easy, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    if (address.isLoopback())
        curl_easy_setopt(easy, CURLOPT_PROXY, "");
    if (request.method == HttpMethod::post) {
        curl_easy_setopt(easy, CURLOPT_POST, 1L);
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, request.body.data());
    }
}

/// Everything sent and received so far; it stands still while the server is silent.
curl_off_t trafficOf(CURL* easy, const Receiver& receiver) {
    curl_off_t down = 0;
    curl_off_t up = 0;
    curl_easy_getinfo(easy, CURLINFO_SIZE_DOWNLOAD_T, &down);
    curl_easy_getinfo(easy, CURLINFO_SIZE_UPLOAD_T, &up);
    return down + up + static_cast<curl_off_t>(receiver.headerBytes + receiver.body.size());
}

/// Drives a transfer to its end, to a time-out or to a stop.
std::expected<void, HttpErrorCode> drive(CURLM* multi, CURL* easy, const Receiver& receiver, Clock::time_point deadline,
                                         std::chrono::milliseconds silence, const std::stop_token& stop) {
    const std::stop_callback wakeUp(stop, [multi] { curl_multi_wakeup(multi); });
    Clock::time_point lastTraffic = Clock::now();
    curl_off_t traffic = 0;
    while (true) {
        int running = 0;
        if (stop.stop_requested())
            return std::unexpected(HttpErrorCode::cancelled);
        if (curl_multi_perform(multi, &running) != CURLM_OK)
            return std::unexpected(HttpErrorCode::failed);
        if (running == 0)
            break;
        const Clock::time_point now = Clock::now();
        if (const curl_off_t seen = trafficOf(easy, receiver); seen != traffic) {
            traffic = seen;
            lastTraffic = now;
        }
        const Clock::time_point end = std::min(deadline, lastTraffic + silence);
        if (now >= end)
            return std::unexpected(HttpErrorCode::timedOut);
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - now);
        curl_multi_poll(multi, nullptr, 0, static_cast<int>(std::min<long>(left.count(), 60'000)), nullptr);
    }
    int queued = 0;
    const CURLMsg* message = curl_multi_info_read(multi, &queued);
    if (message == nullptr || message->msg != CURLMSG_DONE)
        return std::unexpected(HttpErrorCode::failed);
    if (receiver.isTooLarge)
        return std::unexpected(HttpErrorCode::tooLarge);
    if (message->data.result != CURLE_OK)
        return std::unexpected(errorCodeOf(message->data.result));
    return {};
}

struct Exchange {
    HttpReply reply;
    /// Where the server sends the client, if it does.
    std::string redirect;
};

std::expected<Exchange, HttpErrorCode> exchange(const HttpRequest& request, const HttpAddress& address,
                                                const CurlHttpSettings& settings, Clock::time_point deadline,
                                                const std::stop_token& stop) {
    const Multi multi(curl_multi_init());
    const Easy easy(curl_easy_init());
    if (!multi || !easy)
        return std::unexpected(HttpErrorCode::failed);
    const List headers = headerList(request);
    Receiver receiver{.settings = settings};
    configure(easy.get(), request, address, settings);
    curl_easy_setopt(easy.get(), CURLOPT_HTTPHEADER, headers.get());
    curl_easy_setopt(easy.get(), CURLOPT_WRITEFUNCTION, receiveBody);
    curl_easy_setopt(easy.get(), CURLOPT_WRITEDATA, &receiver);
    curl_easy_setopt(easy.get(), CURLOPT_HEADERFUNCTION, receiveHeader);
    curl_easy_setopt(easy.get(), CURLOPT_HEADERDATA, &receiver);
    if (curl_multi_add_handle(multi.get(), easy.get()) != CURLM_OK)
        return std::unexpected(HttpErrorCode::failed);
    const auto end =
        drive(multi.get(), easy.get(), receiver, deadline, request.silence.value_or(settings.silence), stop);
    Exchange result;
    if (end) {
        long status = 0;
        const char* redirect = nullptr;
        curl_easy_getinfo(easy.get(), CURLINFO_RESPONSE_CODE, &status);
        curl_easy_getinfo(easy.get(), CURLINFO_REDIRECT_URL, &redirect);
        result = {{static_cast<int>(status), std::move(receiver.body)}, redirect == nullptr ? "" : redirect};
    }
    curl_multi_remove_handle(multi.get(), easy.get());
    if (!end)
        return std::unexpected(end.error());
    return result;
}

/// RFC 9110, section 15.4: only 307 and 308 promise that the method and the body stay.
bool mayFollow(HttpMethod method, int status) {
    if (status == 307 || status == 308)
        return true;
    return method == HttpMethod::get && (status == 301 || status == 302 || status == 303);
}

bool isCurlReady() {
    static const bool isReady = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    return isReady;
}

} // namespace

std::expected<HttpReply, HttpError> CurlHttpSession::perform(const HttpRequest& request, const std::stop_token& stop) {
    if (!isCurlReady())
        return std::unexpected(httpError(HttpErrorCode::failed));
    const NoSigpipe noSigpipe;
    const Clock::time_point deadline = Clock::now() + m_settings.whole;
    auto address = HttpAddress::parse(request.url);
    for (int redirects = 0; address; ++redirects) {
        auto answer = exchange(request, *address, m_settings, deadline, stop);
        if (!answer)
            return std::unexpected(httpError(answer.error()));
        if (redirects >= m_settings.mostRedirects || !mayFollow(request.method, answer->reply.status))
            return std::move(answer->reply);
        auto next = HttpAddress::parse(answer->redirect);
        if (!next || !next->hasSameOriginAs(*address))
            return std::move(answer->reply);
        address = std::move(next);
    }
    return std::unexpected(address.error());
}

} // namespace torvo
