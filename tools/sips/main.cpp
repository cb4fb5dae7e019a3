#include "Arguments.h"
#include "Converter.h"
#include "Files.h"
#include "FullRoad.h"
#include "Printable.h"
#include "QuickRoad.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace torvo::sips {
namespace {

/// The module with the full road, by the place of the program: ../libexec/torvo/ beside the folder it is in.
Road* loadFullRoad() {
    std::error_code failed;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", failed);
    const std::filesystem::path module =
        program.parent_path().parent_path() / "libexec" / "torvo" / "sips-full-road.so";
    void* const handle = ::dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr)
        return nullptr;
    auto* const road = reinterpret_cast<decltype(&torvoSipsFullRoad)>(::dlsym(handle, "torvoSipsFullRoad"));
    return road == nullptr ? nullptr : road();
}

void complain(std::string_view text) {
    const std::string line = "sips: " + std::string(text) + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
}

/// False when at least one picture could not be done; each has its line then.
bool carryOut(const Job& job) {
    QuickRoad quickRoad;
    Converter converter(quickRoad, [road = static_cast<Road*>(nullptr), isLoaded = false]() mutable {
        if (!std::exchange(isLoaded, true))
            road = loadFullRoad();
        return road;
    });
    bool isFine = true;
    for (const std::string& input : job.inputs) {
        if (const auto done = converter.process(job, input); !done) {
            complain(printable(input) + ": " + done.error());
            isFine = false;
        }
    }
    return isFine;
}

int run(const std::vector<std::string>& arguments) {
    const std::expected<Request, std::string> request = parseArguments(arguments);
    if (!request) {
        complain(request.error() + "; sips --help tells more");
        return 2;
    }
    if (std::holds_alternative<ShowHelp>(*request)) {
        std::fwrite(helpText().data(), 1, helpText().size(), stdout);
        return 0;
    }
    if (std::holds_alternative<ShowVersion>(*request)) {
        std::puts("sips (Torvo) " TORVO_VERSION);
        return 0;
    }
    const Job& job = std::get<Job>(*request);
    if (job.inputs.size() > 1 && job.output && !isFolder(*job.output)) {
        complain(printable(*job.output) + ": not a folder, and there are several pictures to write");
        return 2;
    }
    removeTemporaryFileOnSignals();
    return carryOut(job) ? 0 : 1;
}

} // namespace
} // namespace torvo::sips

int main(int argc, char** argv) {
    try {
        return torvo::sips::run({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        torvo::sips::complain(error.what());
        return 1;
    }
}
