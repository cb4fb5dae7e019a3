#pragma once

#include "linux/filemanager/FileManagerWindow.h"
#include "linux/filemanager/ShownNames.h"

namespace torvo {

/// A window of Nautilus 43. Its views hold a selection that is read and set by position; which folder a window shows is
/// on the session bus.
class NautilusWindow final : public FileManagerWindow {
  public:
    explicit NautilusWindow(FileManagerAccess access) : m_access(std::move(access)) {}

    std::optional<std::string> folder(Deadline deadline) override;
    bool showsSelection(Deadline deadline) override;
    std::vector<std::string> selection(Deadline deadline) override;
    void select(const std::vector<std::string>& items, Deadline deadline) override;

  private:
    [[nodiscard]] std::optional<AccessibleObject> view(const AccessibleReader& reader, const ShownNames& entries);
    [[nodiscard]] bool hasSameTabs(const AccessibleReader& reader);
    void findViews(const AccessibleReader& reader);
    [[nodiscard]] std::vector<std::string> crumbs(const AccessibleReader& reader);
    /// The names of all the items in the order of a view that is sorted by name;
    /// absent when this view is sorted in another way.
    [[nodiscard]] std::optional<std::vector<std::string>>
    order(const AccessibleReader& reader, const AccessibleObject& view, const ShownNames& entries);

    FileManagerAccess m_access;
    std::optional<AccessibleObject> m_pathBar;
    /// What holds the tabs, the tabs of the last search for views, and the views that were found.
    std::optional<AccessibleObject> m_tabList;
    std::vector<AccessibleObject> m_tabs;
    std::vector<AccessibleObject> m_views;
    std::string m_objectPath;
};

} // namespace torvo
