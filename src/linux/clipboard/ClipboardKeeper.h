#pragma once

#include "linux/clipboard/ClipboardOwner.h"
#include "linux/clipboard/X11Clipboard.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <thread>

namespace torvo {

/// A program that was asked to copy something, and has not done it yet.
struct LateCopy {
    /// What is to be on the clipboard again when it does.
    ClipboardContent before;
    X11Clipboard::Deadline until;
    /// Whether the owner of that window has taken the clipboard because it was asked to. Called on another thread.
    std::function<bool(xcb_window_t owner)> isIt;
};

/// Puts back what was on the clipboard and hands it to whoever asks, until another program puts something there. The X
/// server itself keeps nothing: what is on the clipboard lives in the program that owns it. For one thread at a time.
class ClipboardKeeper {
  public:
    /// `patience`: how long somebody who is fetching a large content may make no step, once it is no longer the
    /// clipboard's.
    explicit ClipboardKeeper(std::chrono::milliseconds patience = std::chrono::seconds(10)) : m_patience(patience) {}
    ~ClipboardKeeper();
    ClipboardKeeper(const ClipboardKeeper&) = delete;
    ClipboardKeeper& operator=(const ClipboardKeeper&) = delete;

    /// Takes the clipboard with that content; with an empty one, empties it.
    void keep(ClipboardContent content);

    /// The clipboard, of which every change is noted from now on; null without an X server. Until `endReading` nothing
    /// is put back but by `keep`.
    [[nodiscard]] X11Clipboard* beginReading();
    /// Goes on to wait for what is late; in addition for this one, if there is one.
    void endReading(std::optional<LateCopy> late = std::nullopt);

    /// Leaves what is still kept, what is late, and what is owed to the owner of the clipboard to a process of its own,
    /// for a program that is about to end. The object is of no use afterwards.
    void leaveBehind();

  private:
    void put(ClipboardContent content);
    /// Puts back what late copies take the place of, until the time is over or `stop` polls readable.
    void awaitLateCopies(int stop);
    void stopWaiting();
    [[nodiscard]] bool isWaiting() const { return m_late && m_late->until > std::chrono::steady_clock::now(); }
    [[noreturn]] void goOnAlone(bool isOwner);

    std::chrono::milliseconds m_patience;
    std::unique_ptr<ClipboardOwner> m_owner;
    /// One connection for all: see `X11Clipboard::isOwed`.
    std::unique_ptr<X11Clipboard> m_clipboard;
    std::optional<LateCopy> m_late;
    Descriptor m_stop;
    std::jthread m_thread;
};

} // namespace torvo
