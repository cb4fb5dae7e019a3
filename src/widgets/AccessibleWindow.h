#pragma once

namespace torvo {

/// From now on plain widgets that are windows are windows to assistive technology too; Qt takes them for groups of
/// controls. To be called once there is an application object, before the first window.
void makeWindowsAccessible();

} // namespace torvo
