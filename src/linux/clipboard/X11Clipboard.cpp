#include "linux/clipboard/X11Clipboard.h"

#include "linux/X11Connection.h"

#include <poll.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace torvo {

namespace {

/// Nobody's clipboard is worth more memory than that.
constexpr std::size_t kLargestContent = std::size_t{256} << 20U;

/// Targets that say something about the content and are none.
constexpr std::array<std::string_view, 6> kMetaTargets{"TARGETS",      "TIMESTAMP", "MULTIPLE",
                                                       "SAVE_TARGETS", "DELETE",    "INSERT_SELECTION"};

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
    clipboard->m_window = xcb_generate_id(connection);
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, clipboard->m_window, screens.data->root, -10, -10, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
    clipboard->m_clipboard = clipboard->atom("CLIPBOARD");
    clipboard->m_property = clipboard->atom("TORVO_CLIPBOARD");
    return clipboard;
}

X11Clipboard::~X11Clipboard() {
    xcb_disconnect(m_connection);
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

bool X11Clipboard::waitFor(const std::function<bool(const xcb_generic_event_t&)>& wanted, Deadline deadline) {
    xcb_flush(m_connection);
    while (true) {
        while (const XcbReply<xcb_generic_event_t> event{xcb_poll_for_event(m_connection)}) {
            if (wanted(*event))
                return true;
        }
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd polled{xcb_get_file_descriptor(m_connection), POLLIN, 0};
        if (left.count() <= 0 || xcb_connection_has_error(m_connection) != 0 ||
            ::poll(&polled, 1, static_cast<int>(left.count())) == 0)
            return false;
    }
}

std::optional<ClipboardForm> X11Clipboard::takeProperty() {
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        m_connection,
        xcb_get_property(m_connection, 1, m_window, m_property, XCB_GET_PROPERTY_TYPE_ANY, 0, kLargestContent / 4),
        nullptr));
    if (!reply || reply->type == XCB_ATOM_NONE)
        return std::nullopt;
    ClipboardForm form{.type = atomName(reply->type), .format = reply->format};
    form.bytes.assign(static_cast<const char*>(xcb_get_property_value(reply.get())),
                      static_cast<std::size_t>(xcb_get_property_value_length(reply.get())));
    return form;
}

/// The data that its owner hands over piece by piece (ICCCM 2.7.2).
std::optional<ClipboardForm> X11Clipboard::readPieces(Deadline deadline) {
    std::optional<ClipboardForm> whole;
    while (true) {
        const bool came = waitFor(
            [&](const xcb_generic_event_t& event) {
                if ((event.response_type & 0x7F) != XCB_PROPERTY_NOTIFY)
                    return false;
                const auto& changed = reinterpret_cast<const xcb_property_notify_event_t&>(event);
                return changed.atom == m_property && changed.state == XCB_PROPERTY_NEW_VALUE;
            },
            deadline);
        auto piece = came ? takeProperty() : std::nullopt;
        if (!piece)
            return std::nullopt;
        if (piece->bytes.empty())
            return whole ? std::move(whole) : std::move(piece);
        if (!whole)
            whole = std::move(piece);
        else
            whole->bytes += piece->bytes;
        if (whole->bytes.size() > kLargestContent)
            return std::nullopt;
    }
}

std::optional<ClipboardForm> X11Clipboard::read(const std::string& target, Deadline deadline) {
    const auto targetAtom = atom(target);
    xcb_delete_property(m_connection, m_window, m_property);
    xcb_convert_selection(m_connection, m_window, m_clipboard, targetAtom, m_property, XCB_CURRENT_TIME);
    bool isRefused = true;
    const bool answered = waitFor(
        [&](const xcb_generic_event_t& event) {
            if ((event.response_type & 0x7F) != XCB_SELECTION_NOTIFY)
                return false;
            const auto& notice = reinterpret_cast<const xcb_selection_notify_event_t&>(event);
            isRefused = notice.property == XCB_ATOM_NONE;
            return notice.target == targetAtom;
        },
        deadline);
    if (!answered || isRefused)
        return std::nullopt;
    auto form = takeProperty();
    if (form && form->type == "INCR")
        form = readPieces(deadline);
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

ClipboardContent X11Clipboard::readAll(Deadline deadline) {
    auto names = targets(deadline).value_or(std::vector<std::string>());
    const bool hasPng = std::ranges::find(names, "image/png") != names.end();
    std::erase_if(names, [&](const std::string& name) {
        return std::ranges::find(kMetaTargets, name) != kMetaTargets.end() ||
               (hasPng && name.starts_with("image/") && name != "image/png");
    });
    ClipboardContent content;
    std::size_t size = 0;
    for (const auto& name : names) {
        auto form = read(name, deadline);
        if (!form || size + form->bytes.size() > kLargestContent)
            continue;
        size += form->bytes.size();
        content.push_back(*std::move(form));
    }
    return content;
}

bool X11Clipboard::changesAfter(const std::function<void()>& action, Deadline deadline) {
    xcb_xfixes_select_selection_input(m_connection, m_window, m_clipboard,
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER);
    // The server has heard of it before the action begins.
    const XcbReply<xcb_get_input_focus_reply_t> heard(
        xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    action();
    const bool changed = waitFor(
        [&](const xcb_generic_event_t& event) {
            return (event.response_type & 0x7F) == m_firstFixesEvent + XCB_XFIXES_SELECTION_NOTIFY &&
                   reinterpret_cast<const xcb_xfixes_selection_notify_event_t&>(event).owner != XCB_WINDOW_NONE;
        },
        deadline);
    xcb_xfixes_select_selection_input(m_connection, m_window, m_clipboard, 0);
    return changed;
}

} // namespace torvo
