#include "linux/DBusConnection.h"

namespace torvo {

namespace {

std::string textOf(GError* error) {
    const GLibPointer<GError> owned(error);
    if (owned == nullptr)
        return "unknown error";
    g_dbus_error_strip_remote_error(owned.get());
    return owned->message;
}

} // namespace

std::expected<std::shared_ptr<DBusConnection>, std::string> DBusConnection::session() {
    GError* error = nullptr;
    // A connection of its own: the shared one would end the program together with the bus.
    const GLibPointer<char> address(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, &error));
    if (address == nullptr)
        return std::unexpected(textOf(error));
    return open(address.get());
}

std::expected<std::shared_ptr<DBusConnection>, std::string> DBusConnection::open(const std::string& address) {
    GError* error = nullptr;
    // NOLINTNEXTLINE(clang-analyzer-optin.core.EnumCastOutOfRange): flags are combined
    constexpr auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                             G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    GLibPointer<GDBusConnection> connection(
        g_dbus_connection_new_for_address_sync(address.c_str(), flags, nullptr, nullptr, &error));
    if (connection == nullptr)
        return std::unexpected(textOf(error));
    g_dbus_connection_set_exit_on_close(connection.get(), FALSE);
    return std::shared_ptr<DBusConnection>(new DBusConnection(std::move(connection)));
}

DBusConnection::~DBusConnection() {
    g_dbus_connection_close_sync(m_connection.get(), nullptr, nullptr);
}

std::expected<GLibPointer<GVariant>, std::string> DBusConnection::call(const DBusMethod& method, GVariant* arguments,
                                                                       const char* answer,
                                                                       std::chrono::milliseconds patience,
                                                                       GCancellable* cancellable) const {
    GError* error = nullptr;
    const auto* type = answer == nullptr ? nullptr : G_VARIANT_TYPE(answer);
    GLibPointer<GVariant> reply(
        g_dbus_connection_call_sync(m_connection.get(), method.destination.c_str(), method.path.c_str(),
                                    method.interface.c_str(), method.member.c_str(), arguments, type,
                                    G_DBUS_CALL_FLAGS_NONE, static_cast<int>(patience.count()), cancellable, &error));
    if (reply == nullptr)
        return std::unexpected(textOf(error));
    return reply;
}

} // namespace torvo
