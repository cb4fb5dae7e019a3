#include "linux/accessibility/AccessibleReader.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <ranges>

namespace torvo {

namespace {

using Call = AccessibilityBus::Call;
using Answer = AccessibilityBus::Answer;

constexpr const char* kAccessible = "org.a11y.atspi.Accessible";
constexpr const char* kAction = "org.a11y.atspi.Action";
constexpr const char* kComponent = "org.a11y.atspi.Component";
constexpr const char* kSelection = "org.a11y.atspi.Selection";
constexpr const char* kTable = "org.a11y.atspi.Table";
constexpr const char* kText = "org.a11y.atspi.Text";
constexpr const char* kProperties = "org.freedesktop.DBus.Properties";
constexpr std::string_view kNullPath = "/org/a11y/atspi/null";
/// A container of controls has fewer children than that; a view of files may have many more.
constexpr std::int32_t kLargestContainer = 200;

Call property(const AccessibleObject& object, const char* interface, const char* name) {
    return {.object = object,
            .interface = kProperties,
            .member = "Get",
            .arguments = g_variant_new("(ss)", interface, name),
            .answer = "(v)"};
}

/// One call for each index, which is its argument.
std::vector<Call> callsFor(const AccessibleObject& object, const char* interface, const char* member,
                           const std::vector<std::int32_t>& indices, const char* answer) {
    std::vector<Call> calls;
    calls.reserve(indices.size());
    for (const auto index : indices)
        calls.push_back({.object = object,
                         .interface = interface,
                         .member = member,
                         .arguments = g_variant_new("(i)", index),
                         .answer = answer});
    return calls;
}

GLibPointer<GVariant> unboxed(const Answer& answer) {
    if (!answer)
        return nullptr;
    const GLibPointer<GVariant> boxed(g_variant_get_child_value(answer->get(), 0));
    return GLibPointer<GVariant>(g_variant_get_variant(boxed.get()));
}

std::int32_t numberOf(const Answer& answer) {
    const auto value = unboxed(answer);
    return value != nullptr && g_variant_is_of_type(value.get(), G_VARIANT_TYPE_INT32)
               ? g_variant_get_int32(value.get())
               : 0;
}

std::string textOf(const Answer& answer) {
    const auto value = unboxed(answer);
    return value != nullptr && g_variant_is_of_type(value.get(), G_VARIANT_TYPE_STRING)
               ? g_variant_get_string(value.get(), nullptr)
               : "";
}

bool isTrue(const Answer& answer) {
    gboolean value = FALSE;
    if (answer)
        g_variant_get(answer->get(), "(b)", &value);
    return value != FALSE;
}

AccessibleObject referenceOf(GVariant* pair) {
    const char* program = nullptr;
    const char* path = nullptr;
    g_variant_get(pair, "(&s&o)", &program, &path);
    if (path == kNullPath)
        return {};
    return {program, path};
}

/// "c;<Alt>e:c;<Primary>c" (GTK) or "Ctrl+C" (Qt) as "ctrl+c".
std::string shortcutOf(std::string_view binding) {
    std::string text(binding.substr(binding.rfind(';') == std::string_view::npos ? 0 : binding.rfind(';') + 1));
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    for (const std::string_view control : {"<primary>", "<control>"}) {
        if (const auto at = text.find(control); at != std::string::npos)
            text.replace(at, control.size(), "ctrl+");
    }
    return text;
}

} // namespace

std::int32_t AccessibleReader::number(const AccessibleObject& object, const char* interface, const char* name) const {
    return numberOf(m_bus.call(property(object, interface, name), m_deadline));
}

std::int32_t AccessibleReader::childCount(const AccessibleObject& object) const {
    return number(object, kAccessible, "ChildCount");
}

std::optional<AccessibleObject> AccessibleReader::child(const AccessibleObject& object, std::int32_t index) const {
    auto found = childrenAt(object, {index});
    return found.front().path.empty() ? std::nullopt : std::optional(std::move(found.front()));
}

AccessibleObject AccessibleReader::parent(const AccessibleObject& object) const {
    const auto value = unboxed(m_bus.call(property(object, kAccessible, "Parent"), m_deadline));
    return value != nullptr && g_variant_is_of_type(value.get(), G_VARIANT_TYPE("(so)")) ? referenceOf(value.get())
                                                                                         : AccessibleObject();
}

std::vector<AccessibleObject> AccessibleReader::children(const AccessibleObject& object) const {
    const auto reply = m_bus.call(
        {.object = object, .interface = kAccessible, .member = "GetChildren", .answer = "(a(so))"}, m_deadline);
    std::vector<AccessibleObject> result;
    if (!reply)
        return result;
    const GLibPointer<GVariant> list(g_variant_get_child_value(reply->get(), 0));
    for (gsize i = 0; i < g_variant_n_children(list.get()); ++i) {
        const GLibPointer<GVariant> pair(g_variant_get_child_value(list.get(), i));
        if (auto reference = referenceOf(pair.get()); !reference.path.empty())
            result.push_back(std::move(reference));
    }
    return result;
}

std::vector<AccessibleNode> AccessibleReader::nodes(const std::vector<AccessibleObject>& objects) const {
    std::vector<Call> calls;
    for (const auto& object : objects) {
        calls.push_back({.object = object, .interface = kAccessible, .member = "GetRole", .answer = "(u)"});
        calls.push_back({.object = object, .interface = kAccessible, .member = "GetState", .answer = "(au)"});
    }
    const auto answers = m_bus.callAll(calls, m_deadline);
    std::vector<AccessibleNode> result;
    for (std::size_t i = 0; i < objects.size(); ++i) {
        AccessibleNode node{.object = objects[i]};
        if (const auto& role = answers[2 * i]) {
            guint32 value = 0;
            g_variant_get(role->get(), "(u)", &value);
            node.role = static_cast<AccessibleRole>(value);
        }
        if (const auto& state = answers[2 * i + 1]) {
            const GLibPointer<GVariant> words(g_variant_get_child_value(state->get(), 0));
            for (gsize word = 0; word < std::min<gsize>(2, g_variant_n_children(words.get())); ++word) {
                guint32 bits = 0;
                g_variant_get_child(words.get(), word, "u", &bits);
                node.states |= static_cast<std::uint64_t>(bits) << (32 * word);
            }
        }
        result.push_back(std::move(node));
    }
    return result;
}

AccessibleNode AccessibleReader::node(const AccessibleObject& object) const {
    return nodes({object}).front();
}

std::string AccessibleReader::name(const AccessibleObject& object) const {
    return names({object}).front();
}

std::vector<std::string> AccessibleReader::names(const std::vector<AccessibleObject>& objects) const {
    std::vector<Call> calls;
    for (const auto& object : objects)
        calls.push_back(property(object, kAccessible, "Name"));
    std::vector<std::string> result;
    std::ranges::transform(m_bus.callAll(calls, m_deadline), std::back_inserter(result), textOf);
    return result;
}

std::optional<AccessibleExtents> AccessibleReader::extents(const AccessibleObject& object) const {
    const auto reply = m_bus.call({.object = object,
                                   .interface = kComponent,
                                   .member = "GetExtents",
                                   .arguments = g_variant_new("(u)", 0U),
                                   .answer = "((iiii))"},
                                  m_deadline);
    if (!reply)
        return std::nullopt;
    AccessibleExtents result;
    g_variant_get(reply->get(), "((iiii))", &result.x, &result.y, &result.width, &result.height);
    return result;
}

std::string AccessibleReader::text(const AccessibleObject& object) const {
    const auto reply = m_bus.call({.object = object,
                                   .interface = kText,
                                   .member = "GetText",
                                   .arguments = g_variant_new("(ii)", 0, -1),
                                   .answer = "(s)"},
                                  m_deadline);
    if (!reply)
        return "";
    const char* text = nullptr;
    g_variant_get(reply->get(), "(&s)", &text);
    return text;
}

bool AccessibleReader::press(const AccessibleObject& object) const {
    return pressAll({object});
}

bool AccessibleReader::pressAll(const std::vector<AccessibleObject>& objects) const {
    std::vector<Call> calls;
    for (const auto& object : objects)
        calls.push_back({.object = object,
                         .interface = kAction,
                         .member = "DoAction",
                         .arguments = g_variant_new("(i)", 0),
                         .answer = "(b)"});
    return allTrue(calls);
}

std::vector<std::string> AccessibleReader::shortcuts(const std::vector<AccessibleObject>& objects) const {
    std::vector<Call> calls;
    for (const auto& object : objects)
        calls.push_back({.object = object,
                         .interface = kAction,
                         .member = "GetKeyBinding",
                         .arguments = g_variant_new("(i)", 0),
                         .answer = "(s)"});
    std::vector<std::string> result;
    for (const auto& answer : m_bus.callAll(calls, m_deadline)) {
        const char* binding = "";
        if (answer)
            g_variant_get(answer->get(), "(&s)", &binding);
        result.push_back(shortcutOf(binding));
    }
    return result;
}

std::int32_t AccessibleReader::selectedCount(const AccessibleObject& object) const {
    return number(object, kSelection, "NSelectedChildren");
}

std::vector<AccessibleObject> AccessibleReader::references(const std::vector<Call>& calls) const {
    std::vector<AccessibleObject> result;
    for (const auto& answer : m_bus.callAll(calls, m_deadline)) {
        if (!answer) {
            result.emplace_back();
            continue;
        }
        const GLibPointer<GVariant> pair(g_variant_get_child_value(answer->get(), 0));
        result.push_back(referenceOf(pair.get()));
    }
    return result;
}

bool AccessibleReader::allTrue(const std::vector<Call>& calls) const {
    return std::ranges::all_of(m_bus.callAll(calls, m_deadline), isTrue);
}

std::vector<AccessibleObject> AccessibleReader::selectedChildren(const AccessibleObject& object,
                                                                 std::int32_t count) const {
    std::vector<Call> calls;
    for (std::int32_t i = 0; i < count; ++i)
        calls.push_back({.object = object,
                         .interface = kSelection,
                         .member = "GetSelectedChild",
                         .arguments = g_variant_new("(i)", i),
                         .answer = "((so))"});
    return references(calls);
}

bool AccessibleReader::clearSelection(const AccessibleObject& object) const {
    return allTrue({{.object = object, .interface = kSelection, .member = "ClearSelection", .answer = "(b)"}});
}

bool AccessibleReader::selectChildren(const AccessibleObject& object, const std::vector<std::int32_t>& indices) const {
    return allTrue(callsFor(object, kSelection, "SelectChild", indices, "(b)"));
}

std::int32_t AccessibleReader::rowCount(const AccessibleObject& table) const {
    return number(table, kTable, "NRows");
}

std::int32_t AccessibleReader::columnCount(const AccessibleObject& table) const {
    return number(table, kTable, "NColumns");
}

std::vector<std::int32_t> AccessibleReader::selectedRows(const AccessibleObject& table) const {
    const auto reply =
        m_bus.call({.object = table, .interface = kTable, .member = "GetSelectedRows", .answer = "(ai)"}, m_deadline);
    std::vector<std::int32_t> rows;
    if (!reply)
        return rows;
    const GLibPointer<GVariant> list(g_variant_get_child_value(reply->get(), 0));
    gsize count = 0;
    const auto* values = static_cast<const gint32*>(g_variant_get_fixed_array(list.get(), &count, sizeof(gint32)));
    rows.assign(values, values + count);
    std::ranges::sort(rows);
    return rows;
}

std::vector<AccessibleObject> AccessibleReader::cells(const AccessibleObject& table,
                                                      const std::vector<std::int32_t>& rows,
                                                      std::int32_t column) const {
    std::vector<Call> calls;
    for (const auto row : rows)
        calls.push_back({.object = table,
                         .interface = kTable,
                         .member = "GetAccessibleAt",
                         .arguments = g_variant_new("(ii)", row, column),
                         .answer = "((so))"});
    return references(calls);
}

bool AccessibleReader::selectRows(const AccessibleObject& table, const std::vector<std::int32_t>& rows) const {
    return allTrue(callsFor(table, kTable, "AddRowSelection", rows, "(b)"));
}

std::vector<AccessibleObject> AccessibleReader::childrenAt(const std::vector<AccessibleObject>& objects,
                                                           std::int32_t index) const {
    std::vector<Call> calls;
    for (const auto& object : objects)
        calls.push_back({.object = object,
                         .interface = kAccessible,
                         .member = "GetChildAtIndex",
                         .arguments = g_variant_new("(i)", index),
                         .answer = "((so))"});
    return references(calls);
}

std::vector<AccessibleObject> AccessibleReader::childrenAt(const AccessibleObject& object,
                                                           const std::vector<std::int32_t>& indices) const {
    return references(callsFor(object, kAccessible, "GetChildAtIndex", indices, "((so))"));
}

std::optional<AccessibleNode> AccessibleReader::find(const AccessibleObject& root,
                                                     const std::function<Visit(const AccessibleNode&)>& visit) const {
    std::vector<AccessibleObject> level{root};
    while (!level.empty() && !isOver()) {
        std::vector<Call> calls;
        for (const auto& object : level)
            calls.push_back(property(object, kAccessible, "ChildCount"));
        const auto counts = m_bus.callAll(calls, m_deadline);
        std::vector<AccessibleObject> below;
        for (std::size_t i = 0; i < level.size(); ++i) {
            const auto count = numberOf(counts[i]);
            if (count > 0 && count <= kLargestContainer)
                std::ranges::move(children(level[i]), std::back_inserter(below));
        }
        level.clear();
        for (auto& node : nodes(below)) {
            switch (visit(node)) {
            case Visit::take:
                return node;
            case Visit::enter:
                level.push_back(std::move(node.object));
                break;
            case Visit::skip:
                break;
            }
        }
    }
    return std::nullopt;
}

} // namespace torvo
