#pragma once

#include "linux/filemanager/FileManagerWindow.h"

namespace torvo {

/// A window of PCManFM-Qt 1.2. Its views are tables, one row an item, whose cells tell whether they are selected and
/// are toggled by an action; its menus tell and do the rest.
class PcmanfmQtWindow final : public FileManagerWindow {
  public:
    explicit PcmanfmQtWindow(FileManagerAccess access) : m_access(std::move(access)) {}

    std::optional<std::string> folder(Deadline deadline) override;
    std::vector<std::string> selection(Deadline deadline) override;
    void select(const std::vector<std::string>& items, Deadline deadline) override;

  private:
    struct EditMenu {
        AccessibleObject copy;
        AccessibleObject deselectAll;
    };

    [[nodiscard]] std::optional<AccessibleObject> view(const AccessibleReader& reader);
    [[nodiscard]] std::vector<AccessibleObject> cells(const AccessibleReader& reader, const AccessibleObject& view);
    [[nodiscard]] std::optional<EditMenu> editMenu(const AccessibleReader& reader);

    FileManagerAccess m_access;
    std::optional<AccessibleObject> m_view;
    std::optional<AccessibleObject> m_buttons;
    std::optional<EditMenu> m_edit;
};

} // namespace torvo
