#include "tests/support/ScriptedOwner.h"

#include "tests/support/XDesktop.h"

#include <utility>

namespace torvo::testing {

ScriptedOwner::ScriptedOwner(Forms forms)
    : m_forms(std::move(forms)), m_connection(X11Connection::create()), m_window(xcb_generate_id(m_connection->get())) {
    for (const auto& [target, ignored] : m_forms)
        m_names[atomOf(*m_connection, target)] = target;
    m_names[atomOf(*m_connection, "TARGETS")] = "TARGETS";
    xcb_create_window(m_connection->get(), XCB_COPY_FROM_PARENT, m_window, m_connection->root(), -10, -10, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_flush(m_connection->get());
    m_thread = std::jthread([this] { serve(); });
}

ScriptedOwner::~ScriptedOwner() {
    // A message to itself ends the thread.
    xcb_client_message_event_t end{};
    end.response_type = XCB_CLIENT_MESSAGE;
    end.format = 32;
    end.window = m_window;
    xcb_send_event(m_connection->get(), 0, m_window, 0, reinterpret_cast<const char*>(&end));
    xcb_flush(m_connection->get());
    m_thread.join();
}

void ScriptedOwner::take() {
    xcb_set_selection_owner(m_connection->get(), m_window, atomOf(*m_connection, "CLIPBOARD"), XCB_CURRENT_TIME);
    (void)isOwner();
}

bool ScriptedOwner::isOwner() {
    const XcbReply<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(
        m_connection->get(), xcb_get_selection_owner(m_connection->get(), atomOf(*m_connection, "CLIPBOARD")),
        nullptr));
    return reply && reply->owner == m_window;
}

std::vector<std::string> ScriptedOwner::asked() {
    const std::lock_guard guard(m_lock);
    return m_asked;
}

void ScriptedOwner::serve() {
    while (const XcbReply<xcb_generic_event_t> event{xcb_wait_for_event(m_connection->get())}) {
        const auto type = event->response_type & 0x7F;
        if (type == XCB_CLIENT_MESSAGE)
            return;
        if (type == XCB_SELECTION_REQUEST)
            answer(reinterpret_cast<const xcb_selection_request_event_t&>(*event));
    }
}

void ScriptedOwner::answer(const xcb_selection_request_event_t& request) {
    const auto name = m_names.contains(request.target) ? m_names[request.target] : "something else";
    {
        const std::lock_guard guard(m_lock);
        m_asked.push_back(name);
    }
    xcb_selection_notify_event_t notice{};
    notice.response_type = XCB_SELECTION_NOTIFY;
    notice.requestor = request.requestor;
    notice.selection = request.selection;
    notice.target = request.target;
    const auto form = m_forms.find(name);
    if (form != m_forms.end() && !form->second)
        return;
    if (form != m_forms.end() && name != "refused") {
        xcb_change_property(m_connection->get(), XCB_PROP_MODE_REPLACE, request.requestor, request.property,
                            request.target, 8, static_cast<std::uint32_t>(form->second->size()), form->second->data());
        notice.property = request.property;
    } else if (name == "TARGETS") {
        std::vector<xcb_atom_t> offered;
        for (const auto& [target, ignored] : m_names)
            offered.push_back(target);
        xcb_change_property(m_connection->get(), XCB_PROP_MODE_REPLACE, request.requestor, request.property,
                            XCB_ATOM_ATOM, 32, static_cast<std::uint32_t>(offered.size()), offered.data());
        notice.property = request.property;
    }
    xcb_send_event(m_connection->get(), 0, request.requestor, 0, reinterpret_cast<const char*>(&notice));
    xcb_flush(m_connection->get());
}

} // namespace torvo::testing
