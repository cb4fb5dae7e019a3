#include "app/bar/DesktopPlatform.h"

#include "app/Services.h"

#include <cstdlib>

namespace torvo {

namespace {

FileURL configurationFolder() {
    const char* folder = std::getenv("XDG_CONFIG_HOME");
    return folder != nullptr && folder[0] == '/' ? FileURL(folder) : homeFolder().appendingPath(".config");
}

} // namespace

DesktopPlatform::DesktopPlatform(QtDispatcher& dispatcher, HttpSession& session, std::unique_ptr<X11Connection> opened)
    : display(std::move(opened)),
      opener(bus, dispatcher),
      loginItem(configurationFolder(), {programFolder().appendingPath("torvo-bar").path()}),
      updater({.feed = builtInUpdateFeed(),
               .version = TORVO_VERSION,
               .file = applicationSupportFolder().appendingPath("Torvo/updates.json")},
              session, dispatcher) {
    front.setPanel(static_cast<xcb_window_t>(panel.window().winId()));
}

} // namespace torvo
