#pragma once

#include "linux/clipboard/ClipboardContent.h"
#include "support/Descriptor.h"

#include <xcb/xcb.h>

#include <atomic>
#include <chrono>
#include <list>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace torvo {

/// One content on the clipboard, from when it is put there until another one takes its place. Serves it on a thread and
/// a connection of its own.
class ClipboardOwner {
  public:
    /// Takes the clipboard; with an empty content, empties it. `patience`: how long somebody who is fetching a large
    /// content may make no step, once the clipboard is another program's.
    ClipboardOwner(ClipboardContent content, std::chrono::milliseconds patience);
    ~ClipboardOwner();
    ClipboardOwner(const ClipboardOwner&) = delete;
    ClipboardOwner& operator=(const ClipboardOwner&) = delete;

    /// The window that owns the clipboard, as long as no other does.
    [[nodiscard]] xcb_window_t window() const { return m_window; }
    /// What it needs of a process's open files.
    [[nodiscard]] std::vector<int> descriptors() const { return {xcb_get_file_descriptor(m_connection), m_stop.get()}; }

    /// Stops serving; what is asked for meanwhile is answered after `resume`. False when there is nothing to serve any
    /// more.
    [[nodiscard]] bool pause();
    void resume();
    /// Waits until another program has the clipboard.
    void join();
    /// Leaves the connection to another process that has it too: here it is closed, but not ended.
    void abandon();

  private:
    struct Transfer {
        xcb_window_t requestor;
        xcb_atom_t property;
        xcb_atom_t type;
        const ClipboardForm* form;
        std::size_t sent = 0;
    };

    [[nodiscard]] xcb_atom_t atom(const std::string& name);
    /// Takes the selection at a time of the server, as ICCCM 2.1 asks.
    [[nodiscard]] bool take();
    void serve();
    void handle(const xcb_generic_event_t& event);
    void answer(const xcb_selection_request_event_t& request);
    [[nodiscard]] bool convert(xcb_window_t requestor, xcb_atom_t target, xcb_atom_t property);
    [[nodiscard]] bool convertAll(xcb_window_t requestor, xcb_atom_t property);
    void send(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t type, const ClipboardForm& form);
    void sendNextPiece(xcb_window_t requestor, xcb_atom_t property);
    void put(const Transfer& transfer, std::size_t size);
    /// Nobody is there any more who would fetch the rest.
    void forget(xcb_window_t requestor);

    ClipboardContent m_content;
    std::chrono::milliseconds m_patience;
    Descriptor m_stop;
    xcb_connection_t* m_connection = nullptr;
    xcb_window_t m_window = XCB_WINDOW_NONE;
    xcb_timestamp_t m_time = XCB_CURRENT_TIME;
    xcb_atom_t m_clipboard = XCB_ATOM_NONE;
    xcb_atom_t m_targets = XCB_ATOM_NONE;
    xcb_atom_t m_timestamp = XCB_ATOM_NONE;
    xcb_atom_t m_multiple = XCB_ATOM_NONE;
    xcb_atom_t m_incremental = XCB_ATOM_NONE;
    /// By target: the type of the data, and where they are.
    std::map<xcb_atom_t, std::pair<xcb_atom_t, const ClipboardForm*>> m_forms;
    std::list<Transfer> m_transfers;
    std::atomic<bool> m_isStopped = false;
    /// Another program has the clipboard, though somebody may still be fetching.
    bool m_isLost = false;
    bool m_isOver = true;
    std::jthread m_thread;
};

} // namespace torvo
