#pragma once

#include "linux/DBusConnection.h"

#include <chrono>
#include <cstdint>
#include <expected>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace torvo {

/// When the patience with another program ends.
using Deadline = std::chrono::steady_clock::time_point;

/// What is left until then; never less than a millisecond.
[[nodiscard]] std::chrono::milliseconds remaining(Deadline deadline);

/// An object that another program shows on the accessibility bus: a window, a control, an item.
struct AccessibleObject {
    /// The program's unique name on that bus.
    std::string program;
    std::string path;

    bool operator==(const AccessibleObject&) const = default;
};

/// The bus on which programs tell assistive ones what they show (AT-SPI 2, the D-Bus interfaces "org.a11y.atspi").
/// Callable from any thread.
class AccessibilityBus {
  public:
    using Answer = std::expected<GLibPointer<GVariant>, std::string>;

    struct Call {
        AccessibleObject object;
        const char* interface = "";
        const char* member = "";
        /// A floating tuple, or null for no arguments.
        GVariant* arguments = nullptr;
        /// The type of the answer's tuple; null: any.
        const char* answer = nullptr;
    };

    /// Connects by way of the session bus; the error is one line.
    [[nodiscard]] static std::expected<std::unique_ptr<AccessibilityBus>, std::string> connect(DBusConnection& session,
                                                                                               Deadline deadline);

    /// Whether programs are asked to be accessible.
    [[nodiscard]] static bool isEnabled(DBusConnection& session, Deadline deadline);
    /// Asks them to be. Those built with Qt 5 look only when they start.
    static void enable(DBusConnection& session, Deadline deadline);

    [[nodiscard]] Answer call(const Call& call, Deadline deadline) const;
    /// Makes all the calls at once and waits for all the answers, which come in the order of the calls. One to a null
    /// object fails.
    [[nodiscard]] std::vector<Answer> callAll(const std::vector<Call>& calls, Deadline deadline) const;

    /// The root object of a running program; absent when it is not accessible.
    [[nodiscard]] std::optional<AccessibleObject> application(std::int32_t pid, Deadline deadline);

    [[nodiscard]] bool isClosed() const { return g_dbus_connection_is_closed(m_connection->get()) != FALSE; }

  private:
    explicit AccessibilityBus(std::shared_ptr<DBusConnection> connection) : m_connection(std::move(connection)) {}

    std::shared_ptr<DBusConnection> m_connection;
    std::mutex m_lock;
    std::map<std::int32_t, AccessibleObject> m_applications;
};

} // namespace torvo
