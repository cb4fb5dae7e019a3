#include "linux/DetachedProgram.h"

#include "linux/GLibPointers.h"

#include <unistd.h>

namespace torvo {

std::expected<void, std::string> startDetached(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const auto& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    // Without G_SPAWN_DO_NOT_REAP_CHILD there is a child between that ends at once: the program is init's child.
    // NOLINTNEXTLINE(clang-analyzer-optin.core.EnumCastOutOfRange): flags are combined
    constexpr auto flags =
        static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_STDOUT_TO_DEV_NULL | G_SPAWN_STDERR_TO_DEV_NULL);
    GError* error = nullptr;
    const auto becomeLeader = [](gpointer) { ::setsid(); };
    if (g_spawn_async(nullptr, arguments.data(), nullptr, flags, becomeLeader, nullptr, nullptr, &error) != FALSE)
        return {};
    const GLibPointer<GError> owned(error);
    return std::unexpected(std::string(owned->message));
}

} // namespace torvo
