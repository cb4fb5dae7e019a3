#pragma once

#include "linux/DesktopPoints.h"
#include "linux/filemanager/FileManagers.h"
#include "platform/Accessibility.h"

#include <functional>
#include <utility>

namespace torvo {

/// Answers for the windows of file managers: places from the X server, folders from the accessibility bus. Reading is
/// allowed once programs are asked to be accessible, which the prompt does.
class LinuxAccessibility final : public Accessibility {
  public:
    /// `fileManagers` must outlive the object. `points`: what the points are at the moment, asked by whoever asks for a
    /// place or a size; null where each pixel is one.
    explicit LinuxAccessibility(FileManagers& fileManagers, std::function<DesktopPoints()> points = {})
        : m_fileManagers(fileManagers), m_points(std::move(points)) {}

    AccessibilityElement application(std::int32_t pid) override;
    std::optional<AccessibilityValue> attribute(const AccessibilityElement& element, std::string_view name) override;
    bool isTrusted() override { return m_fileManagers.isAccessible(); }
    void promptForTrust() override { m_fileManagers.makeAccessible(); }

  private:
    FileManagers& m_fileManagers;
    std::function<DesktopPoints()> m_points;
};

} // namespace torvo
