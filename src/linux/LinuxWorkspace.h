#pragma once

#include "linux/DesktopOpener.h"
#include "linux/FrontApplication.h"
#include "linux/filemanager/FileManagers.h"
#include "platform/Workspace.h"

namespace torvo {

/// The applications of an X11 session. A window's class is its application's identifier; every file manager that Torvo
/// can drive is "the" file manager.
class LinuxWorkspace final : public Workspace {
  public:
    /// All must outlive the object.
    struct Platform {
        X11Connection& connection;
        FrontApplication& front;
        FileManagers& fileManagers;
        DesktopOpener& opener;
    };
    explicit LinuxWorkspace(Platform platform) : m_platform(platform) {}

    std::optional<std::string> frontmostApplication() override;
    std::vector<std::int32_t> runningApplications(std::string_view identifier) override;
    void activate(std::string_view identifier) override;
    Subscription onActivation(std::function<void()> activated) override;
    void open(const std::string& address) override { m_platform.opener.open(address); }
    void openApplication(const FileURL& application, std::function<void()> opened) override {
        m_platform.opener.openApplication(application, std::move(opened));
    }
    void reveal(const std::vector<FileURL>& files) override { m_platform.opener.reveal(files); }

  private:
    Platform m_platform;
};

} // namespace torvo
