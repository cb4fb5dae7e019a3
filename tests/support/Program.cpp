#include "tests/support/Program.h"

#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

namespace torvo::testing {

void become(const std::vector<std::string>& arguments, const RunSettings& settings) {
    std::vector<char*> argv{const_cast<char*>(settings.program.c_str())};
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    for (const std::string& variable : settings.environment)
        ::putenv(const_cast<char*>(variable.c_str()));
    if (settings.largestFile) {
        const rlimit limit{*settings.largestFile, *settings.largestFile};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    if (::chdir(settings.folder.c_str()) == 0)
        ::execv(argv[0], argv.data());
    ::_exit(127);
}

int start(const std::vector<std::string>& arguments, const RunSettings& settings, const std::string& outputFile,
          const std::string& errorFile) {
    const int process = ::fork();
    if (process != 0)
        return process;
    ::dup2(::open(settings.input.c_str(), O_RDONLY), STDIN_FILENO);
    ::dup2(::open(outputFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
    ::dup2(::open(errorFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
    become(arguments, settings);
}

int statusOf(int process) {
    int status = 0;
    ::waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

Ran run(const std::vector<std::string>& arguments, const RunSettings& settings) {
    const TemporaryFolder streams;
    const FileURL output = streams / "output";
    const FileURL errors = streams / "errors";
    Ran ran;
    ran.status = statusOf(start(arguments, settings, output.path(), errors.path()));
    ran.output = readFile(output);
    ran.errors = readFile(errors);
    return ran;
}

} // namespace torvo::testing
