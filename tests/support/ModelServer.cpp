#include "tests/support/ModelServer.h"

#include <netinet/in.h>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <optional>
#include <stdexcept>
#include <utility>

namespace torvo::testing {

namespace {

constexpr auto kPatience = std::chrono::seconds(10);

std::pair<int, std::uint16_t> boundLoopbackSocket() {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    if (::bind(socket, generic, size) != 0 || ::getsockname(socket, generic, &size) != 0)
        throw std::runtime_error("cannot bind a loopback socket");
    return {socket, ntohs(address.sin_port)};
}

bool sendAll(int socket, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

/// Appends what arrives next to `buffer`; false at the end of the connection.
bool receiveSome(int socket, std::string& buffer) {
    char bytes[65536];
    const ssize_t count = ::recv(socket, bytes, sizeof bytes, 0);
    if (count > 0)
        buffer.append(bytes, static_cast<std::size_t>(count));
    return count > 0;
}

/// Reads one request off the connection; `buffer` keeps what came after it.
std::optional<ReceivedRequest> receiveRequest(int socket, std::string& buffer) {
    std::size_t headEnd = 0;
    while ((headEnd = buffer.find("\r\n\r\n")) == std::string::npos)
        if (!receiveSome(socket, buffer))
            return std::nullopt;
    ReceivedRequest request;
    std::size_t line = buffer.find("\r\n");
    const std::string first = buffer.substr(0, line);
    const auto space = first.find(' ');
    request.method = first.substr(0, space);
    request.path = first.substr(space + 1, first.rfind(' ') - space - 1);
    while (line < headEnd) {
        const std::size_t start = line + 2;
        line = buffer.find("\r\n", start);
        const std::size_t colon = buffer.find(':', start);
        std::string name = buffer.substr(start, colon - start);
        std::ranges::transform(name, name.begin(), [](unsigned char c) { return std::tolower(c); });
        const std::size_t value = std::min(buffer.find_first_not_of(' ', colon + 1), line);
        request.headers[name] = buffer.substr(value, line - value);
    }
    const auto length = request.headers.find("content-length");
    const std::size_t bodySize = length == request.headers.end() ? 0 : std::stoul(length->second);
    while (buffer.size() < headEnd + 4 + bodySize)
        if (!receiveSome(socket, buffer))
            return std::nullopt;
    request.body = buffer.substr(headEnd + 4, bodySize);
    buffer.erase(0, headEnd + 4 + bodySize);
    return request;
}

void resetOnClose(int socket) {
    const linger atOnce{1, 0};
    ::setsockopt(socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
}

std::string head(int code, const std::vector<std::string>& headers) {
    std::string text = "HTTP/1.1 " + std::to_string(code) + " Scripted\r\n";
    for (const std::string& header : headers)
        text += header + "\r\n";
    return text;
}

ScriptedReply modelListing(const std::vector<std::string>& names) {
    nlohmann::json models = nlohmann::json::array();
    for (const std::string& name : names)
        models.push_back({{"id", name}, {"object", "model"}});
    const nlohmann::json listing = {{"object", "list"}, {"data", models}};
    return ScriptedReply::status(200, listing.dump(), {"Content-Type: application/json"});
}

} // namespace

void Gate::open() {
    const std::lock_guard lock(m_mutex);
    m_isOpen = true;
    m_changed.notify_all();
}

bool Gate::wait(const std::stop_token& stop) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait(lock, stop, [this] { return m_isOpen; });
}

ScriptedReply ScriptedReply::status(int code, std::string_view body, const std::vector<std::string>& headers) {
    std::string text = head(code, headers);
    text += "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n";
    return ScriptedReply().then(Send{text.append(body)});
}

ScriptedReply& ScriptedReply::then(Step step) {
    m_steps.push_back(std::move(step));
    return *this;
}

ScriptedReply& ScriptedReply::heldBy(std::shared_ptr<Gate> gate) {
    m_steps.insert(m_steps.begin(), Wait{std::move(gate)});
    return *this;
}

ModelServer::ModelServer() {
    std::tie(m_listener, m_port) = boundLoopbackSocket();
    m_stopEvent = ::eventfd(0, EFD_CLOEXEC);
    if (::listen(m_listener, 64) != 0)
        throw std::runtime_error("cannot listen on a loopback socket");
    m_acceptor = std::jthread([this](const std::stop_token& stop) { accept(stop); });
}

ModelServer::~ModelServer() {
    ::eventfd_write(m_stopEvent, 1);
    m_acceptor.request_stop();
    m_acceptor.join();
    m_connections.clear();
    ::close(m_listener);
    ::close(m_stopEvent);
}

std::string ModelServer::url(std::string_view path) const {
    return "http://127.0.0.1:" + std::to_string(m_port) + std::string(path);
}

void ModelServer::queue(ScriptedReply reply) {
    const std::lock_guard lock(m_mutex);
    m_replies.push_back(std::move(reply));
}

void ModelServer::reply(std::string_view content) {
    queue(ScriptedReply::status(200, chatCompletion(content), {"Content-Type: application/json"}));
}

void ModelServer::replyModels(const std::vector<std::string>& names) {
    queue(modelListing(names));
}

void ModelServer::advertise(const std::vector<std::string>& names) {
    const std::lock_guard lock(m_mutex);
    m_listing = modelListing(names);
}

std::vector<ReceivedRequest> ModelServer::requests() const {
    const std::lock_guard lock(m_mutex);
    return m_requests;
}

bool ModelServer::waitForRequests(std::size_t count) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, kPatience, [&] { return m_requests.size() >= count; });
}

