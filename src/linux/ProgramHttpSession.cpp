#include "linux/ProgramHttpSession.h"

#include "linux/HttpMessage.h"
#include "support/AtomicFile.h"
#include "support/Descriptor.h"

#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <optional>

namespace torvo {

namespace {

/// A child whose standard input and output are the other end of a connection.
struct Child {
    pid_t pid = -1;
    Descriptor connection;
};

std::optional<Child> start(const std::string& program) {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return std::nullopt;
    Child child{.connection = Descriptor(ends[0])};
    const Descriptor its(ends[1]);
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    for (const int each : {STDIN_FILENO, STDOUT_FILENO})
        posix_spawn_file_actions_adddup2(&actions, its.get(), each);
    // A group of its own: what interrupts this program is for this program to tell it.
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK);
    std::string name = program;
    std::array<char*, 2> arguments{name.data(), nullptr};
    const int error = ::posix_spawn(&child.pid, program.c_str(), &actions, &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? std::optional(std::move(child)) : std::nullopt;
}

/// One that ends early says so by its answer.
void send(int connection, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto count = ::send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count < 0 && errno != EINTR)
            break;
        bytes.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    ::shutdown(connection, SHUT_WR);
}

} // namespace

std::expected<HttpReply, HttpError> ProgramHttpSession::perform(const HttpRequest& request,
                                                                const std::stop_token& stop) {
    const auto child = start(m_program);
    std::string bytes;
    if (child) {
        {
            // Its number is its own until it is waited for.
            const std::stop_callback end(stop, [pid = child->pid] { ::kill(pid, SIGKILL); });
            send(child->connection.get(), encodedRequest(request));
            (void)readAll(child->connection.get(), bytes);
        }
        while (::waitpid(child->pid, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    if (auto answer = decodedAnswer(bytes))
        return std::move(*answer);
    if (stop.stop_requested())
        return std::unexpected(httpError(HttpErrorCode::cancelled));
    return std::unexpected(HttpError{HttpErrorCode::failed,
                                     "Torvo's network program " + m_program + " does not work. Install Torvo again."});
}

} // namespace torvo
