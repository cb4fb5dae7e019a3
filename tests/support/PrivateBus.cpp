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

} // namespace torvo::testing