bool ModelServer::waitForHangUps(std::size_t count) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, kPatience, [&] { return m_hangUps >= count; });
}

void ModelServer::accept(const std::stop_token& stop) {
    while (true) {
        pollfd ready[] = {{m_listener, POLLIN, 0}, {m_stopEvent, POLLIN, 0}};
        ::poll(ready, 2, -1);
        if (stop.stop_requested() || (ready[1].revents & POLLIN) != 0)
            return;
        const int socket = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket >= 0)
            m_connections.emplace_back(
                [this, socket](const std::stop_token& connectionStop) { serve(connectionStop, socket); });
    }
}

void ModelServer::serve(const std::stop_token& stop, int socket) {
    {
        // Wakes a blocked read or write when the server goes away.
        const std::stop_callback hangUp(stop, [socket] { ::shutdown(socket, SHUT_RDWR); });
        std::string buffer;
        while (auto request = receiveRequest(socket, buffer))
            if (!play(stop, socket, record(std::move(*request))))
                break;
    }
    ::close(socket);
}

ScriptedReply ModelServer::record(ReceivedRequest request) {
    const std::lock_guard lock(m_mutex);
    const bool isListing = request.method == "GET";
    m_requests.push_back(std::move(request));
    m_changed.notify_all();
    if (isListing && m_listing)
        return *m_listing;
    if (m_replies.empty())
        return ScriptedReply::status(404);
    ScriptedReply reply = std::move(m_replies.front());
    m_replies.pop_front();
    return reply;
}

/// Carries out the steps; false when the connection is to be closed.
bool ModelServer::play(const std::stop_token& stop, int socket, const ScriptedReply& reply) {
    const auto carryOut = [&](const auto& step) {
        using Step = std::decay_t<decltype(step)>;
        if constexpr (std::is_same_v<Step, ScriptedReply::Send>) {
            for (std::size_t i = 0; i < step.times; ++i)
                if (!sendAll(socket, step.bytes))
                    return false;
            return true;
        } else if constexpr (std::is_same_v<Step, ScriptedReply::Trickle>) {
            for (const char byte : step.bytes) {
                // Paced by the clock, cut short by a client that hangs up or by the end of the server.
                pollfd client{socket, POLLRDHUP, 0};
                if (::poll(&client, 1, static_cast<int>(step.pause.count())) != 0 || !sendAll(socket, {&byte, 1}))
                    return false;
            }
            return true;
        } else if constexpr (std::is_same_v<Step, ScriptedReply::Wait>) {
            return step.gate->wait(stop);
        } else if constexpr (std::is_same_v<Step, ScriptedReply::Hang>) {
            pollfd client{socket, POLLRDHUP, 0};
            ::poll(&client, 1, -1);
            const std::lock_guard lock(m_mutex);
            ++m_hangUps;
            m_changed.notify_all();
            return false;
        } else if constexpr (std::is_same_v<Step, ScriptedReply::Reset>) {
            resetOnClose(socket);
            return false;
        } else {
            return false;
        }
    };
    return std::ranges::all_of(reply.steps(), [&](const auto& step) { return std::visit(carryOut, step); });
}

std::string chatCompletion(std::string_view content) {
    const nlohmann::json message = {{"role", "assistant"}, {"content", content}};
    const nlohmann::json choice = {{"index", 0}, {"message", message}};
    return nlohmann::json::object({{"choices", nlohmann::json::array({choice})}}).dump();
}

std::uint16_t unusedPort() {
    // Bound but never listened on, and kept, so that nobody else gets the port while the tests run.
    static const std::uint16_t port = boundLoopbackSocket().second;
    return port;
}

} // namespace torvo::testing
