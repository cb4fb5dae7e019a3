#pragma once

#include "linux/DBusServer.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/XDesktop.h"

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace torvo::testing {

/// A session bus with nobody on it. While it lives, it is this process's session bus.
class PrivateBus {
  public:
    /// `activatable`: bus names for which the bus would start a program, one that fails at once.
    explicit PrivateBus(const std::vector<std::string>& activatable = {});

  private:
    TemporaryFolder m_folder;
    std::unique_ptr<BackgroundProgram> m_daemon;
    std::unique_ptr<ScopedVariable> m_address;
};

/// A program on the session bus that the test plays: it owns one name and remembers what it was asked.
class BusProgram {
  public:
    /// Makes the answer to a call, a floating tuple or null for none; returning false leaves the caller waiting.
    using Answer = std::function<bool(const std::string& member, GVariant*& answer)>;

    BusProgram(const DBusObject& object, Answer answer);
    ~BusProgram();
    BusProgram(const BusProgram&) = delete;
    BusProgram& operator=(const BusProgram&) = delete;

    /// "Member(arguments in GVariant text format)", in order.
    [[nodiscard]] std::vector<std::string> calls() const;
    [[nodiscard]] bool waitForCalls(std::size_t count) const;

  private:
    Answer m_answer;
    mutable std::mutex m_lock;
    std::vector<std::string> m_calls;
    std::vector<GLibPointer<GDBusMethodInvocation>> m_waiting;
    std::unique_ptr<DBusServer> m_server;
};

} // namespace torvo::testing
