#pragma once

#include "linux/filemanager/FileManagerWindow.h"

namespace torvo {

/// A window of Dolphin 22.12. Its items are cells of a table; its actions and the selecting are on the session bus.
class DolphinWindow final : public FileManagerWindow {
  public:
    explicit DolphinWindow(FileManagerAccess access);

    std::optional<std::string> folder(Deadline deadline) override;
    std::vector<std::string> selection(Deadline deadline) override;
    void select(const std::vector<std::string>& items, Deadline deadline) override;

  private:
    [[nodiscard]] std::optional<AccessibleObject> view(const AccessibleReader& reader);
    [[nodiscard]] std::optional<std::string> crumbsFolder(const AccessibleReader& reader);
    /// Where the window's actions are on the session bus; empty while they are not found.
    [[nodiscard]] const std::string& object(Deadline deadline);
    void trigger(const char* action, Deadline deadline);
    [[nodiscard]] bool hasSelection(Deadline deadline);
    [[nodiscard]] bool isSplit(Deadline deadline);
    [[nodiscard]] bool isShown(const std::string& folder, Deadline deadline);

    /// The items of a folder, and the part of the window that they are in.
    struct View {
        AccessibleObject holder;
        AccessibleObject items;
    };

    FileManagerAccess m_access;
    std::string m_busName;
    std::string m_object;
    std::optional<View> m_view;
    std::optional<AccessibleObject> m_navigator;
};

} // namespace torvo
