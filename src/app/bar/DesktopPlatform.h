#pragma once

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
#include "linux/qt/QtDispatcher.h"
#include "linux/qt/QtPanel.h"
#include "linux/qt/X11EventPump.h"
#include "linux/qt/X11Pasteboard.h"

#include <QGuiApplication>
#include <memory>

namespace torvo {

/// The services of this desktop, as the bar uses them.
struct DesktopPlatform {
    /// `display`: the connection that is the main thread's.
    DesktopPlatform(QtDispatcher& dispatcher, HttpSession& session, std::unique_ptr<X11Connection> display);

    std::unique_ptr<X11Connection> display;
    /// Pixels of the X server in a point.
    double scale = qGuiApp->devicePixelRatio();
    X11EventPump pump{*display};
    X11Screens screens{*display, scale};
    FrontApplication front{*display};
    X11HotKeys hotKeys{*display};
    SessionBus bus;
    FileManagers fileManagers{bus};
    LinuxScriptHost scripts{fileManagers};
    LinuxAccessibility accessibility{fileManagers, scale};
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
