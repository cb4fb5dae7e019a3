#pragma once

#include "widgets/WindowStyle.h"

#include <QApplication>
#include <QFontDatabase>
#include <array>
#include <cstdlib>
#include <optional>

namespace torvo::testing {

/// Has Qt find those fonts alone that pictures are drawn with. To be called before there is an application object.
void useFontsOfPictures();

/// A Qt application that draws into memory, with the fonts of pictures: for views that need no window manager.
class OffscreenApplication {
  public:
    OffscreenApplication() {
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
        useFontsOfPictures();
        m_application.emplace(m_count, m_arguments.data());
        // Now they are looked for. Programs that the test starts have those of the system.
        (void)QFontDatabase::families();
        ::unsetenv("FONTCONFIG_FILE");
        QApplication::setStyle(new WindowStyle);
    }

  private:
    int m_count = 1;
    std::array<char, 6> m_name{'t', 'o', 'r', 'v', 'o', '\0'};
    std::array<char*, 2> m_arguments{m_name.data(), nullptr};
    std::optional<QApplication> m_application;
};

} // namespace torvo::testing
