#pragma once

#include "linux/accessibility/AccessibleReader.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvo::testing {

/// A control of a running program, as assistive technology finds it.
struct Control {
    /// Further bits of the state (AtspiStateType).
    static constexpr auto kFocusable = static_cast<AccessibleState>(11);
    static constexpr auto kFocused = static_cast<AccessibleState>(12);

    AccessibleNode node;
    std::string name;

    [[nodiscard]] bool has(AccessibleState state) const { return node.has(state); }
};

/// A running program, seen and used through the accessibility bus: what is looked for is looked for by its name, and
/// waited for until it is on the screen.
class AccessibleApplication {
  public:
    /// Waits until the program is on the bus.
    explicit AccessibleApplication(std::int32_t pid);

    /// What is on the screen of the program's windows of this title, or of all of them, in the order of the tree; each
    /// window before its content.
    [[nodiscard]] std::vector<Control> shown(std::string_view window = {}) const;
    /// The first one shown of that name, and of that role where one is given, that can be used; absent while there is
    /// none.
    [[nodiscard]] std::optional<Control> find(std::string_view name, std::optional<AccessibleRole> role = {}) const;
    /// Waits for it; a failure of the test, and nothing, when it does not come.
    [[nodiscard]] std::optional<Control> await(std::string_view name, std::optional<AccessibleRole> role = {}) const;
    [[nodiscard]] bool awaitsEnd(std::string_view name, std::optional<AccessibleRole> role = {}) const;
    /// Waits for a status line or a label whose text has this in it; it is in the test's failure when it does not come.
    [[nodiscard]] bool says(std::string_view text) const;

    /// Does what the control's first action is.
    [[nodiscard]] bool press(const Control& control) const;
    /// Waits for the control and does what its first action is: a press, a toggle.
    [[nodiscard]] bool press(std::string_view name, std::optional<AccessibleRole> role = {}) const;
    /// Waits for the control and clicks into its middle with the mouse.
    [[nodiscard]] bool click(std::string_view name, std::optional<AccessibleRole> role = {}) const;
    /// Waits for the control, gives it the keyboard and waits until it has it.
    [[nodiscard]] bool focus(std::string_view name, std::optional<AccessibleRole> role = {}) const;
    /// Replaces what a text field holds, without a key.
    [[nodiscard]] bool setText(std::string_view name, const std::string& text) const;
    /// What a text field holds.
    [[nodiscard]] std::string text(std::string_view name) const;
    [[nodiscard]] bool isChecked(std::string_view name) const;
    /// The one of these controls that has the keyboard.
    [[nodiscard]] std::optional<Control> focused(const std::vector<Control>& controls) const;
    /// What a control is called aloud: the name of its label, where it has one, else its own, and its description.
    [[nodiscard]] std::string spoken(const Control& control) const;
    /// How many actions it has: a press, a toggle.
    [[nodiscard]] std::int32_t actionCount(const Control& control) const;

  private:
    [[nodiscard]] AccessibleReader reader() const;
    [[nodiscard]] GLibPointer<GVariant> property(const AccessibleObject& object, const char* interface,
                                                 const char* name) const;
    [[nodiscard]] bool ask(const AccessibleObject& object, const char* interface, const char* member,
                           GVariant* arguments) const;

    std::unique_ptr<AccessibilityBus> m_bus;
    AccessibleObject m_root;
};

} // namespace torvo::testing
