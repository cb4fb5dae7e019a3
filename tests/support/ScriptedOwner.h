#pragma once

#include "linux/X11Connection.h"

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace torvo::testing {

/// A program on $DISPLAY that puts something on the clipboard, and does as it is told when it is asked for it.
class ScriptedOwner {
  public:
    /// By target: the bytes; nothing for one that is on offer but never answered. "refused" is refused.
    using Forms = std::map<std::string, std::optional<std::string>>;
    explicit ScriptedOwner(Forms forms);
    ~ScriptedOwner();
    ScriptedOwner(const ScriptedOwner&) = delete;
    ScriptedOwner& operator=(const ScriptedOwner&) = delete;

    /// The program's own connection, for windows of its own; its events are taken already.
    [[nodiscard]] X11Connection& connection() { return *m_connection; }
    void take();
    /// Whether the clipboard is still this owner's.
    [[nodiscard]] bool isOwner();
    /// The targets that were asked for until now, in order.
    [[nodiscard]] std::vector<std::string> asked();

  private:
    void serve();
    void answer(const xcb_selection_request_event_t& request);

    Forms m_forms;
    std::map<xcb_atom_t, std::string> m_names;
    std::unique_ptr<X11Connection> m_connection;
    xcb_window_t m_window;
    std::mutex m_lock;
    std::vector<std::string> m_asked;
    std::jthread m_thread;
};

} // namespace torvo::testing
