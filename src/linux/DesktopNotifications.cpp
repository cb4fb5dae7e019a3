#include "linux/DesktopNotifications.h"

#include "support/Text.h"

#include <algorithm>
#include <string>
#include <vector>

namespace torvo {

namespace {

constexpr const char* kServer = "org.freedesktop.Notifications";
constexpr const char* kApplication = "Torvo";
constexpr const char* kIcon = "torvo";
/// The server may have to be started first.
constexpr std::chrono::seconds kPatience{5};

DBusMethod serverMethod(const char* member) {
    return {kServer, "/org/freedesktop/Notifications", kServer, member};
}

std::vector<std::string> capabilities(const DBusConnection& connection, GCancellable* cancellable) {
    std::vector<std::string> names;
    const auto answer = connection.call(serverMethod("GetCapabilities"), nullptr, "(as)", kPatience, cancellable);
    if (!answer)
        return names;
    const GLibPointer<GVariant> list(g_variant_get_child_value(answer->get(), 0));
    for (gsize i = 0; i < g_variant_n_children(list.get()); ++i) {
        const GLibPointer<GVariant> item(g_variant_get_child_value(list.get(), i));
        names.emplace_back(g_variant_get_string(item.get(), nullptr));
    }
    return names;
}

} // namespace

DesktopNotifications::~DesktopNotifications() {
    g_cancellable_cancel(m_cancellable.get());
}

void DesktopNotifications::authorization(std::function<void(NotificationAuthorization)> answer) {
    m_queue.async([this, answer = std::move(answer)] {
        answer(hasServer() ? NotificationAuthorization::authorized : NotificationAuthorization::denied);
    });
}

void DesktopNotifications::requestAuthorization(std::function<void(bool isGranted)> answer) {
    m_queue.async([this, answer = std::move(answer)] { answer(hasServer()); });
}

void DesktopNotifications::add(const UserNotification& notification) {
    m_queue.async([this, notification] { show(notification); });
}

bool DesktopNotifications::hasServer() {
    const auto connection = m_bus.connection();
    return connection != nullptr && isReachable(*connection, kServer, m_cancellable.get());
}

void DesktopNotifications::show(const UserNotification& notification) {
    const auto connection = m_bus.connection();
    if (connection == nullptr)
        return;
    // Asked each time: another server may have taken over.
    const auto known = capabilities(*connection, m_cancellable.get());
    const auto can = [&](const char* capability) { return std::ranges::find(known, capability) != known.end(); };
    auto title = printable(notification.title);
    auto body = printable(notification.body);
    if (!known.empty() && !can("body")) {
        // The server shows titles only.
        title += ": " + body;
        body.clear();
    }
    if (can("body-markup"))
        body = GLibPointer<char>(g_markup_escape_text(body.c_str(), -1)).get();

    GVariantBuilder hints;
    g_variant_builder_init(&hints, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&hints, "{sv}", "suppress-sound", g_variant_new_boolean(TRUE));
    g_variant_builder_add(&hints, "{sv}", "desktop-entry", g_variant_new_string(kIcon));
    constexpr guint32 replacesNone = 0;
    constexpr gint32 serversOwnTime = -1;
    (void)connection->call(serverMethod("Notify"),
                           g_variant_new("(susssasa{sv}i)", kApplication, replacesNone, kIcon, title.c_str(),
                                         body.c_str(), nullptr, &hints, serversOwnTime),
                           "(u)", kPatience, m_cancellable.get());
}

} // namespace torvo
