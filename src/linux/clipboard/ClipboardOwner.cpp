#include "linux/clipboard/ClipboardOwner.h"

#include "linux/X11Connection.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>

namespace torvo {

namespace {

/// What fits into one request with room to spare; more goes in pieces.
constexpr std::size_t kLargestPiece = std::size_t{192} << 10U;
/// More targets than that are not asked for at once.
constexpr std::uint32_t kMostTargets = 1024;

} // namespace

ClipboardOwner::ClipboardOwner(ClipboardContent content, std::chrono::milliseconds patience)
    : m_content(std::move(content)), m_patience(patience) {
    int screenNumber = 0;
    m_connection = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(m_connection) != 0)
        return;
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(m_connection));
    for (int i = 0; i < screenNumber; ++i)
        xcb_screen_next(&screens);
    m_clipboard = atom("CLIPBOARD");
    m_targets = atom("TARGETS");
    m_timestamp = atom("TIMESTAMP");
    m_multiple = atom("MULTIPLE");
    m_incremental = atom("INCR");
    for (const auto& form : m_content)
        m_forms.emplace(atom(form.target), std::pair(atom(form.type), &form));
    m_window = xcb_generate_id(m_connection);
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, m_window, screens.data->root, -10, -10, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
    m_isOver = !take();
    if (!m_isOver)
        resume();
}

ClipboardOwner::~ClipboardOwner() {
    (void)pause();
    if (m_connection != nullptr)
        xcb_disconnect(m_connection);
}

bool ClipboardOwner::pause() {
    if (m_thread.joinable()) {
        m_isStopped = true;
        const std::uint64_t one = 1;
        (void)!::write(m_stop.get(), &one, sizeof one);
        m_thread.join();
    }
    return !m_isOver;
}

void ClipboardOwner::resume() {
    m_isStopped = false;
    m_stop = Descriptor(::eventfd(0, EFD_CLOEXEC));
    m_thread = std::jthread([this] { serve(); });
}

void ClipboardOwner::join() {
    if (m_thread.joinable())
        m_thread.join();
}

void ClipboardOwner::abandon() {
    ::close(xcb_get_file_descriptor(m_connection));
    m_connection = nullptr;
    m_isOver = true;
}

xcb_atom_t ClipboardOwner::atom(const std::string& name) {
    const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        m_connection, xcb_intern_atom(m_connection, 0, static_cast<std::uint16_t>(name.size()), name.c_str()),
        nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

bool ClipboardOwner::take() {
    // The notice of a property that gets nothing added tells the time.
    xcb_change_property(m_connection, XCB_PROP_MODE_APPEND, m_window, m_timestamp, XCB_ATOM_INTEGER, 32, 0, nullptr);
    xcb_flush(m_connection);
    while (m_time == XCB_CURRENT_TIME) {
        const XcbReply<xcb_generic_event_t> event(xcb_wait_for_event(m_connection));
        if (!event)
            return false;
        if ((event->response_type & 0x7F) == XCB_PROPERTY_NOTIFY)
            m_time = reinterpret_cast<const xcb_property_notify_event_t&>(*event).time;
    }
    const auto owner = m_content.empty() ? static_cast<xcb_window_t>(XCB_WINDOW_NONE) : m_window;
    xcb_set_selection_owner(m_connection, owner, m_clipboard, m_time);
    // Whoever took it after that time keeps it.
    const XcbReply<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(m_connection, xcb_get_selection_owner(m_connection, m_clipboard), nullptr));
    return reply && owner != XCB_WINDOW_NONE && reply->owner == owner;
}

void ClipboardOwner::serve() {
    while (!m_isStopped && !m_isOver && xcb_connection_has_error(m_connection) == 0) {
        while (const XcbReply<xcb_generic_event_t> event{xcb_poll_for_event(m_connection)})
            handle(*event);
        xcb_flush(m_connection);
        // Sending may have to take in what comes meanwhile.
        while (const XcbReply<xcb_generic_event_t> event{xcb_poll_for_queued_event(m_connection)}) {
            handle(*event);
            xcb_flush(m_connection);
        }
        if (m_isOver)
            return;
        std::array<pollfd, 2> polled{{{xcb_get_file_descriptor(m_connection), POLLIN, 0}, {m_stop.get(), POLLIN, 0}}};
        if (::poll(polled.data(), polled.size(), m_isLost ? static_cast<int>(m_patience.count()) : -1) == 0)
            m_isOver = true;
    }
    m_isOver = m_isOver || xcb_connection_has_error(m_connection) != 0;
}

