#include "app/bar/DesktopPlatform.h"

#include <cstdlib>

namespace torvo {

namespace {

FileURL configurationFolder() {
    const char* folder = std::getenv("XDG_CONFIG_HOME");
    return folder != nullptr && folder[0] == '/' ? FileURL(folder) : homeFolder().appendingPath(".config");
}

} // namespace

DesktopPlatform::DesktopPlatform(QtDispatcher& dispatcher, Services& services, std::unique_ptr<X11Connection> opened)
    : display(std::move(opened)),
      opener(bus, dispatcher),
      loginItem(configurationFolder(), {programFolder().appendingPath("torvo-bar").path()}),
      updater({.feed = builtInUpdateFeed(),
               .version = TORVO_VERSION,
               .file = applicationSupportFolder().appendingPath("Torvo/updates.json")},
              services.session, services.diskQueue, dispatcher) {
    front.setPanel(static_cast<xcb_window_t>(panel.window().winId()));
}

} // namespace torvo
