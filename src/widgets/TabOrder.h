#pragma once

#include <QScrollArea>
#include <QWidget>

namespace torvo {

/// Has the Tab key visit the controls in `root` in the order in which the layouts show them. To be called again when
/// controls were added.
void orderTabs(QWidget& root);

/// Has an area scroll to whatever in it gets the keyboard, wherever the keyboard comes from; by itself it does so only
/// when the keyboard was in it before. What is clicked stays under the mouse.
void followKeyboard(QScrollArea& area);

} // namespace torvo
