#pragma once

#include "linux/clipboard/ClipboardContent.h"

#include <xcb/xcb.h>

#include <chrono>
#include <cstddef>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace torvo {

/// Why a form of what is on the clipboard cannot be had.
enum class ClipboardFailure : std::uint8_t { refused, unanswered, tooLarge };

/// Reads the X server's CLIPBOARD selection. For one thread at a time.
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
    /// The data of one target, of so many bytes at most.
    [[nodiscard]] std::expected<ClipboardForm, ClipboardFailure> read(const std::string& target, Deadline deadline,
                                                                      std::size_t largest = kLargestContent);
    /// Everything on it; nothing when nobody has it. What its owner offers and then refuses is left out, and the
    /// further pictures beside a PNG picture, which are the same one. Absent when the owner does not hand over all of
    /// the rest by the deadline, when that is larger than `largest`, and when the clipboard changed hands meanwhile.
    [[nodiscard]] std::optional<ClipboardContent> readAll(Deadline deadline, std::size_t largest = kLargestContent);

    /// The window of its owner; none when nobody has it.
    [[nodiscard]] xcb_window_t owner();
    /// The clock of the X server.
    [[nodiscard]] xcb_timestamp_t serverTime();

    /// From now on it is noted when a program takes the clipboard.
    void watch();
    /// Whether a program has taken the clipboard since `watch` or the last time that this was true; waits for it until
    /// the deadline, and no longer than until `stop` polls readable.
    [[nodiscard]] bool isTaken(Deadline deadline, int stop = -1);

    /// Whether an owner still owes an answer that was not waited for. Many a program ends when the window that it wants
    /// to hand something to has gone, and takes what is on the clipboard along: the connection should stay.
    [[nodiscard]] bool isOwed() const { return m_request.has_value(); }
    /// Takes what is still owed; false when it does not come by the deadline.
    [[nodiscard]] bool settle(Deadline deadline);

    [[nodiscard]] int descriptor() const { return xcb_get_file_descriptor(m_connection); }
    /// Leaves the connection to another process that has it too: here it is closed, but not ended.
    void abandon();

  private:
    /// Nobody's clipboard is worth more memory than that.
    static constexpr std::size_t kLargestContent = std::size_t{256} << 20U;

    X11Clipboard() = default;

    [[nodiscard]] xcb_atom_t atom(const std::string& name);
    [[nodiscard]] std::string atomName(xcb_atom_t atom);
    /// What an owner was asked for and has not handed over yet.
    struct Request {
        xcb_window_t owner;
        xcb_atom_t target;
        bool isAnswered = false;
        bool isRefused = false;
        bool isInPieces = false;
        /// One that was not taken yet.
        bool hasPiece = false;
    };

    /// Makes the window that data are handed to; one from before stays, for an owner that is late.
    void makeWindow();
    /// Notes what an event says about the request and the owner.
    void note(const xcb_generic_event_t& event);
    /// Notes every event until one comes that `wanted` accepts. False at the deadline, and when `stop` polls
    /// readable.
    [[nodiscard]] bool waitFor(const std::function<bool(const xcb_generic_event_t&)>& wanted, Deadline deadline,
                               int stop = -1);
    /// Waits for what was asked for.
    [[nodiscard]] std::expected<ClipboardForm, ClipboardFailure> collect(Deadline deadline, std::size_t largest);
    [[nodiscard]] std::expected<ClipboardForm, ClipboardFailure> collectPieces(Deadline deadline, std::size_t largest);
    /// What the property holds, which is deleted.
    [[nodiscard]] std::expected<ClipboardForm, ClipboardFailure> takeProperty(std::size_t largest);

    xcb_connection_t* m_connection = nullptr;
    xcb_window_t m_root = XCB_WINDOW_NONE;
    xcb_window_t m_window = XCB_WINDOW_NONE;
    xcb_atom_t m_clipboard = XCB_ATOM_NONE;
    xcb_atom_t m_property = XCB_ATOM_NONE;
    std::uint8_t m_firstFixesEvent = 0;
    std::optional<Request> m_request;
    bool m_isTaken = false;
};

} // namespace torvo
