#include "linux/SessionBus.h"

namespace torvo {

namespace {

constexpr std::chrono::seconds kPatience{3};

DBusMethod busMethod(const char* member) {
    return {"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", member};
}

} // namespace

std::shared_ptr<DBusConnection> SessionBus::connection() {
    const std::lock_guard lock(m_lock);
    if (m_connection == nullptr || m_connection->isClosed())
        m_connection = DBusConnection::session().value_or(nullptr);
    return m_connection;
}

bool isRunning(const DBusConnection& connection, const std::string& name, GCancellable* cancellable) {
    const auto answer =
        connection.call(busMethod("NameHasOwner"), g_variant_new("(s)", name.c_str()), "(b)", kPatience, cancellable);
    if (!answer)
        return false;
    gboolean hasOwner = FALSE;
    g_variant_get(answer->get(), "(b)", &hasOwner);
    return hasOwner != FALSE;
}

bool isReachable(const DBusConnection& connection, const std::string& name, GCancellable* cancellable) {
    if (isRunning(connection, name, cancellable))
        return true;
    const auto answer = connection.call(busMethod("ListActivatableNames"), nullptr, "(as)", kPatience, cancellable);
    if (!answer)
        return false;
    const GLibPointer<GVariant> names(g_variant_get_child_value(answer->get(), 0));
    for (gsize i = 0; i < g_variant_n_children(names.get()); ++i) {
        const GLibPointer<GVariant> item(g_variant_get_child_value(names.get(), i));
        if (name == g_variant_get_string(item.get(), nullptr))
            return true;
    }
    return false;
}

} // namespace torvo
