#include "linux/X11Connection.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace torvo {

namespace {

/// The desktop of a window that is on every one (Extended Window Manager Hints, _NET_WM_DESKTOP).
constexpr std::uint32_t kEveryDesktop = 0xFFFFFFFF;

/// The second text of WM_CLASS; empty when there is none.
std::string classOf(const xcb_get_property_reply_t* reply) {
    if (reply == nullptr)
        return {};
    const std::string_view texts(static_cast<const char*>(xcb_get_property_value(reply)),
                                 static_cast<std::size_t>(xcb_get_property_value_length(reply)));
    const auto second = texts.find('\0');
    if (second == std::string_view::npos)
        return {};
    const auto name = texts.substr(second + 1);
    return std::string(name.substr(0, name.find('\0')));
}

} // namespace

void XcbFree::operator()(void* memory) const {
    std::free(memory);
}

std::unique_ptr<X11Connection> X11Connection::create() {
    std::unique_ptr<X11Connection> created(new X11Connection);
    created->m_connection = xcb_connect(nullptr, &created->m_screenNumber);
    if (xcb_connection_has_error(created->m_connection) != 0)
        return nullptr;
    auto screen = xcb_setup_roots_iterator(xcb_get_setup(created->m_connection));
    for (int i = 0; i < created->m_screenNumber; ++i)
        xcb_screen_next(&screen);
    created->m_screen = screen.data;
    constexpr std::string_view frameExtents = "_GTK_FRAME_EXTENTS";
    const auto asked = xcb_intern_atom(created->m_connection, 0, frameExtents.size(), frameExtents.data());
    auto* atoms = xcb_ewmh_init_atoms(created->m_connection, &created->m_hints);
    if (xcb_ewmh_init_atoms_replies(&created->m_hints, atoms, nullptr) == 0) {
        // The library has released them already.
        created->m_hints = {};
        return nullptr;
    }
    if (const XcbReply<xcb_intern_atom_reply_t> atom{xcb_intern_atom_reply(created->m_connection, asked, nullptr)})
        created->m_gtkFrameExtents = atom->atom;
    return created;
}

X11Connection::~X11Connection() {
    xcb_ewmh_connection_wipe(&m_hints);
    xcb_disconnect(m_connection);
}

std::optional<xcb_window_t> X11Connection::activeWindow() {
    return answeredActiveWindow(askActiveWindow());
}

xcb_get_property_cookie_t X11Connection::askActiveWindow() {
    return xcb_ewmh_get_active_window(&m_hints, m_screenNumber);
}

std::optional<xcb_window_t> X11Connection::answeredActiveWindow(xcb_get_property_cookie_t asked) {
    xcb_window_t window = XCB_WINDOW_NONE;
    if (xcb_ewmh_get_active_window_reply(&m_hints, asked, &window, nullptr) == 0 || window == XCB_WINDOW_NONE)
        return std::nullopt;
    return window;
}

std::vector<xcb_window_t> X11Connection::stackedWindows() {
    return answeredStackedWindows(askStackedWindows());
}

xcb_get_property_cookie_t X11Connection::askStackedWindows() {
    return xcb_ewmh_get_client_list_stacking(&m_hints, m_screenNumber);
}

std::vector<xcb_window_t> X11Connection::answeredStackedWindows(xcb_get_property_cookie_t asked) {
    xcb_ewmh_get_windows_reply_t reply{};
    if (xcb_ewmh_get_client_list_stacking_reply(&m_hints, asked, &reply, nullptr) == 0)
        return {};
    std::vector<xcb_window_t> windows(reply.windows, reply.windows + reply.windows_len);
    xcb_ewmh_get_windows_reply_wipe(&reply);
    return windows;
}

std::optional<std::int32_t> X11Connection::pid(xcb_window_t window) {
    return answeredPid(xcb_ewmh_get_wm_pid(&m_hints, window));
}

std::optional<std::int32_t> X11Connection::answeredPid(xcb_get_property_cookie_t asked) {
    std::uint32_t pid = 0;
    if (xcb_ewmh_get_wm_pid_reply(&m_hints, asked, &pid, nullptr) == 0)
        return std::nullopt;
    return static_cast<std::int32_t>(pid);
}

std::string X11Connection::windowClass(xcb_window_t window) {
    return answeredClass(askClass(window));
}

xcb_get_property_cookie_t X11Connection::askClass(xcb_window_t window) {
    return xcb_get_property(m_connection, 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 256);
}

std::string X11Connection::answeredClass(xcb_get_property_cookie_t asked) {
    return classOf(XcbReply<xcb_get_property_reply_t>(xcb_get_property_reply(m_connection, asked, nullptr)).get());
}

