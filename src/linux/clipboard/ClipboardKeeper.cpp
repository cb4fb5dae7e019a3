#include "linux/clipboard/ClipboardKeeper.h"

#include "linux/X11Connection.h"
#include "support/Descriptor.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <thread>
#include <utility>

namespace torvo {

namespace {

/// What fits into one request with room to spare; more goes in pieces.
constexpr std::size_t kLargestPiece = std::size_t{192} << 10U;

} // namespace

/// One content on the clipboard, from when it is put there until another one takes its place.
class ClipboardKeeper::Owner {
  public:
    explicit Owner(ClipboardContent content) : m_content(std::move(content)), m_stop(::eventfd(0, EFD_CLOEXEC)) {
        int screenNumber = 0;
        m_connection = xcb_connect(nullptr, &screenNumber);
        if (xcb_connection_has_error(m_connection) != 0)
            return;
        auto screens = xcb_setup_roots_iterator(xcb_get_setup(m_connection));
        for (int i = 0; i < screenNumber; ++i)
            xcb_screen_next(&screens);
        m_clipboard = atom("CLIPBOARD");
        m_targets = atom("TARGETS");
        m_incremental = atom("INCR");
        for (const auto& form : m_content)
            m_forms.emplace(atom(form.target), std::pair(atom(form.type), &form));
        m_window = xcb_generate_id(m_connection);
        const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, m_window, screens.data->root, -10, -10, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
        if (m_content.empty()) {
            xcb_set_selection_owner(m_connection, XCB_WINDOW_NONE, m_clipboard, XCB_CURRENT_TIME);
            flush();
            return;
        }
        xcb_set_selection_owner(m_connection, m_window, m_clipboard, XCB_CURRENT_TIME);
        flush();
        m_thread = std::jthread([this] { serve(); });
    }

    ~Owner() {
        stop();
        if (m_connection != nullptr)
            xcb_disconnect(m_connection);
    }
    Owner(const Owner&) = delete;
    Owner& operator=(const Owner&) = delete;

    /// A child process goes on serving, with this process's connection; nothing else of this process lives on in it.
    void leaveBehind() {
        if (!m_thread.joinable())
            return;
        stop();
        if (m_isOver)
            return;
        const auto child = ::fork();
        if (child > 0) {
            // Ending the connection properly would end it for the child as well.
            ::close(xcb_get_file_descriptor(std::exchange(m_connection, nullptr)));
        }
        if (child != 0)
            return;
        ::setsid();
        ::close(STDIN_FILENO);
        ::close(STDOUT_FILENO);
        ::close(STDERR_FILENO);
        m_isStopped = false;
        serve();
        ::_exit(0);
    }

  private:
    struct Transfer {
        xcb_window_t requestor;
        xcb_atom_t property;
        xcb_atom_t type;
        const ClipboardForm* form;
        std::size_t sent = 0;
    };

    void stop() {
        m_isStopped = true;
        const std::uint64_t one = 1;
        (void)!::write(m_stop.get(), &one, sizeof one);
        if (m_thread.joinable())
            m_thread.join();
        std::uint64_t taken = 0;
        (void)!::read(m_stop.get(), &taken, sizeof taken);
    }

    void flush() {
        // An answer to anything says that the server has carried out what was sent before.
        const XcbReply<xcb_get_input_focus_reply_t> heard(
            xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    }

    xcb_atom_t atom(const std::string& name) {
        const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
            m_connection, xcb_intern_atom(m_connection, 0, static_cast<std::uint16_t>(name.size()), name.c_str()),
            nullptr));
        return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
    }

    void serve() {
        while (!m_isStopped && !m_isOver && xcb_connection_has_error(m_connection) == 0) {
            while (const XcbReply<xcb_generic_event_t> event{xcb_poll_for_event(m_connection)})
                handle(*event);
            xcb_flush(m_connection);
            std::array<pollfd, 2> polled{
                {{xcb_get_file_descriptor(m_connection), POLLIN, 0}, {m_stop.get(), POLLIN, 0}}};
            if (!m_isOver)
                ::poll(polled.data(), polled.size(), -1);
        }
    }

