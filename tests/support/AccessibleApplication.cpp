#include "tests/support/AccessibleApplication.h"

#include "tests/support/Eventually.h"
#include "tests/support/XDesktop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace torvo::testing {

namespace {

constexpr const char* kAccessible = "org.a11y.atspi.Accessible";

/// For the answers of one question; a program that hangs fails the test in the end.
Deadline soon() {
    return std::chrono::steady_clock::now() + std::chrono::seconds(5);
}

void collect(const AccessibleReader& reader, const AccessibleObject& parent, std::vector<Control>& found) {
    const auto children = reader.children(parent);
    const auto nodes = reader.nodes(children);
    const auto names = reader.names(children);
    for (std::size_t i = 0; i < children.size(); ++i) {
        if (!nodes[i].has(AccessibleState::showing))
            continue;
        found.push_back({nodes[i], names[i]});
        collect(reader, children[i], found);
    }
}

std::string list(const std::vector<Control>& controls) {
    std::string text;
    for (const auto& each : controls)
        if (!each.name.empty())
            text += "\n  " + std::to_string(static_cast<int>(each.node.role)) + " " + each.name;
    return text;
}

} // namespace

AccessibleApplication::AccessibleApplication(std::int32_t pid) {
    EXPECT_TRUE(eventually([&] {
        const auto session = DBusConnection::session();
        if (m_bus == nullptr && session)
            if (auto bus = AccessibilityBus::connect(**session, soon()))
                m_bus = *std::move(bus);
        const auto root = m_bus == nullptr ? std::nullopt : m_bus->application(pid, soon());
        m_root = root.value_or(AccessibleObject{});
        return root.has_value();
    })) << "not on the accessibility bus";
}

AccessibleReader AccessibleApplication::reader() const {
    return {*m_bus, soon()};
}

std::vector<Control> AccessibleApplication::shown(std::string_view window) const {
    std::vector<Control> all;
    const auto look = reader();
    collect(look, m_root, all);
    if (window.empty())
        return all;
    const auto isWindow = [&](const Control& each) {
        const auto windows = look.children(m_root);
        return std::ranges::find(windows, each.node.object) != windows.end();
    };
    const auto first =
        std::ranges::find_if(all, [&](const auto& each) { return each.name == window && isWindow(each); });
    if (first == all.end())
        return {};
    return {first, std::find_if(std::next(first), all.end(), isWindow)};
}

std::optional<Control> AccessibleApplication::find(std::string_view name, std::optional<AccessibleRole> role) const {
    for (const auto& each : shown())
        if (each.name == name && role.value_or(each.node.role) == each.node.role &&
            each.has(AccessibleState::sensitive))
            return each;
    return std::nullopt;
}

std::optional<Control> AccessibleApplication::await(std::string_view name, std::optional<AccessibleRole> role) const {
    std::optional<Control> found;
    EXPECT_TRUE(eventually([&] { return (found = find(name, role)).has_value(); }))
        << "no “" << name << "” among:" << list(shown());
    return found;
}

bool AccessibleApplication::awaitsEnd(std::string_view name, std::optional<AccessibleRole> role) const {
    return eventually([&] { return !find(name, role); });
}

bool AccessibleApplication::says(std::string_view text) const {
    const bool isSaid = eventually([&] {
        return std::ranges::any_of(shown(), [&](const auto& each) {
            return (each.node.role == AccessibleRole::statusBar || each.node.role == AccessibleRole::label) &&
                   each.name.find(text) != std::string::npos;
        });
    });
    EXPECT_TRUE(isSaid) << "“" << text << "” is said nowhere:" << list(shown());
    return isSaid;
}

bool AccessibleApplication::ask(const AccessibleObject& object, const char* interface, const char* member,
                                GVariant* arguments) const {
    const auto answer = m_bus->call(
        {.object = object, .interface = interface, .member = member, .arguments = arguments, .answer = "(b)"}, soon());
    gboolean isDone = FALSE;
    if (answer)
        g_variant_get(answer->get(), "(b)", &isDone);
    return isDone != FALSE;
}

bool AccessibleApplication::press(const Control& control) const {
    return reader().press(control.node.object);
}

bool AccessibleApplication::press(std::string_view name, std::optional<AccessibleRole> role) const {
    const auto control = await(name, role);
    return control && press(*control);
}