std::string X11Connection::textProperty(xcb_window_t window, const std::string& name) {
    const XcbReply<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
        m_connection, xcb_intern_atom(m_connection, 1, static_cast<std::uint16_t>(name.size()), name.c_str()),
        nullptr));
    if (!atom || atom->atom == XCB_ATOM_NONE)
        return {};
    const auto cookie = xcb_get_property(m_connection, 0, window, atom->atom, XCB_GET_PROPERTY_TYPE_ANY, 0, 1024);
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(m_connection, cookie, nullptr));
    if (!reply || reply->format != 8)
        return {};
    return {static_cast<const char*>(xcb_get_property_value(reply.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

std::vector<xcb_atom_t> X11Connection::atoms(xcb_window_t window, xcb_atom_t property) {
    return answeredAtoms(askAtoms(window, property));
}

xcb_get_property_cookie_t X11Connection::askAtoms(xcb_window_t window, xcb_atom_t property) {
    return xcb_get_property(m_connection, 0, window, property, XCB_ATOM_ATOM, 0, 256);
}

std::vector<xcb_atom_t> X11Connection::answeredAtoms(xcb_get_property_cookie_t asked) {
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(m_connection, asked, nullptr));
    if (!reply || reply->format != 32)
        return {};
    const auto* first = static_cast<const xcb_atom_t*>(xcb_get_property_value(reply.get()));
    return {first, first + static_cast<std::size_t>(xcb_get_property_value_length(reply.get())) / sizeof(xcb_atom_t)};
}

bool X11Connection::isOnScreen(xcb_window_t window) {
    return facts({window}).front().isOnScreen;
}

std::vector<X11Connection::WindowFacts> X11Connection::facts(const std::vector<xcb_window_t>& windows) {
    struct Asked {
        xcb_get_property_cookie_t windowClass;
        xcb_get_property_cookie_t types;
        xcb_get_property_cookie_t states;
        xcb_get_property_cookie_t desktop;
        xcb_get_property_cookie_t pid;
    };
    const auto currentQuestion = xcb_ewmh_get_current_desktop(&m_hints, m_screenNumber);
    std::vector<Asked> asked;
    asked.reserve(windows.size());
    for (const auto window : windows)
        asked.push_back({askClass(window), askAtoms(window, m_hints._NET_WM_WINDOW_TYPE),
                         askAtoms(window, m_hints._NET_WM_STATE), xcb_ewmh_get_wm_desktop(&m_hints, window),
                         xcb_ewmh_get_wm_pid(&m_hints, window)});
    std::uint32_t current = 0;
    // What the window manager does not tell is no obstacle.
    const bool isKnown = xcb_ewmh_get_current_desktop_reply(&m_hints, currentQuestion, &current, nullptr) != 0;
    std::vector<WindowFacts> all;
    for (const auto& each : asked) {
        WindowFacts facts{.windowClass = answeredClass(each.windowClass), .types = answeredAtoms(each.types)};
        const auto states = answeredAtoms(each.states);
        std::uint32_t desktop = 0;
        const bool isPlaced = xcb_ewmh_get_wm_desktop_reply(&m_hints, each.desktop, &desktop, nullptr) != 0;
        const bool isHidden = std::ranges::find(states, m_hints._NET_WM_STATE_HIDDEN) != states.end();
        const bool isElsewhere = isPlaced && isKnown && desktop != kEveryDesktop && desktop != current;
        facts.isOnScreen = !isHidden && !isElsewhere;
        facts.pid = answeredPid(each.pid);
        all.push_back(std::move(facts));
    }
    return all;
}

bool X11Connection::hasCompositor() {
    xcb_window_t owner = XCB_WINDOW_NONE;
    return xcb_ewmh_get_wm_cm_owner_reply(&m_hints, xcb_ewmh_get_wm_cm_owner(&m_hints, m_screenNumber), &owner,
                                          nullptr) != 0 &&
           owner != XCB_WINDOW_NONE;
}

void X11Connection::activate(xcb_window_t window) {
    xcb_ewmh_request_change_active_window(&m_hints, m_screenNumber, window, XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER,
                                          XCB_CURRENT_TIME, XCB_WINDOW_NONE);
    xcb_flush(m_connection);
}

bool X11Connection::hasQueuedEvents() {
    while (XcbReply<xcb_generic_event_t> event{xcb_poll_for_queued_event(m_connection)})
        m_queue.push_back(std::move(event));
    return !m_queue.empty();
}

XcbReply<xcb_generic_event_t> X11Connection::nextEvent() {
    if (m_queue.empty())
        return XcbReply<xcb_generic_event_t>(xcb_poll_for_event(m_connection));
    auto event = std::move(m_queue.front());
    m_queue.pop_front();
    return event;
}

void X11Connection::dispatch() {
    ++m_turn;
    while (const auto event = nextEvent()) {
        for (std::size_t i = 0; i < m_listeners.size(); ++i)
            m_listeners[i](*event);
    }
}

} // namespace torvo
