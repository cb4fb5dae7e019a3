#pragma once

#include "support/FileURL.h"

#include <string>
#include <string_view>
#include <vector>

namespace torvo::testing {

/// A fresh empty folder that is removed with everything in it at the end of the test.
class TemporaryFolder {
  public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const FileURL& url() const { return m_url; }
    [[nodiscard]] std::string path() const { return m_url.path(); }
    [[nodiscard]] FileURL operator/(std::string_view name) const { return m_url.appendingPath(name); }

    /// Writes a file (its folders too) and returns its URL.
    FileURL file(std::string_view name, std::string_view content = "") const;
    /// Writes a program.
    FileURL program(std::string_view name, std::string_view script) const;
    FileURL folder(std::string_view name) const;

  private:
    FileURL m_url;
};

/// The whole content of a file; empty when it cannot be read.
[[nodiscard]] std::string readFile(const FileURL& url);

/// The names in a folder, sorted.
[[nodiscard]] std::vector<std::string> namesIn(const std::string& folder);

} // namespace torvo::testing