    void handle(const xcb_generic_event_t& event) {
        switch (event.response_type & 0x7F) {
        case XCB_SELECTION_REQUEST:
            answer(reinterpret_cast<const xcb_selection_request_event_t&>(event));
            break;
        case XCB_SELECTION_CLEAR:
            m_isOver = m_transfers.empty();
            m_isLost = true;
            break;
        case XCB_PROPERTY_NOTIFY: {
            const auto& changed = reinterpret_cast<const xcb_property_notify_event_t&>(event);
            if (changed.state == XCB_PROPERTY_DELETE)
                sendNextPiece(changed.window, changed.atom);
            break;
        }
        default:
            break;
        }
    }

    void answer(const xcb_selection_request_event_t& request) {
        xcb_selection_notify_event_t notice{};
        notice.response_type = XCB_SELECTION_NOTIFY;
        notice.time = request.time;
        notice.requestor = request.requestor;
        notice.selection = request.selection;
        notice.target = request.target;
        const auto property = request.property == XCB_ATOM_NONE ? request.target : request.property;
        const auto form = m_forms.find(request.target);
        if (request.target == m_targets) {
            std::vector<xcb_atom_t> offered{m_targets};
            for (const auto& [target, ignored] : m_forms)
                offered.push_back(target);
            xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, request.requestor, property, XCB_ATOM_ATOM, 32,
                                static_cast<std::uint32_t>(offered.size()), offered.data());
            notice.property = property;
        } else if (form != m_forms.end()) {
            send(request.requestor, property, form->second.first, *form->second.second);
            notice.property = property;
        }
        xcb_send_event(m_connection, 0, request.requestor, 0, reinterpret_cast<const char*>(&notice));
    }

    void send(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t type, const ClipboardForm& form) {
        if (form.bytes.size() <= kLargestPiece) {
            put(requestor, property, type, form, 0, form.bytes.size());
            return;
        }
        const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(m_connection, requestor, XCB_CW_EVENT_MASK, &mask);
        const auto size = static_cast<std::uint32_t>(form.bytes.size());
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, requestor, property, m_incremental, 32, 1, &size);
        m_transfers.push_back({requestor, property, type, &form});
    }

    /// ICCCM 2.7.2: the next piece goes when the requestor has deleted the one before; an empty one ends it.
    void sendNextPiece(xcb_window_t requestor, xcb_atom_t property) {
        const auto transfer = std::ranges::find_if(m_transfers, [&](const Transfer& each) {
            return each.requestor == requestor && each.property == property;
        });
        if (transfer == m_transfers.end())
            return;
        const auto size = std::min(kLargestPiece, transfer->form->bytes.size() - transfer->sent);
        put(requestor, property, transfer->type, *transfer->form, transfer->sent, size);
        transfer->sent += size;
        if (size == 0)
            m_transfers.erase(transfer);
        m_isOver = m_isLost && m_transfers.empty();
    }

    void put(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t type, const ClipboardForm& form, std::size_t from,
             std::size_t size) {
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, requestor, property, type, form.format,
                            static_cast<std::uint32_t>(size / (form.format / 8U)), form.bytes.data() + from);
    }

    ClipboardContent m_content;
    Descriptor m_stop;
    xcb_connection_t* m_connection = nullptr;
    xcb_window_t m_window = XCB_WINDOW_NONE;
    xcb_atom_t m_clipboard = XCB_ATOM_NONE;
    xcb_atom_t m_targets = XCB_ATOM_NONE;
    xcb_atom_t m_incremental = XCB_ATOM_NONE;
    /// By target: the type of the data, and where they are.
    std::map<xcb_atom_t, std::pair<xcb_atom_t, const ClipboardForm*>> m_forms;
    std::list<Transfer> m_transfers;
    std::atomic<bool> m_isStopped = false;
    /// Another program has the clipboard, though somebody may still be fetching.
    bool m_isLost = false;
    bool m_isOver = false;
    std::jthread m_thread;
};

ClipboardKeeper::ClipboardKeeper() = default;
ClipboardKeeper::~ClipboardKeeper() = default;

void ClipboardKeeper::keep(ClipboardContent content) {
    m_owner = std::make_unique<Owner>(std::move(content));
}

void ClipboardKeeper::leaveBehind() {
    if (m_owner)
        m_owner->leaveBehind();
}

} // namespace torvo
