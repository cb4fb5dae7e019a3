#pragma once

#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace torvo::bench {

/// Runs a program, its output thrown away, until it ends. A failure ends the benchmark.
inline void runProgram(const std::vector<std::string>& arguments) {
    std::vector<char*> argv;
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t process = 0;
    int status = -1;
    if (::posix_spawnp(&process, argv[0], &actions, nullptr, argv.data(), environ) == 0)
        ::waitpid(process, &status, 0);
    ::posix_spawn_file_actions_destroy(&actions);
    if (status != 0) {
        fmt::print(stderr, "{} failed\n", fmt::join(arguments, " "));
        std::exit(1);
    }
}

} // namespace torvo::bench
