#include "linux/clipboard/X11Clipboard.h"

#include "linux/X11Connection.h"

#include <poll.h>
#include <unistd.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace torvo {

namespace {

/// Targets that say something about the content and are none.
constexpr std::array<std::string_view, 6> kMetaTargets{"TARGETS",      "TIMESTAMP", "MULTIPLE",
                                                       "SAVE_TARGETS", "DELETE",    "INSERT_SELECTION"};

/// Programs offer a picture in every form that their toolkit can write, which takes long; a PNG file holds the same
/// points. It does not hold what is drawn with lines, or moves.
bool isSamePictureAsPng(std::string_view target) {
    constexpr std::array<std::string_view, 7> kMore{"png", "svg", "gif", "emf", "wmf", "eps", "pdf"};
    return target.starts_with("image/") &&
           std::ranges::none_of(kMore, [&](std::string_view each) { return target.contains(each); });
}

} // namespace

std::unique_ptr<X11Clipboard> X11Clipboard::create() {
    std::unique_ptr<X11Clipboard> clipboard(new X11Clipboard);
    int screenNumber = 0;
    clipboard->m_connection = xcb_connect(nullptr, &screenNumber);
    auto* connection = clipboard->m_connection;
    if (xcb_connection_has_error(connection) != 0)
        return nullptr;
    const auto* fixes = xcb_get_extension_data(connection, &xcb_xfixes_id);
    if (fixes == nullptr || fixes->present == 0)
        return nullptr;
    clipboard->m_firstFixesEvent = fixes->first_event;
    const XcbReply<xcb_xfixes_query_version_reply_t> version(
        xcb_xfixes_query_version_reply(connection, xcb_xfixes_query_version(connection, 5, 0), nullptr));
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screenNumber; ++i)
        xcb_screen_next(&screens);
    clipboard->m_root = screens.data->root;
    clipboard->makeWindow();
    clipboard->m_clipboard = clipboard->atom("CLIPBOARD");
    clipboard->m_property = clipboard->atom("TORVO_CLIPBOARD");
    return clipboard;
}

X11Clipboard::~X11Clipboard() {
    if (m_connection != nullptr)
        xcb_disconnect(m_connection);
}

void X11Clipboard::abandon() {
    ::close(descriptor());
    m_connection = nullptr;
}

void X11Clipboard::makeWindow() {
    m_window = xcb_generate_id(m_connection);
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, m_window, m_root, -10, -10, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
}

xcb_atom_t X11Clipboard::atom(const std::string& name) {
    const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        m_connection, xcb_intern_atom(m_connection, 0, static_cast<std::uint16_t>(name.size()), name.c_str()),
        nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

std::string X11Clipboard::atomName(xcb_atom_t atom) {
    const XcbReply<xcb_get_atom_name_reply_t> reply(
        xcb_get_atom_name_reply(m_connection, xcb_get_atom_name(m_connection, atom), nullptr));
    if (!reply)
        return "";
    return {xcb_get_atom_name_name(reply.get()), static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get()))};
}

void X11Clipboard::note(const xcb_generic_event_t& event) {
    const auto type = event.response_type & 0x7F;
    if (type == m_firstFixesEvent + XCB_XFIXES_SELECTION_NOTIFY) {
        const auto& change = reinterpret_cast<const xcb_xfixes_selection_notify_event_t&>(event);
        m_isTaken = m_isTaken || change.owner != XCB_WINDOW_NONE;
    } else if (type == XCB_SELECTION_NOTIFY && m_request) {
        const auto& notice = reinterpret_cast<const xcb_selection_notify_event_t&>(event);
        if (notice.requestor == m_window && notice.target == m_request->target) {
            m_request->isAnswered = true;
            m_request->isRefused = notice.property == XCB_ATOM_NONE;
        }
    } else if (type == XCB_PROPERTY_NOTIFY && m_request && m_request->isInPieces) {
        const auto& changed = reinterpret_cast<const xcb_property_notify_event_t&>(event);
        if (changed.window == m_window && changed.atom == m_property && changed.state == XCB_PROPERTY_NEW_VALUE)
            m_request->hasPiece = true;
    }
}

