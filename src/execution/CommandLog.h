#pragma once

#include "model/Action.h"
#include "model/FinderContext.h"
#include "platform/SerialQueue.h"
#include "platform/UserDefaults.h"
#include "support/FileURL.h"
#include "support/Json.h"
#include "support/UUID.h"

#include <chrono>
#include <expected>
#include <functional>
#include <string>
#include <string_view>

namespace torvo {

/// What an action is, as the command log tells it.
[[nodiscard]] Json describe(const Action& action);

/// The optional local log of what was typed and what became of it: JSON Lines, appended to and never read back. All
/// events of one command share an identifier. Errors in writing are ignored. Callable from any thread; events are
/// written in the order of the calls, each line by one append, so that lines of two processes never mix.
class CommandLog {
  public:
    using Clock = std::function<std::chrono::system_clock::time_point()>;

    /// `file`: the log, normally "command-log.jsonl". `defaults` and `queue` must outlive the log.
    CommandLog(FileURL file, UserDefaults& defaults, SerialQueue& queue, Clock now = std::chrono::system_clock::now);

    [[nodiscard]] const FileURL& fileURL() const { return m_file; }
    /// The setting "commandLoggingEnabled". Where it is not stored yet, whether the log exists decides, and that is
    /// stored at once.
    [[nodiscard]] bool isEnabled();

    /// A command starts to be planned. `route` says how; `extra` holds the route's own members.
    void plan(const UUID& id, std::string_view route, std::string_view input, const FinderContext& context, Json extra);
    /// The model's reply, exactly as received.
    void response(const UUID& id, std::string_view content);
    /// How the command ended; an empty detail is left out.
    void outcome(const UUID& id, std::string_view outcome, std::string_view detail = "");

    /// Deletes the log after everything queued was written, and tells `then` on the queue. The error is one line for
    /// the user.
    void clear(std::function<void(std::expected<void, std::string> cleared)> then);

  private:
    void append(const char* event, const UUID& id, Json record);

    FileURL m_file;
    UserDefaults& m_defaults;
    SerialQueue& m_queue;
    Clock m_now;
};

} // namespace torvo
