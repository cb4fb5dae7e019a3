#include "linux/accessibility/AccessibilityBus.h"

#include <algorithm>

namespace torvo {

namespace {

constexpr const char* kAccessible = "org.a11y.atspi.Accessible";
constexpr const char* kRootPath = "/org/a11y/atspi/accessible/root";

/// One of several calls that are under way.
struct Pending {
    GDBusConnection* connection = nullptr;
    std::size_t* open = nullptr;
    AccessibilityBus::Answer answer = std::unexpected(std::string());
};

void finish(GObject* /*source*/, GAsyncResult* result, gpointer data) {
    auto& pending = *static_cast<Pending*>(data);
    GError* error = nullptr;
    GLibPointer<GVariant> reply(g_dbus_connection_call_finish(pending.connection, result, &error));
    if (reply != nullptr) {
        pending.answer = std::move(reply);
    } else {
        const GLibPointer<GError> owned(error);
        pending.answer = std::unexpected(std::string(owned->message));
    }
    --*pending.open;
}

/// The context in which this thread's answers arrive, for as long as it waits for them.
class ThreadContext {
  public:
    ThreadContext() : m_context(g_main_context_new()) { g_main_context_push_thread_default(m_context.get()); }
    ~ThreadContext() { g_main_context_pop_thread_default(m_context.get()); }
    ThreadContext(const ThreadContext&) = delete;
    ThreadContext& operator=(const ThreadContext&) = delete;

    void waitForNext() { g_main_context_iteration(m_context.get(), TRUE); }

  private:
    GLibPointer<GMainContext> m_context;
};

DBusMethod statusMethod(const char* member) {
    return {"org.a11y.Bus", "/org/a11y/bus", "org.freedesktop.DBus.Properties", member};
}

} // namespace

std::chrono::milliseconds remaining(Deadline deadline) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    return std::max(left, std::chrono::milliseconds(1));
}

std::expected<std::unique_ptr<AccessibilityBus>, std::string> AccessibilityBus::connect(DBusConnection& session,
                                                                                        Deadline deadline) {
    const auto reply = session.call({"org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress"}, nullptr, "(s)",
                                    remaining(deadline));
    if (!reply)
        return std::unexpected(reply.error());
    const char* address = nullptr;
    g_variant_get(reply->get(), "(&s)", &address);
    auto connection = DBusConnection::open(address);
    if (!connection)
        return std::unexpected(connection.error());
    return std::unique_ptr<AccessibilityBus>(new AccessibilityBus(*std::move(connection)));
}

bool AccessibilityBus::isEnabled(DBusConnection& session, Deadline deadline) {
    const auto reply = session.call(statusMethod("Get"), g_variant_new("(ss)", "org.a11y.Status", "IsEnabled"), "(v)",
                                    remaining(deadline));
    if (!reply)
        return false;
    const GLibPointer<GVariant> boxed(g_variant_get_child_value(reply->get(), 0));
    const GLibPointer<GVariant> value(g_variant_get_variant(boxed.get()));
    return g_variant_is_of_type(value.get(), G_VARIANT_TYPE_BOOLEAN) && g_variant_get_boolean(value.get());
}

void AccessibilityBus::enable(DBusConnection& session, Deadline deadline) {
    (void)session.call(statusMethod("Set"),
                       g_variant_new("(ssv)", "org.a11y.Status", "IsEnabled", g_variant_new_boolean(TRUE)), nullptr,
                       remaining(deadline));
}

AccessibilityBus::Answer AccessibilityBus::call(const Call& call, Deadline deadline) const {
    if (call.object.program.empty())
        return std::move(callAll({call}, deadline).front());
    return m_connection->call({call.object.program, call.object.path, call.interface, call.member}, call.arguments,
                              call.answer, remaining(deadline));
}

std::vector<AccessibilityBus::Answer> AccessibilityBus::callAll(const std::vector<Call>& calls,
                                                                Deadline deadline) const {
    ThreadContext context;
    std::size_t open = calls.size();
    std::vector<Pending> pending(calls.size());
    for (std::size_t i = 0; i < calls.size(); ++i) {
        pending[i].connection = m_connection->get();
        pending[i].open = &open;
        const auto& call = calls[i];
        if (call.object.program.empty()) {
            if (call.arguments != nullptr)
                g_variant_unref(g_variant_ref_sink(call.arguments));
            --open;
            continue;
        }
        g_dbus_connection_call(m_connection->get(), call.object.program.c_str(), call.object.path.c_str(),
                               call.interface, call.member, call.arguments,
                               call.answer == nullptr ? nullptr : G_VARIANT_TYPE(call.answer), G_DBUS_CALL_FLAGS_NONE,
                               static_cast<int>(remaining(deadline).count()), nullptr, finish, &pending[i]);
    }
    // Each call ends by itself when its time is over.
    while (open > 0)
        context.waitForNext();
    std::vector<Answer> answers;
    answers.reserve(pending.size());
    for (auto& each : pending)
        answers.push_back(std::move(each.answer));
    return answers;
}

std::optional<AccessibleObject> AccessibilityBus::application(std::int32_t pid, Deadline deadline) {
    const std::lock_guard guard(m_lock);
    const auto answers = [&](const AccessibleObject& object) {
        return call({.object = object, .interface = kAccessible, .member = "GetRole"}, deadline).has_value();
    };
    if (const auto known = m_applications.find(pid); known != m_applications.end()) {
        if (answers(known->second))
            return known->second;
        m_applications.erase(known);
    }
    const auto reply = call({.object = {"org.a11y.atspi.Registry", kRootPath},
                             .interface = kAccessible,
                             .member = "GetChildren",
                             .answer = "(a(so))"},
                            deadline);
    if (!reply)
        return std::nullopt;
    const GLibPointer<GVariant> list(g_variant_get_child_value(reply->get(), 0));
    for (gsize i = 0; i < g_variant_n_children(list.get()); ++i) {
        const char* program = nullptr;
        const char* path = nullptr;
        g_variant_get_child(list.get(), i, "(&s&o)", &program, &path);
        const auto owner = m_connection->call(
            {"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetConnectionUnixProcessID"},
            g_variant_new("(s)", program), "(u)", remaining(deadline));
        guint32 number = 0;
        if (owner)
            g_variant_get(owner->get(), "(u)", &number);
        const AccessibleObject found{program, path};
        if (number == static_cast<guint32>(pid) && answers(found))
            return m_applications[pid] = found;
    }
    return std::nullopt;
}

} // namespace torvo
