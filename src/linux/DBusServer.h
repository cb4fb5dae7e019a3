#pragma once

#include "linux/DBusConnection.h"

#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace torvo {

/// What a program offers on the session bus.
struct DBusObject {
    /// The bus name to own.
    std::string name;
    std::string path;
    /// The introspection data of one interface (D-Bus Specification, "Introspection Data Format").
    std::string introspection;
};

/// One object on the session bus, served from a thread and a connection of its own.
class DBusServer {
  public:
    /// Carries out one call: it must answer `invocation`, which it owns, sooner or later. Called on the server's
    /// thread. `arguments` has the type that the introspection data say.
    using Handler =
        std::function<void(const std::string& member, GVariant* arguments, GDBusMethodInvocation* invocation)>;

    struct Failure {
        /// Another program owns the name.
        bool isNameTaken = false;
        /// One line.
        std::string description;
    };

    /// Takes the name, unless another program has it, and serves the object; calls are answered from the moment the
    /// name is taken.
    [[nodiscard]] static std::expected<std::unique_ptr<DBusServer>, Failure> start(const DBusObject& object,
                                                                                   Handler handler);
    /// Gives the name back. The handler is not called any more.
    ~DBusServer();
    DBusServer(const DBusServer&) = delete;
    DBusServer& operator=(const DBusServer&) = delete;

  private:
    explicit DBusServer(Handler handler);
    [[nodiscard]] std::expected<void, Failure> offer(const DBusObject& object);
    void end();

    Handler m_handler;
    GLibPointer<GMainContext> m_context;
    GLibPointer<GMainLoop> m_loop;
    /// For the server's thread.
    std::shared_ptr<DBusConnection> m_connection;
    guint m_registration = 0;
    std::jthread m_thread;
};

} // namespace torvo
