#include "tests/support/Memory.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace torvo::testing {

namespace {

/// A field of a file below /proc that has one in each line, in kilobytes.
std::size_t bytesOf(const std::string& path, const std::string& field) {
    std::ifstream file(path);
    std::string name;
    for (std::string line; file >> name; std::getline(file, line))
        if (name == field + ":") {
            std::size_t kilobytes = 0;
            file >> kilobytes;
            return kilobytes * 1024;
        }
    throw std::runtime_error("no field " + field);
}

} // namespace

Footprint footprint(std::int32_t pid) {
    const auto folder = "/proc/" + std::to_string(pid);
    const auto entries = [&](const char* name) {
        std::error_code failure;
        const std::filesystem::directory_iterator listing(folder + name, failure);
        return static_cast<std::size_t>(std::distance(begin(listing), end(listing)));
    };
    return {.memory = bytesOf(folder + "/smaps_rollup", "Private_Dirty"),
            .descriptors = entries("/fd"),
            .threads = entries("/task")};
}

std::size_t residentBytes() {
    return bytesOf("/proc/self/status", "VmRSS");
}

MemoryLimit::MemoryLimit(std::size_t more) {
    ::getrlimit(RLIMIT_DATA, &m_before);
    rlimit limited = m_before;
    limited.rlim_cur = bytesOf("/proc/self/status", "VmData") + more;
    if (::setrlimit(RLIMIT_DATA, &limited) != 0)
        throw std::runtime_error("cannot limit memory");
}

MemoryLimit::~MemoryLimit() {
    ::setrlimit(RLIMIT_DATA, &m_before);
}

} // namespace torvo::testing
