#pragma once

#include "linux/GLibPointers.h"

#include <chrono>
#include <expected>
#include <memory>
#include <string>

namespace torvo {

/// Where a call on a message bus goes.
struct DBusMethod {
    /// The bus name of the program, well-known or unique.
    std::string destination;
    std::string path;
    std::string interface;
    std::string member;
};

/// A connection to a message bus (D-Bus Specification). Callable from any thread; needs no main loop.
class DBusConnection {
  public:
    /// Connects to the session bus; the error is one line. A bus that goes away does not end the program.
    [[nodiscard]] static std::expected<std::shared_ptr<DBusConnection>, std::string> session();
    /// Connects to the bus at that address.
    [[nodiscard]] static std::expected<std::shared_ptr<DBusConnection>, std::string> open(const std::string& address);
    ~DBusConnection();
    DBusConnection(const DBusConnection&) = delete;
    DBusConnection& operator=(const DBusConnection&) = delete;

    /// Calls a method and waits for its answer, a tuple of the type `answer` ("(s)"; null: any), at most for the given
    /// time, and no longer than until another thread cancels it. `arguments`: a floating tuple, or null for none. The
    /// error is the bus's text.
    [[nodiscard]] std::expected<GLibPointer<GVariant>, std::string> call(const DBusMethod& method, GVariant* arguments,
                                                                         const char* answer,
                                                                         std::chrono::milliseconds patience,
                                                                         GCancellable* cancellable = nullptr) const;

    /// Whether the bus has gone away, or ended the connection.
    [[nodiscard]] bool isClosed() const { return g_dbus_connection_is_closed(m_connection.get()) != FALSE; }

    [[nodiscard]] GDBusConnection* get() const { return m_connection.get(); }

  private:
    explicit DBusConnection(GLibPointer<GDBusConnection> connection) : m_connection(std::move(connection)) {}

    GLibPointer<GDBusConnection> m_connection;
};

} // namespace torvo
