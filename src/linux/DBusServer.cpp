#include "linux/DBusServer.h"

#include <future>

namespace torvo {

namespace {

void carryOut(GDBusConnection* /*connection*/, const char* /*sender*/, const char* /*path*/, const char* /*interface*/,
              const char* member, GVariant* arguments, GDBusMethodInvocation* invocation, gpointer handler) {
    (*static_cast<DBusServer::Handler*>(handler))(member, arguments, invocation);
}

constexpr GDBusInterfaceVTable kCalls{&carryOut, nullptr, nullptr, {}};

} // namespace

DBusServer::DBusServer(Handler handler)
    : m_handler(std::move(handler)), m_context(g_main_context_new()), m_loop(g_main_loop_new(m_context.get(), FALSE)) {}

std::expected<std::unique_ptr<DBusServer>, DBusServer::Failure> DBusServer::start(const DBusObject& object,
                                                                                  Handler handler) {
    std::unique_ptr<DBusServer> server(new DBusServer(std::move(handler)));
    std::promise<std::expected<void, Failure>> offered;
    server->m_thread = std::jthread([&offered, object, own = server.get()] {
        // Calls arrive in the context that was the thread's own when the object was registered.
        g_main_context_push_thread_default(own->m_context.get());
        auto result = own->offer(object);
        const bool isServing = result.has_value();
        offered.set_value(std::move(result));
        if (isServing)
            g_main_loop_run(own->m_loop.get());
        own->end();
        g_main_context_pop_thread_default(own->m_context.get());
    });
    auto result = offered.get_future().get();
    if (!result)
        return std::unexpected(std::move(result.error()));
    return server;
}

DBusServer::~DBusServer() {
    if (!m_thread.joinable())
        return;
    // From within the loop: one that has not begun to run yet would not notice otherwise.
    const GLibPointer<GSource> quit(g_idle_source_new());
    g_source_set_callback(
        quit.get(),
        [](gpointer loop) -> gboolean {
            g_main_loop_quit(static_cast<GMainLoop*>(loop));
            return G_SOURCE_REMOVE;
        },
        m_loop.get(), nullptr);
    g_source_attach(quit.get(), m_context.get());
    m_thread.join();
}

std::expected<void, DBusServer::Failure> DBusServer::offer(const DBusObject& object) {
    auto connection = DBusConnection::session();
    if (!connection)
        return std::unexpected(Failure{.description = connection.error()});
    m_connection = std::move(*connection);

    GError* error = nullptr;
    const GLibPointer<GDBusNodeInfo> node(g_dbus_node_info_new_for_xml(object.introspection.c_str(), &error));
    if (node != nullptr)
        m_registration = g_dbus_connection_register_object(m_connection->get(), object.path.c_str(),
                                                           node->interfaces[0], &kCalls, &m_handler, nullptr, &error);
    if (m_registration == 0) {
        const GLibPointer<GError> owned(error);
        return std::unexpected(Failure{.description = owned->message});
    }

    constexpr guint32 doNotQueue = 4;
    constexpr guint32 isPrimaryOwner = 1;
    const auto reply =
        m_connection->call({"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName"},
                           g_variant_new("(su)", object.name.c_str(), doNotQueue), "(u)", std::chrono::seconds(5));
    if (!reply)
        return std::unexpected(Failure{.description = reply.error()});
    guint32 outcome = 0;
    g_variant_get(reply->get(), "(u)", &outcome);
    if (outcome != isPrimaryOwner)
        return std::unexpected(Failure{.isNameTaken = true, .description = object.name + " is taken"});
    return {};
}

void DBusServer::end() {
    if (m_registration != 0)
        g_dbus_connection_unregister_object(m_connection->get(), m_registration);
    m_connection.reset();
}

} // namespace torvo