bool X11Clipboard::waitFor(const std::function<bool(const xcb_generic_event_t&)>& wanted, Deadline deadline, int stop) {
    xcb_flush(m_connection);
    while (true) {
        while (const XcbReply<xcb_generic_event_t> event{xcb_poll_for_event(m_connection)}) {
            note(*event);
            if (wanted(*event))
                return true;
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        std::array<pollfd, 2> polled{{{descriptor(), POLLIN, 0}, {stop, POLLIN, 0}}};
        if (left.count() <= 0 || xcb_connection_has_error(m_connection) != 0 ||
            ::poll(polled.data(), polled.size(), static_cast<int>(left.count())) == 0 || polled[1].revents != 0)
            return false;
    }
}

std::expected<ClipboardForm, ClipboardFailure> X11Clipboard::takeProperty(std::size_t largest) {
    const XcbReply<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(m_connection,
                               xcb_get_property(m_connection, 1, m_window, m_property, XCB_GET_PROPERTY_TYPE_ANY, 0,
                                                static_cast<std::uint32_t>(largest / 4 + 1)),
                               nullptr));
    if (!reply || reply->type == XCB_ATOM_NONE)
        return std::unexpected(ClipboardFailure::refused);
    ClipboardForm form{.type = atomName(reply->type), .format = reply->format};
    form.bytes.assign(static_cast<const char*>(xcb_get_property_value(reply.get())),
                      static_cast<std::size_t>(xcb_get_property_value_length(reply.get())));
    // What was not taken to its end is still there.
    if (reply->bytes_after > 0)
        xcb_delete_property(m_connection, m_window, m_property);
    if (reply->bytes_after > 0 || (form.bytes.size() > largest && form.type != "INCR"))
        return std::unexpected(ClipboardFailure::tooLarge);
    return form;
}

/// The data that its owner hands over piece by piece (ICCCM 2.7.2).
std::expected<ClipboardForm, ClipboardFailure> X11Clipboard::collectPieces(Deadline deadline, std::size_t largest) {
    std::optional<ClipboardForm> whole;
    while (true) {
        const auto hasPiece = [&](const auto&... /*event*/) { return m_request->hasPiece; };
        if (!hasPiece() && !waitFor(hasPiece, deadline))
            return std::unexpected(ClipboardFailure::unanswered);
        m_request->hasPiece = false;
        auto piece = takeProperty(largest - (whole ? whole->bytes.size() : 0));
        if (!piece)
            return std::unexpected(ClipboardFailure::tooLarge);
        if (piece->bytes.empty()) {
            m_request.reset();
            return whole ? *std::move(whole) : *std::move(piece);
        }
        if (!whole)
            whole = *std::move(piece);
        else
            whole->bytes += piece->bytes;
    }
}

std::expected<ClipboardForm, ClipboardFailure> X11Clipboard::collect(Deadline deadline, std::size_t largest) {
    if (m_request->isInPieces)
        return collectPieces(deadline, largest);
    const auto isAnswered = [&](const auto&... /*event*/) { return m_request->isAnswered; };
    if (!isAnswered() && !waitFor(isAnswered, deadline))
        return std::unexpected(ClipboardFailure::unanswered);
    auto form = m_request->isRefused ? std::unexpected(ClipboardFailure::refused) : takeProperty(largest);
    if (form && form->type == "INCR") {
        m_request->isInPieces = true;
        return collectPieces(deadline, largest);
    }
    m_request.reset();
    return form;
}

bool X11Clipboard::settle(Deadline deadline) {
    if (m_request && owner() != m_request->owner) {
        // Its answer may come or not; nobody waits for it there.
        makeWindow();
        m_request.reset();
    }
    while (m_request) {
        const auto form = collect(deadline, kLargestContent);
        if (!form && form.error() == ClipboardFailure::unanswered)
            return false;
    }
    return true;
}

