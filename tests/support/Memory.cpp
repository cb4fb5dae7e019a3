#include "tests/support/Memory.h"

#include <fstream>
#include <stdexcept>
#include <string>

namespace torvo::testing {

namespace {

std::size_t statusBytes(const std::string& field) {
    std::ifstream file("/proc/self/status");
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

std::size_t residentBytes() {
    return statusBytes("VmRSS");
}

MemoryLimit::MemoryLimit(std::size_t more) {
    ::getrlimit(RLIMIT_DATA, &m_before);
    rlimit limited = m_before;
    limited.rlim_cur = statusBytes("VmData") + more;
    if (::setrlimit(RLIMIT_DATA, &limited) != 0)
        throw std::runtime_error("cannot limit memory");
}

MemoryLimit::~MemoryLimit() {
    ::setrlimit(RLIMIT_DATA, &m_before);
}

} // namespace torvo::testing
