#pragma once

#include "linux/clipboard/ClipboardContent.h"

#include <xcb/xcb.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace torvo {

/// Reads the X server's CLIPBOARD selection. For one thread.
class X11Clipboard {
  public:
    using Deadline = std::chrono::steady_clock::time_point;

    /// Connects to $DISPLAY; absent without a server, or without its XFIXES extension.
    [[nodiscard]] static std::unique_ptr<X11Clipboard> create();
    ~X11Clipboard();
    X11Clipboard(const X11Clipboard&) = delete;
    X11Clipboard& operator=(const X11Clipboard&) = delete;

    /// Whether the X server has gone; nothing comes of such a connection any more.
    [[nodiscard]] bool isLost() const { return xcb_connection_has_error(m_connection) != 0; }

    /// The names of the targets that are on offer; absent when there is nothing, or its owner does not answer.
    [[nodiscard]] std::optional<std::vector<std::string>> targets(Deadline deadline);
    /// The data of one target; absent when it is not on offer.
    [[nodiscard]] std::optional<ClipboardForm> read(const std::string& target, Deadline deadline);
    /// Everything on it, as far as the deadline and a generous limit of size allow; of pictures only the PNG form,
    /// where there is one.
    [[nodiscard]] ClipboardContent readAll(Deadline deadline);

    /// Runs `action`, then waits until some program has put something on the clipboard; false when none has by the
    /// deadline.
    [[nodiscard]] bool changesAfter(const std::function<void()>& action, Deadline deadline);

  private:
    X11Clipboard() = default;

    [[nodiscard]] xcb_atom_t atom(const std::string& name);
    [[nodiscard]] std::string atomName(xcb_atom_t atom);
    /// The next event that `wanted` accepts; others are dropped. Null at the deadline.
    [[nodiscard]] bool waitFor(const std::function<bool(const xcb_generic_event_t&)>& wanted, Deadline deadline);
    /// What the property holds, which is deleted.
    [[nodiscard]] std::optional<ClipboardForm> takeProperty();
    [[nodiscard]] std::optional<ClipboardForm> readPieces(Deadline deadline);

    xcb_connection_t* m_connection = nullptr;
    xcb_window_t m_window = XCB_WINDOW_NONE;
    xcb_atom_t m_clipboard = XCB_ATOM_NONE;
    xcb_atom_t m_property = XCB_ATOM_NONE;
    std::uint8_t m_firstFixesEvent = 0;
};

} // namespace torvo
