#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <thread>
#include <variant>
#include <vector>

namespace torvo::testing {

/// Holds a reply back until the test opens it.
class Gate {
  public:
    void open();
    /// Waits until the gate is open; false when the server stops first.
    bool wait(const std::stop_token& stop);

  private:
    std::mutex m_mutex;
    std::condition_variable_any m_changed;
    bool m_isOpen = false;
};

/// What the server does with one request: a list of steps, in order. After the last one the connection stays open for
/// the next request, unless a step closed it.
class ScriptedReply {
  public:
    struct Send {
        std::string bytes;
        std::size_t times = 1;
    };
    /// One byte at a time, at a fixed pace.
    struct Trickle {
        std::string bytes;
        std::chrono::milliseconds pause;
    };
    struct Wait {
        std::shared_ptr<Gate> gate;
    };
    /// Says nothing until the client hangs up.
    struct Hang {};
    struct Close {};
    /// Ends the connection with a reset instead of an orderly end.
    struct Reset {};
    using Step = std::variant<Send, Trickle, Wait, Hang, Close, Reset>;

    /// A whole HTTP reply with its Content-Length. `headers`: lines without their ends.
    static ScriptedReply status(int code, std::string_view body = "", const std::vector<std::string>& headers = {});
    /// Nothing at all: the test adds the steps.
    static ScriptedReply nothing() { return {}; }

    ScriptedReply& then(Step step);
    /// The gate holds back everything that was added so far.
    ScriptedReply& heldBy(std::shared_ptr<Gate> gate);

    [[nodiscard]] const std::vector<Step>& steps() const { return m_steps; }

  private:
    std::vector<Step> m_steps;
};

struct ReceivedRequest {
    std::string method;
    std::string path;
    /// Names in lower case.
    std::map<std::string, std::string> headers;
    std::string body;
};

/// A model server that speaks the OpenAI-compatible protocol on a loopback port of its own and does what the test
/// tells it to. Requests that nothing was queued for get status 404.
class ModelServer {
  public:
    ModelServer();
    ~ModelServer();
    ModelServer(const ModelServer&) = delete;
    ModelServer& operator=(const ModelServer&) = delete;

    /// "http://127.0.0.1:PORT" followed by `path`.
    [[nodiscard]] std::string url(std::string_view path = "") const;
    [[nodiscard]] std::uint16_t port() const { return m_port; }

    /// Queues a reply; replies are used up in order.
    void queue(ScriptedReply reply);
    /// Queues a chat completion whose text is `content`: a plan in JSON, or whatever a model may say.
    void reply(std::string_view content);
    /// Queues a listing of these models.
    void replyModels(const std::vector<std::string>& names);

    /// From now on, answers every listing of models with these, whatever is queued.
    void advertise(const std::vector<std::string>& names);

    /// The requests so far, in the order of their arrival.
    [[nodiscard]] std::vector<ReceivedRequest> requests() const;
    /// Waits until so many requests have arrived; false after ten seconds without them.
    [[nodiscard]] bool waitForRequests(std::size_t count);
    /// Waits until so many clients have hung up during a `Hang` step; false after ten seconds.
    [[nodiscard]] bool waitForHangUps(std::size_t count);

  private:
    void accept(const std::stop_token& stop);
    void serve(const std::stop_token& stop, int socket);
    [[nodiscard]] bool play(const std::stop_token& stop, int socket, const ScriptedReply& reply);
    [[nodiscard]] ScriptedReply record(ReceivedRequest request);

    int m_listener = -1;
    int m_stopEvent = -1;
    std::uint16_t m_port = 0;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<ScriptedReply> m_replies;
    std::optional<ScriptedReply> m_listing;
    std::vector<ReceivedRequest> m_requests;
    std::size_t m_hangUps = 0;
    std::vector<std::jthread> m_connections;
    std::jthread m_acceptor;
};

/// The body of a chat completion whose first choice says `content`.
[[nodiscard]] std::string chatCompletion(std::string_view content);

/// A loopback port that nobody listens on.
[[nodiscard]] std::uint16_t unusedPort();

} // namespace torvo::testing
