#pragma once

#include "linux/filemanager/FileManagers.h"
#include "platform/Accessibility.h"

namespace torvo {

/// Answers for the windows of file managers: places from the X server, folders from the accessibility bus. Reading is
/// allowed once programs are asked to be accessible, which the prompt does.
class LinuxAccessibility final : public Accessibility {
  public:
    /// `fileManagers` must outlive the object. `scale`: pixels in a point.
    explicit LinuxAccessibility(FileManagers& fileManagers, double scale = 1)
        : m_fileManagers(fileManagers), m_scale(scale) {}

    AccessibilityElement application(std::int32_t pid) override;
    std::optional<AccessibilityValue> attribute(const AccessibilityElement& element, std::string_view name) override;
    bool isTrusted() override { return m_fileManagers.isAccessible(); }
    void promptForTrust() override { m_fileManagers.makeAccessible(); }

  private:
    FileManagers& m_fileManagers;
    double m_scale;
};

} // namespace torvo
