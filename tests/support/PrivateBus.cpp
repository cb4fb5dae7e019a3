#include "tests/support/PrivateBus.h"

#include "support/Descriptor.h"
#include "tests/support/Eventually.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <utility>

namespace torvo::testing {

namespace {

std::string textOf(GVariant* value) {
    return value == nullptr ? "()" : GLibPointer<char>(g_variant_print(value, FALSE)).get();
}

} // namespace

ScopedVariable::ScopedVariable(std::string name, const std::optional<std::string>& value) : m_name(std::move(name)) {
    if (const char* before = std::getenv(m_name.c_str()))
        m_before = before;
    if (value)
        ::setenv(m_name.c_str(), value->c_str(), 1);
    else
        ::unsetenv(m_name.c_str());
}

ScopedVariable::~ScopedVariable() {
    if (m_before)
        ::setenv(m_name.c_str(), m_before->c_str(), 1);
    else
        ::unsetenv(m_name.c_str());
}

PrivateBus::PrivateBus(const std::vector<std::string>& activatable) {
    // Not the machine's own configuration: its bus would start whatever file manager is installed here.
    for (const auto& name : activatable)
        (void)m_folder.file("services/" + name + ".service",
                            fmt::format("[D-BUS Service]\nName={}\nExec=/bin/false\n", name));
    const auto configuration = m_folder.file(
        "bus.conf",
        fmt::format("<busconfig><type>session</type><listen>unix:dir={0}</listen>"
                    "<servicedir>{0}/services</servicedir><policy context=\"default\">"
                    "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/><allow own=\"*\"/>"
                    "</policy></busconfig>",
                    m_folder.path()));
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const Descriptor read(ends[0]);
    Descriptor write(ends[1]);
    m_daemon = std::make_unique<BackgroundProgram>(
        "/usr/bin/dbus-daemon",
        std::vector<std::string>{"--config-file=" + configuration.path(), "--nofork", "--print-address=1"},
        write.get());
    write.reset();
    std::string address;
    char c = 0;
    while (::read(read.get(), &c, 1) == 1 && c != '\n')
        address += c;
    EXPECT_FALSE(address.empty());
    m_address = std::make_unique<ScopedVariable>("DBUS_SESSION_BUS_ADDRESS", address);
}

BusProgram::BusProgram(const DBusObject& object, Answer answer) : m_answer(std::move(answer)) {
    auto server = DBusServer::start(
        object, [this](const std::string& member, GVariant* arguments, GDBusMethodInvocation* invocation) {
            GVariant* reply = nullptr;
            const bool isAnswered = m_answer(member, reply);
            const std::lock_guard lock(m_lock);
            m_calls.push_back(member + textOf(arguments));
            if (isAnswered)
                g_dbus_method_invocation_return_value(invocation, reply);
            else
                m_waiting.emplace_back(invocation);
        });
    EXPECT_TRUE(server.has_value()) << (server ? "" : server.error().description);
    if (server)
        m_server = std::move(*server);
}

BusProgram::~BusProgram() {
    m_server.reset();
}

std::vector<std::string> BusProgram::calls() const {
    const std::lock_guard lock(m_lock);
    return m_calls;
}

bool BusProgram::waitForCalls(std::size_t count) const {
    return eventually([&] { return calls().size() >= count; });
}

BusListener::BusListener(const std::string& interface)
    : m_interface(interface), m_connection(DBusConnection::session().value_or(nullptr)) {
    EXPECT_NE(m_connection, nullptr);
    if (m_connection == nullptr)
        return;
    const auto filter = [](GDBusConnection*, GDBusMessage* message, gboolean isIncoming, gpointer own) {
        if (isIncoming != FALSE)
            static_cast<BusListener*>(own)->hear(message);
        return message;
    };
    m_filter = g_dbus_connection_add_filter(m_connection->get(), filter, this, nullptr);
    const auto rule = "type='signal',interface='" + interface + "'";
    EXPECT_TRUE(m_connection
                    ->call({"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "AddMatch"},
                           g_variant_new("(s)", rule.c_str()), nullptr, std::chrono::seconds(10))
                    .has_value());
}

BusListener::~BusListener() {
    if (m_connection != nullptr)
        g_dbus_connection_remove_filter(m_connection->get(), m_filter);
    // Closing waits for the thread that calls the filter.
    m_connection.reset();
}

void BusListener::hear(GDBusMessage* message) {
    const char* interface = g_dbus_message_get_interface(message);
    if (g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_SIGNAL || interface == nullptr ||
        m_interface != interface)
        return;
    const std::lock_guard lock(m_lock);
    m_signals.push_back(fmt::format("{} {}{}", g_dbus_message_get_path(message), g_dbus_message_get_member(message),
                                    textOf(g_dbus_message_get_body(message))));
}

std::vector<std::string> BusListener::signals() const {
    const std::lock_guard lock(m_lock);
    return m_signals;
}

bool BusListener::waitForSignals(std::size_t count) const {
    return eventually([&] { return signals().size() >= count; });
}

} // namespace torvo::testing
