#pragma once

#include <QWidget>

namespace torvo {

/// Has the Tab key visit the controls in `root` in the order in which the layouts show them. To be called again when
/// controls were added.
void orderTabs(QWidget& root);

} // namespace torvo