std::expected<ClipboardForm, ClipboardFailure> X11Clipboard::read(const std::string& target, Deadline deadline,
                                                                  std::size_t largest) {
    if (!settle(deadline))
        return std::unexpected(ClipboardFailure::unanswered);
    m_request = {.owner = owner(), .target = atom(target)};
    xcb_delete_property(m_connection, m_window, m_property);
    xcb_convert_selection(m_connection, m_window, m_clipboard, m_request->target, m_property, XCB_CURRENT_TIME);
    auto form = collect(deadline, largest);
    if (form)
        form->target = target;
    return form;
}

std::optional<std::vector<std::string>> X11Clipboard::targets(Deadline deadline) {
    const auto form = read("TARGETS", deadline);
    if (!form || form->format != 32)
        return std::nullopt;
    std::vector<std::string> names;
    for (std::size_t at = 0; at + sizeof(xcb_atom_t) <= form->bytes.size(); at += sizeof(xcb_atom_t)) {
        xcb_atom_t each = XCB_ATOM_NONE;
        std::copy_n(form->bytes.data() + at, sizeof each, reinterpret_cast<char*>(&each));
        names.push_back(atomName(each));
    }
    return names;
}

std::optional<ClipboardContent> X11Clipboard::readAll(Deadline deadline, std::size_t largest) {
    const auto first = owner();
    if (first == XCB_WINDOW_NONE)
        return ClipboardContent();
    auto names = targets(deadline);
    if (!names)
        return std::nullopt;
    const bool hasPng = std::ranges::find(*names, "image/png") != names->end();
    std::erase_if(*names, [&](const std::string& name) {
        return std::ranges::find(kMetaTargets, name) != kMetaTargets.end() || (hasPng && isSamePictureAsPng(name));
    });
    ClipboardContent content;
    std::size_t size = 0;
    for (const auto& name : *names) {
        auto form = read(name, deadline, largest - size);
        if (!form && form.error() == ClipboardFailure::refused)
            continue;
        if (!form)
            return std::nullopt;
        size += form->bytes.size();
        content.push_back(*std::move(form));
    }
    // An owner that ends refuses everything; so does one that has lost what it offers.
    if (owner() != first || m_isTaken || (content.empty() && !names->empty()))
        return std::nullopt;
    return content;
}

xcb_window_t X11Clipboard::owner() {
    const XcbReply<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(m_connection, xcb_get_selection_owner(m_connection, m_clipboard), nullptr));
    return reply ? reply->owner : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
}

/// ICCCM 2.1: the notice of a property that gets nothing added tells the time.
xcb_timestamp_t X11Clipboard::serverTime() {
    const auto stamp = atom("TORVO_TIME");
    xcb_timestamp_t time = XCB_CURRENT_TIME;
    xcb_change_property(m_connection, XCB_PROP_MODE_APPEND, m_window, stamp, XCB_ATOM_STRING, 8, 0, nullptr);
    (void)waitFor(
        [&](const xcb_generic_event_t& event) {
            if ((event.response_type & 0x7F) != XCB_PROPERTY_NOTIFY)
                return false;
            const auto& changed = reinterpret_cast<const xcb_property_notify_event_t&>(event);
            time = changed.time;
            return changed.window == m_window && changed.atom == stamp;
        },
        std::chrono::steady_clock::now() + std::chrono::seconds(1));
    return time;
}

void X11Clipboard::watch() {
    xcb_xfixes_select_selection_input(m_connection, m_root, m_clipboard,
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER);
    // The server has heard of it before anything else happens, and what it told before counts no longer.
    (void)owner();
    (void)waitFor([](const xcb_generic_event_t& /*event*/) { return false; }, {});
    m_isTaken = false;
}

bool X11Clipboard::isTaken(Deadline deadline, int stop) {
    if (!m_isTaken)
        (void)waitFor([&](const xcb_generic_event_t& /*event*/) { return m_isTaken; }, deadline, stop);
    return std::exchange(m_isTaken, false);
}

} // namespace torvo
