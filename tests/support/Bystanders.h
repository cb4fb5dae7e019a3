#pragma once

#include "support/FileURL.h"
#include "tests/support/FolderSnapshot.h"
#include "tests/support/TemporaryFolder.h"

#include <sys/types.h>

#include <string>
#include <vector>

namespace torvo::testing {

/// What a command could harm: a folder of files, a process, listening sockets and a few places to leave things. They
/// are told to the command in environment variables: OUTSIDE (a process number and group), NAME (of that process),
/// PORT, DATAGRAM_PORT, SOCKET,
/// DATAGRAM (paths), ABSTRACT (a name), MARK (a name for new files elsewhere) and FOREVER (seconds to sleep).
class Bystanders {
  public:
    Bystanders();
    ~Bystanders();
    Bystanders(const Bystanders&) = delete;
    Bystanders& operator=(const Bystanders&) = delete;

    [[nodiscard]] std::string folder() const { return m_folder.path(); }
    [[nodiscard]] std::vector<std::string> selection() const;

    /// What has happened to them since they were made, one line each; empty when all are unharmed. Ends the processes
    /// that were left behind.
    [[nodiscard]] std::vector<std::string> harm();

  private:
    [[nodiscard]] std::string processState() const;
    [[nodiscard]] std::vector<std::string> litter() const;
    [[nodiscard]] std::vector<pid_t> leftovers() const;

    TemporaryFolder m_folder;
    TemporaryFolder m_sockets;
    std::string m_mark;
    std::string m_forever;
    pid_t m_process = -1;
    std::vector<int> m_listeners;
    FolderSnapshot m_before;
    std::string m_processBefore;
};

} // namespace torvo::testing
