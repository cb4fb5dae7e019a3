#pragma once

#include "linux/filemanager/FileManagers.h"
#include "platform/ScriptHost.h"

namespace torvo {

/// Carries out the scripts of platform/FinderScripts.h on the file manager that runs here. Any other script fails. An
/// item whose name has a line break in it is left out of what is printed, where it could not be told from two items.
class LinuxScriptHost final : public ScriptHost {
  public:
    /// `fileManagers` must outlive the object.
    explicit LinuxScriptHost(FileManagers& fileManagers) : m_fileManagers(fileManagers) {}

    std::expected<std::string, std::string> run(const std::vector<std::string>& arguments) override;

  private:
    FileManagers& m_fileManagers;
};

} // namespace torvo
