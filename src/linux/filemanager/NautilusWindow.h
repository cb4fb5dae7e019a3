#pragma once

#include "linux/filemanager/FileManagerWindow.h"

namespace torvo {

/// A window of Nautilus 43. Its views hold a selection that is read and set by position; which folder a window shows is
/// on the session bus.
class NautilusWindow final : public FileManagerWindow {
  public:
    explicit NautilusWindow(FileManagerAccess access) : m_access(std::move(access)) {}

    std::optional<std::string> folder(Deadline deadline) override;
    std::vector<std::string> selection(Deadline deadline) override;
    void select(const std::vector<std::string>& items, Deadline deadline) override;

  private:
    [[nodiscard]] std::optional<AccessibleObject> view(const AccessibleReader& reader);
    /// The names in these cells; absent when one of them is not there: the view makes only those that are on the
    /// screen.
    [[nodiscard]] std::optional<std::vector<std::string>> names(const AccessibleReader& reader,
                                                                const std::vector<AccessibleObject>& cells);

    FileManagerAccess m_access;
    std::optional<AccessibleObject> m_view;
    std::string m_objectPath;
};

} // namespace torvo
