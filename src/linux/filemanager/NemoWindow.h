#pragma once

#include "linux/filemanager/FileManagerWindow.h"
#include "linux/filemanager/ViewSearch.h"

namespace torvo {

/// A window of Nemo 5.6. Its icon and compact views hold a selection, its list view is a table.
class NemoWindow final : public FileManagerWindow {
  public:
    explicit NemoWindow(FileManagerAccess access) : m_access(std::move(access)) {}

    std::optional<std::string> folder(Deadline deadline) override;
    std::vector<std::string> selection(Deadline deadline) override;
    void select(const std::vector<std::string>& items, Deadline deadline) override;

  private:
    [[nodiscard]] std::optional<AccessibleNode> view(const AccessibleReader& reader);
    [[nodiscard]] std::vector<std::string> rowNames(const AccessibleReader& reader, const AccessibleObject& table,
                                                    const std::vector<std::int32_t>& rows);
    [[nodiscard]] ViewItems viewItems(const AccessibleReader& reader, const AccessibleNode& view);
    [[nodiscard]] std::optional<std::vector<std::string>>
    iconPaths(const AccessibleReader& reader, const AccessibleObject& view, const std::string& folder);
    [[nodiscard]] std::vector<std::string> copied(const AccessibleReader& reader);

    FileManagerAccess m_access;
    std::optional<AccessibleObject> m_view;
    std::optional<AccessibleObject> m_buttons;
    std::optional<AccessibleObject> m_copy;
};

} // namespace torvo
