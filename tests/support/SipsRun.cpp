#include "tests/support/SipsRun.h"

#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace torvo::testing {

int start(const std::vector<std::string>& arguments, const RunSettings& settings, const std::string& outputFile,
          const std::string& errorFile) {
    std::vector<char*> argv{const_cast<char*>(settings.program.c_str())};
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    const int process = ::fork();
    if (process != 0)
        return process;
    ::dup2(::open("/dev/null", O_RDONLY), STDIN_FILENO);
    ::dup2(::open(outputFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
    ::dup2(::open(errorFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
    if (settings.largestFile) {
        const rlimit limit{*settings.largestFile, *settings.largestFile};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    if (::chdir(settings.folder.c_str()) == 0)
        ::execv(argv[0], argv.data());
    ::_exit(127);
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

Ran runSips(const std::vector<std::string>& arguments) {
    return run(arguments);
}

void draw(const std::vector<std::string>& arguments) {
    const Ran ran = run(arguments, {.program = "/usr/bin/convert"});
    EXPECT_EQ(ran.status, 0) << ran.errors;
}

std::string Pixels::at(int x, int y) const {
    const std::uint8_t* const pixel = &bytes.at(4 * (static_cast<std::size_t>(y) * width + x));
    char text[10];
    std::snprintf(text, sizeof text, "#%02X%02X%02X%02X", pixel[0], pixel[1], pixel[2], pixel[3]);
    return text;
}

Pixels decode(const std::string& path) {
    const Ran ran = run({path + "[0]", "-colorspace", "sRGB", "-depth", "8", "-type", "TrueColorAlpha", "pam:-"},
                        {.program = "/usr/bin/convert"});
    EXPECT_EQ(ran.status, 0) << path << ": " << ran.errors;
    Pixels pixels;
    const std::size_t headerEnd = ran.output.find("ENDHDR\n");
    EXPECT_EQ(std::sscanf(ran.output.c_str(), "P7\nWIDTH %d\nHEIGHT %d\nDEPTH 4", &pixels.width, &pixels.height), 2);
    if (headerEnd != std::string::npos)
        pixels.bytes.assign(ran.output.begin() + static_cast<long>(headerEnd) + 7, ran.output.end());
    EXPECT_EQ(pixels.bytes.size(), std::size_t{4} * pixels.width * pixels.height) << path;
    return pixels;
}

double difference(const Pixels& one, const Pixels& other) {
    if (one.bytes.size() != other.bytes.size() || one.width != other.width || one.bytes.empty())
        return 255;
    double sum = 0;
    for (std::size_t i = 0; i < one.bytes.size(); ++i)
        sum += std::abs(one.bytes[i] - other.bytes[i]);
    return sum / static_cast<double>(one.bytes.size());
}

std::string identify(const std::string& path, const std::string& what) {
    const Ran ran = run({"-format", what, path}, {.program = "/usr/bin/identify"});
    EXPECT_EQ(ran.status, 0) << path << ": " << ran.errors;
    return ran.output;
}

std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    std::ranges::sort(names);
    return names;
}

} // namespace torvo::testing
