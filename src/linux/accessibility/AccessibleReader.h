#pragma once

#include "linux/accessibility/AccessibilityBus.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// The kinds of objects that file managers are made of (AtspiRole, atspi-constants.h).
enum class AccessibleRole : std::uint32_t {
    invalid = 0,
    checkBox = 7,
    checkMenuItem = 8,
    comboBox = 11,
    directoryPane = 17,
    filler = 20,
    frame = 23,
    label = 29,
    layeredPane = 30,
    list = 31,
    listItem = 32,
    menu = 33,
    menuBar = 34,
    menuItem = 35,
    pageTab = 37,
    panel = 39,
    popupMenu = 41,
    pushButton = 43,
    radioMenuItem = 45,
    scrollBar = 48,
    scrollPane = 49,
    splitPane = 53,
    statusBar = 54,
    table = 55,
    tableCell = 56,
    text = 61,
    toggleButton = 62,
    toolBar = 63,
    tree = 65,
    treeTable = 66,
    window = 69,
};

/// The bits of an object's state (AtspiStateType).
enum class AccessibleState : std::uint8_t { active = 1, checked = 4, selected = 23, sensitive = 24, showing = 25 };

/// What an object is at one moment.
struct AccessibleNode {
    AccessibleObject object;
    AccessibleRole role = AccessibleRole::invalid;
    std::uint64_t states = 0;

    [[nodiscard]] bool has(AccessibleState state) const { return (states >> static_cast<unsigned>(state) & 1U) != 0; }
};

struct AccessibleExtents {
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;

    bool operator==(const AccessibleExtents&) const = default;
};

/// Reads and uses the objects of other programs until a deadline; then everything fails. What fails reads as absent,
/// empty or false.
class AccessibleReader {
  public:
    AccessibleReader(const AccessibilityBus& bus, Deadline deadline) : m_bus(bus), m_deadline(deadline) {}

    [[nodiscard]] std::int32_t childCount(const AccessibleObject& object) const;
    [[nodiscard]] std::optional<AccessibleObject> child(const AccessibleObject& object, std::int32_t index) const;
    /// What the object is in; a null object where there is none.
    [[nodiscard]] AccessibleObject parent(const AccessibleObject& object) const;
    /// All at once; objects that are not there are null references in some programs, which are left out here.
    [[nodiscard]] std::vector<AccessibleObject> children(const AccessibleObject& object) const;
    [[nodiscard]] std::vector<AccessibleNode> nodes(const std::vector<AccessibleObject>& objects) const;
    [[nodiscard]] AccessibleNode node(const AccessibleObject& object) const;
    [[nodiscard]] std::string name(const AccessibleObject& object) const;
    [[nodiscard]] std::vector<std::string> names(const std::vector<AccessibleObject>& objects) const;
    [[nodiscard]] std::optional<AccessibleExtents> extents(const AccessibleObject& object) const;
    /// What an entry holds.
    [[nodiscard]] std::string text(const AccessibleObject& object) const;

    /// Does what a press on the object does.
    bool press(const AccessibleObject& object) const;
    bool pressAll(const std::vector<AccessibleObject>& objects) const;
    /// The shortcut of a menu item, in lower case without mnemonics: "ctrl+c", "escape"; empty without one.
    [[nodiscard]] std::vector<std::string> shortcuts(const std::vector<AccessibleObject>& objects) const;

    /// Of objects that hold a selection.
    [[nodiscard]] std::int32_t selectedCount(const AccessibleObject& object) const;
    [[nodiscard]] std::vector<AccessibleObject> selectedChildren(const AccessibleObject& object,
                                                                 std::int32_t count) const;
    bool clearSelection(const AccessibleObject& object) const;
    bool selectChildren(const AccessibleObject& object, const std::vector<std::int32_t>& indices) const;

    /// Of tables.
    [[nodiscard]] std::int32_t rowCount(const AccessibleObject& table) const;
    [[nodiscard]] std::int32_t columnCount(const AccessibleObject& table) const;
    [[nodiscard]] std::vector<std::int32_t> selectedRows(const AccessibleObject& table) const;
    /// The cells of one column in these rows; a null object (empty path) where there is none.
    [[nodiscard]] std::vector<AccessibleObject> cells(const AccessibleObject& table,
                                                      const std::vector<std::int32_t>& rows, std::int32_t column) const;
    bool selectRows(const AccessibleObject& table, const std::vector<std::int32_t>& rows) const;

    /// The children at one index of each object; a null object where there is none.
    [[nodiscard]] std::vector<AccessibleObject> childrenAt(const std::vector<AccessibleObject>& objects,
                                                           std::int32_t index) const;
    [[nodiscard]] std::vector<AccessibleObject> childrenAt(const AccessibleObject& object,
                                                           const std::vector<std::int32_t>& indices) const;

    /// Whether to look at a node, and below it.
    enum class Visit { take, enter, skip };
    /// The first object below `root`, level by level, that `visit` takes. Objects with very many children are not
    /// entered.
    [[nodiscard]] std::optional<AccessibleNode> find(const AccessibleObject& root,
                                                     const std::function<Visit(const AccessibleNode&)>& visit) const;

    [[nodiscard]] bool isOver() const { return std::chrono::steady_clock::now() >= m_deadline; }
    [[nodiscard]] Deadline deadline() const { return m_deadline; }

  private:
    [[nodiscard]] std::int32_t number(const AccessibleObject& object, const char* interface,
                                      const char* property) const;
    [[nodiscard]] std::vector<AccessibleObject> references(const std::vector<AccessibilityBus::Call>& calls) const;
    bool allTrue(const std::vector<AccessibilityBus::Call>& calls) const;

    const AccessibilityBus& m_bus;
    Deadline m_deadline;
};

} // namespace torvo
