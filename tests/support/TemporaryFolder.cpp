#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace torvo::testing {

TemporaryFolder::TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "torvo-test-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr)
        throw std::runtime_error("cannot make a temporary folder");
    m_url = FileURL(std::filesystem::canonical(name).string());
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_url.path(), ignored);
}

FileURL TemporaryFolder::file(std::string_view name, std::string_view content) const {
    const FileURL url = *this / name;
    std::filesystem::create_directories(url.deletingLastPathComponent().path());
    std::ofstream(url.path(), std::ios::binary) << content;
    return url;
}

FileURL TemporaryFolder::program(std::string_view name, std::string_view script) const {
    auto url = file(name, script);
    std::filesystem::permissions(url.path(), std::filesystem::perms::owner_all);
    return url;
}

FileURL TemporaryFolder::folder(std::string_view name) const {
    const FileURL url = *this / name;
    std::filesystem::create_directories(url.path());
    return url;
}

std::string readFile(const FileURL& url) {
    std::ifstream in(url.path(), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename().native());
    std::ranges::sort(names);
    return names;
}

} // namespace torvo::testing