bool AccessibleApplication::click(std::string_view name, std::optional<AccessibleRole> role) const {
    const auto control = await(name, role);
    if (!control)
        return false;
    // What has just come may still be on its way to its place.
    std::optional<AccessibleExtents> place;
    const bool isAtRest = eventually([&] {
        const auto before = std::exchange(place, reader().extents(control->node.object));
        if (place && place != before)
            XDesktop::input({"mousemove", std::to_string(place->x + place->width / 2),
                             std::to_string(place->y + place->height / 2)});
        return place && place == before;
    });
    if (isAtRest)
        XDesktop::input({"click", "1"});
    return isAtRest;
}

bool AccessibleApplication::focus(std::string_view name, std::optional<AccessibleRole> role) const {
    const auto control = await(name, role);
    if (!control)
        return false;
    (void)ask(control->node.object, "org.a11y.atspi.Component", "GrabFocus", nullptr);
    return eventually([&] { return reader().node(control->node.object).has(Control::kFocused); });
}

bool AccessibleApplication::setText(std::string_view name, const std::string& text) const {
    const auto control = await(name, AccessibleRole::text);
    return control && ask(control->node.object, "org.a11y.atspi.EditableText", "SetTextContents",
                          g_variant_new("(s)", text.c_str()));
}

std::string AccessibleApplication::text(std::string_view name) const {
    const auto control = await(name, AccessibleRole::text);
    return control ? reader().text(control->node.object) : "";
}

bool AccessibleApplication::isChecked(std::string_view name) const {
    const auto control = await(name);
    return control && control->has(AccessibleState::checked);
}

std::optional<Control> AccessibleApplication::focused(const std::vector<Control>& controls) const {
    std::vector<AccessibleObject> objects;
    std::ranges::transform(controls, std::back_inserter(objects), [](const auto& each) { return each.node.object; });
    const auto nodes = reader().nodes(objects);
    const auto found = std::ranges::find_if(nodes, [](const auto& node) { return node.has(Control::kFocused); });
    return found == nodes.end() ? std::nullopt : std::optional(controls[found - nodes.begin()]);
}

GLibPointer<GVariant> AccessibleApplication::property(const AccessibleObject& object, const char* interface,
                                                      const char* name) const {
    const auto answer = m_bus->call({.object = object,
                                     .interface = "org.freedesktop.DBus.Properties",
                                     .member = "Get",
                                     .arguments = g_variant_new("(ss)", interface, name),
                                     .answer = "(v)"},
                                    soon());
    if (!answer)
        return nullptr;
    const GLibPointer<GVariant> boxed(g_variant_get_child_value(answer->get(), 0));
    return GLibPointer<GVariant>(g_variant_get_variant(boxed.get()));
}

std::string AccessibleApplication::spoken(const Control& control) const {
    constexpr guint32 kLabelledBy = 2;
    std::string name = control.name;
    const auto relations = m_bus->call(
        {.object = control.node.object, .interface = kAccessible, .member = "GetRelationSet", .answer = "(a(ua(so)))"},
        soon());
    const GLibPointer<GVariant> list(relations ? g_variant_get_child_value(relations->get(), 0) : nullptr);
    for (gsize i = 0; list != nullptr && i < g_variant_n_children(list.get()); ++i) {
        const GLibPointer<GVariant> relation(g_variant_get_child_value(list.get(), i));
        const GLibPointer<GVariant> targets(g_variant_get_child_value(relation.get(), 1));
        guint32 kind = 0;
        g_variant_get_child(relation.get(), 0, "u", &kind);
        if (kind != kLabelledBy || g_variant_n_children(targets.get()) == 0)
            continue;
        const char* program = nullptr;
        const char* path = nullptr;
        g_variant_get_child(targets.get(), 0, "(&s&o)", &program, &path);
        name = reader().name({program, path});
    }
    const auto description = property(control.node.object, kAccessible, "Description");
    const std::string more = description == nullptr ? "" : g_variant_get_string(description.get(), nullptr);
    return more.empty() ? name : name + ", " + more;
}

std::int32_t AccessibleApplication::actionCount(const Control& control) const {
    const auto count = property(control.node.object, "org.a11y.atspi.Action", "NActions");
    return count == nullptr ? 0 : g_variant_get_int32(count.get());
}

} // namespace torvo::testing
