#include "linux/RemoteControl.h"

#include "linux/SessionBus.h"
#include "support/Text.h"

#include <fmt/format.h>

#include <optional>
#include <string_view>
#include <thread>

namespace torvo {

namespace {

constexpr const char* kName = "org.torvo.Torvo";
constexpr const char* kPath = "/org/torvo/Torvo";
constexpr const char* kIntrospection = R"(<node><interface name="org.torvo.Torvo">
  <method name="Toggle"><arg name="isShown" type="b" direction="out"/></method>
  <method name="Drop">
    <arg name="paths" type="aay" direction="in"/><arg name="isShown" type="b" direction="out"/>
  </method>
  <method name="Prefill">
    <arg name="text" type="s" direction="in"/><arg name="isShown" type="b" direction="out"/>
  </method>
  <method name="OpenURLs">
    <arg name="addresses" type="as" direction="in"/><arg name="isShown" type="b" direction="out"/>
  </method>
</interface></node>)";

/// Absent when one of them cannot be a file's absolute path.
std::optional<std::vector<FileURL>> filesOf(GVariant* paths) {
    std::vector<FileURL> files;
    for (gsize i = 0; i < g_variant_n_children(paths); ++i) {
        const GLibPointer<GVariant> item(g_variant_get_child_value(paths, i));
        gsize size = 0;
        const auto* bytes = static_cast<const char*>(g_variant_get_fixed_array(item.get(), &size, 1));
        std::string_view path(bytes, size);
        if (path.ends_with('\0'))
            path.remove_suffix(1);
        if (!path.starts_with('/') || path.find('\0') != std::string_view::npos)
            return std::nullopt;
        files.emplace_back(std::string(path));
    }
    return files;
}

std::vector<std::string> textsOf(GVariant* list) {
    std::vector<std::string> texts;
    for (gsize i = 0; i < g_variant_n_children(list); ++i) {
        const GLibPointer<GVariant> item(g_variant_get_child_value(list, i));
        texts.emplace_back(g_variant_get_string(item.get(), nullptr));
    }
    return texts;
}

/// What a call asks for; absent when its arguments make no sense.
std::optional<std::function<void(const RemoteControlActions&)>> order(std::string_view member, GVariant* arguments) {
    using Actions = RemoteControlActions;
    if (member == "Toggle")
        return [](const Actions& actions) { actions.toggle(); };
    const GLibPointer<GVariant> argument(g_variant_get_child_value(arguments, 0));
    if (member == "Prefill")
        return [text = std::string(g_variant_get_string(argument.get(), nullptr))](const Actions& actions) {
            actions.prefill(text);
        };
    if (member == "OpenURLs")
        return [addresses = textsOf(argument.get())](const Actions& actions) { actions.openURLs(addresses); };
    if (auto files = filesOf(argument.get()))
        return [files = std::move(*files)](const Actions& actions) { actions.drop(files); };
    return std::nullopt;
}

} // namespace

std::expected<std::unique_ptr<RemoteControl>, DBusServer::Failure> RemoteControl::start(Dispatcher& dispatcher,
                                                                                        RemoteControlActions actions) {
    std::unique_ptr<RemoteControl> control(new RemoteControl);
    control->m_actions = std::make_shared<RemoteControlActions>(std::move(actions));
    auto handOver = [&dispatcher, weak = std::weak_ptr(control->m_actions)](
                        const std::string& member, GVariant* arguments, GDBusMethodInvocation* invocation) {
        auto asked = order(member, arguments);
        if (!asked) {
            g_dbus_method_invocation_return_error_literal(invocation, G_DBUS_ERROR, G_DBUS_ERROR_INVALID_ARGS,
                                                          "every path must be absolute");
            return;
        }
        // The bus answers a call that nobody is left to answer.
        const std::shared_ptr<GDBusMethodInvocation> call(invocation, GLibRelease());
        dispatcher.runOnMain([weak, asked = std::move(*asked), call] {
            const auto alive = weak.lock();
            if (!alive)
                return;
            asked(*alive);
            // Answering takes a reference of its own along.
            g_dbus_method_invocation_return_value(static_cast<GDBusMethodInvocation*>(g_object_ref(call.get())),
                                                  g_variant_new("(b)", static_cast<gboolean>(alive->isShown())));
        });
    };
    auto server = DBusServer::start({kName, kPath, kIntrospection}, std::move(handOver));
    if (!server)
        return std::unexpected(std::move(server.error()));
    control->m_server = std::move(*server);
    return control;
}

namespace RemoteBar {

namespace {

using Kind = Failure::Kind;

/// `unshown`: what to say when the bar is not shown afterwards.
Result ask(const char* member, GVariant* arguments, const char* unshown) {
    const GLibPointer<GVariant> owned(arguments == nullptr ? nullptr : g_variant_ref_sink(arguments));
    const auto connection = DBusConnection::session();
    if (!connection)
        return std::unexpected(Failure{Kind::unreachable, "there is no session bus: " + connection.error()});
    if (!isRunning(**connection, kName))
        return std::unexpected(Failure{Kind::notRunning, "Torvo is not running"});
    const auto reply = (*connection)->call({kName, kPath, kName, member}, owned.get(), "(b)", std::chrono::seconds(10));
    if (!reply)
        return std::unexpected(Failure{Kind::unreachable, "the running Torvo does not answer: " + reply.error()});
    gboolean isShown = FALSE;
    g_variant_get(reply->get(), "(b)", &isShown);
    if (isShown == FALSE)
        return std::unexpected(Failure{Kind::notShown, unshown});
    return {};
}

constexpr const char* kNoWindow = "open a window of a file manager first: the bar shows under it";

/// `address` as pure ASCII, which a text on the bus can hold, with the same meaning.
std::string encoded(std::string_view address) {
    std::string text;
    for (const char c : address) {
        const auto byte = static_cast<unsigned char>(c);
        text += byte < 0x80 ? std::string(1, c) : fmt::format("%{:02X}", byte);
    }
    return text;
}

} // namespace

Result toggle() {
    return ask("Toggle", nullptr, "bring a window of a file manager to the front first: the bar shows under it");
}

Result drop(const std::vector<FileURL>& files) {
    GVariantBuilder paths;
    g_variant_builder_init(&paths, G_VARIANT_TYPE_BYTESTRING_ARRAY);
    for (const auto& file : files)
        g_variant_builder_add_value(&paths, g_variant_new_bytestring(file.path().c_str()));
    return ask("Drop", g_variant_new("(aay)", &paths), kNoWindow);
}

Result prefill(const std::string& text) {
    return ask("Prefill", g_variant_new("(s)", printable(text).c_str()), kNoWindow);
}

Result openURLs(const std::vector<std::string>& addresses) {
    GVariantBuilder list;
    g_variant_builder_init(&list, G_VARIANT_TYPE_STRING_ARRAY);
    for (const auto& address : addresses)
        g_variant_builder_add(&list, "s", encoded(address).c_str());
    return ask("OpenURLs", g_variant_new("(as)", &list), kNoWindow);
}

bool waitUntilRunning(std::chrono::milliseconds patience) {
    const auto end = std::chrono::steady_clock::now() + patience;
    const auto connection = DBusConnection::session();
    while (connection && std::chrono::steady_clock::now() < end) {
        if (isRunning(**connection, kName))
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
}

} // namespace RemoteBar

} // namespace torvo
