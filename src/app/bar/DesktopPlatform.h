#pragma once

#include "app/Services.h"
#include "linux/AutostartLoginItem.h"
#include "linux/DBusDistributedNotifications.h"
#include "linux/DesktopNotifications.h"
#include "linux/DesktopOpener.h"
#include "linux/FeedUpdater.h"
#include "linux/FrontApplication.h"
#include "linux/GioTrash.h"
#include "linux/LinuxWorkspace.h"
#include "linux/SessionBus.h"
#include "linux/StderrLog.h"
#include "linux/X11Connection.h"
#include "linux/X11Frames.h"
#include "linux/X11HotKeys.h"
#include "linux/filemanager/FileManagers.h"
#include "linux/filemanager/LinuxAccessibility.h"
#include "linux/filemanager/LinuxScriptHost.h"
#include "linux/qt/QtDesktopPoints.h"
#include "linux/qt/QtDispatcher.h"
#include "linux/qt/QtPanel.h"
#include "linux/qt/X11EventPump.h"
#include "linux/qt/X11Pasteboard.h"

#include <functional>
#include <memory>

namespace torvo {

/// The services of this desktop, as the bar uses them.
struct DesktopPlatform {
    /// `display`: the connection that is the main thread's.
    DesktopPlatform(QtDispatcher& dispatcher, Services& services, std::unique_ptr<X11Connection> display);

    std::unique_ptr<X11Connection> display;
    PrimaryMonitor primary{*display};
    /// The points of Qt, in which the bar is laid out.
    std::function<DesktopPoints()> points = [this] { return qtDesktopPoints(primary.now()); };
    X11EventPump pump{*display};
    X11Screens screens{*display, points};
    FrontApplication front{*display};
    X11HotKeys hotKeys{*display};
    SessionBus bus;
    FileManagers fileManagers{bus, [this] { return front.lastActive(); }};
    LinuxScriptHost scripts{fileManagers};
    LinuxAccessibility accessibility{fileManagers, points};
    DesktopOpener opener;
    LinuxWorkspace workspace{{*display, front, fileManagers, opener}};
    QtPanel panel{*display};
    X11Pasteboard pasteboard;
    DesktopNotifications notifications{bus};
    DBusDistributedNotifications distributed{bus};
    AutostartLoginItem loginItem;
    FeedUpdater updater;
    GioTrash trash;
    StderrLog log;
};

} // namespace torvo