void ClipboardOwner::handle(const xcb_generic_event_t& event) {
    switch (event.response_type & 0x7F) {
    case XCB_SELECTION_REQUEST:
        answer(reinterpret_cast<const xcb_selection_request_event_t&>(event));
        break;
    case XCB_SELECTION_CLEAR:
        m_isLost = true;
        break;
    case XCB_PROPERTY_NOTIFY: {
        const auto& changed = reinterpret_cast<const xcb_property_notify_event_t&>(event);
        if (changed.state == XCB_PROPERTY_DELETE)
            sendNextPiece(changed.window, changed.atom);
        break;
    }
    case XCB_DESTROY_NOTIFY:
        forget(reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window);
        break;
    case 0:
        // An error: the window was gone before anything was known of it.
        forget(reinterpret_cast<const xcb_generic_error_t&>(event).resource_id);
        break;
    default:
        break;
    }
    m_isOver = m_isLost && m_transfers.empty();
}

void ClipboardOwner::answer(const xcb_selection_request_event_t& request) {
    xcb_selection_notify_event_t notice{};
    notice.response_type = XCB_SELECTION_NOTIFY;
    notice.time = request.time;
    notice.requestor = request.requestor;
    notice.selection = request.selection;
    notice.target = request.target;
    const auto property = request.property == XCB_ATOM_NONE ? request.target : request.property;
    const bool isDone = request.target == m_multiple ? convertAll(request.requestor, request.property)
                                                     : convert(request.requestor, request.target, property);
    if (isDone)
        notice.property = property;
    xcb_send_event(m_connection, 0, request.requestor, 0, reinterpret_cast<const char*>(&notice));
}

bool ClipboardOwner::convert(xcb_window_t requestor, xcb_atom_t target, xcb_atom_t property) {
    if (target == m_targets) {
        std::vector<xcb_atom_t> offered{m_targets, m_timestamp, m_multiple};
        for (const auto& [each, ignored] : m_forms)
            offered.push_back(each);
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, requestor, property, XCB_ATOM_ATOM, 32,
                            static_cast<std::uint32_t>(offered.size()), offered.data());
        return true;
    }
    if (target == m_timestamp) {
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, requestor, property, XCB_ATOM_INTEGER, 32, 1, &m_time);
        return true;
    }
    const auto form = m_forms.find(target);
    if (form == m_forms.end())
        return false;
    send(requestor, property, form->second.first, *form->second.second);
    return true;
}

/// ICCCM 2.6.2, MULTIPLE: the property names pairs of a target and the property that it is wanted in; what cannot be
/// had is struck out there.
bool ClipboardOwner::convertAll(xcb_window_t requestor, xcb_atom_t property) {
    const auto cookie =
        xcb_get_property(m_connection, 0, requestor, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 2 * kMostTargets);
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(m_connection, cookie, nullptr));
    if (!reply || reply->format != 32 || reply->bytes_after > 0)
        return false;
    const auto* first = static_cast<const xcb_atom_t*>(xcb_get_property_value(reply.get()));
    std::vector<xcb_atom_t> atoms(first, first + reply->value_len);
    for (std::size_t i = 0; i + 1 < atoms.size(); i += 2)
        if (atoms[i + 1] == XCB_ATOM_NONE || !convert(requestor, atoms[i], atoms[i + 1]))
            atoms[i + 1] = XCB_ATOM_NONE;
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, requestor, property, reply->type, 32,
                        static_cast<std::uint32_t>(atoms.size()), atoms.data());
    return true;
}

void ClipboardOwner::send(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t type, const ClipboardForm& form) {
    // Whoever asks again for the same place does not want the rest of what was asked for before.
    std::erase_if(m_transfers,
                  [&](const Transfer& each) { return each.requestor == requestor && each.property == property; });
    const Transfer transfer{requestor, property, type, &form};
    if (form.bytes.size() <= kLargestPiece) {
        put(transfer, form.bytes.size());
        return;
    }
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(m_connection, requestor, XCB_CW_EVENT_MASK, &mask);
    const auto size = static_cast<std::uint32_t>(form.bytes.size());
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, requestor, property, m_incremental, 32, 1, &size);
    m_transfers.push_back(transfer);
}

/// ICCCM 2.7.2: the next piece goes when the requestor has deleted the one before; an empty one ends it.
void ClipboardOwner::sendNextPiece(xcb_window_t requestor, xcb_atom_t property) {
    const auto transfer = std::ranges::find_if(
        m_transfers, [&](const Transfer& each) { return each.requestor == requestor && each.property == property; });
    if (transfer == m_transfers.end())
        return;
    const auto size = std::min(kLargestPiece, transfer->form->bytes.size() - transfer->sent);
    put(*transfer, size);
    transfer->sent += size;
    if (size == 0)
        m_transfers.erase(transfer);
}

void ClipboardOwner::put(const Transfer& transfer, std::size_t size) {
    const auto& form = *transfer.form;
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, transfer.requestor, transfer.property, transfer.type,
                        form.format, static_cast<std::uint32_t>(size / (form.format / 8U)),
                        form.bytes.data() + transfer.sent);
}

void ClipboardOwner::forget(xcb_window_t requestor) {
    std::erase_if(m_transfers, [&](const Transfer& each) { return each.requestor == requestor; });
}

} // namespace torvo
