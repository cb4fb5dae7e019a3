#pragma once

#include "tests/support/qt/Pictures.h"

#include <QImage>
#include <functional>
#include <string>

namespace torvo::screenshots {

/// Takes the windows one by one, each in its final size and in the application's palette.
using TakeWindow = std::function<void(const std::string& name, QWidget& window)>;

/// Shows each window as it looks at work; Settings also as high as all that it scrolls over.
void showWindows(const TakeWindow& take);

} // namespace torvo::screenshots
