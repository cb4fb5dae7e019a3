#include "linux/DBusDistributedNotifications.h"

#include "support/Text.h"

namespace torvo {

void DBusDistributedNotifications::post(std::string_view name) {
    m_queue.async([this, text = printable(name)] {
        const auto connection = m_bus.connection();
        if (connection == nullptr)
            return;
        g_dbus_connection_emit_signal(connection->get(), nullptr, "/org/torvo/DistributedNotifications",
                                      "org.torvo.DistributedNotifications", "Posted",
                                      g_variant_new("(s)", text.c_str()), nullptr);
        g_dbus_connection_flush_sync(connection->get(), nullptr, nullptr);
    });
}

} // namespace torvo
