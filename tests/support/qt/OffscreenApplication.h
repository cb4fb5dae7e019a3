#pragma once

#include <QApplication>
#include <array>
#include <cstdlib>
#include <optional>

namespace torvo::testing {

/// A Qt application that draws into memory: for views that need no window manager.
class OffscreenApplication {
  public:
    OffscreenApplication() {
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
        m_application.emplace(m_count, m_arguments.data());
        QApplication::setStyle("Fusion");
    }

  private:
    int m_count = 1;
    std::array<char, 6> m_name{'t', 'o', 'r', 'v', 'o', '\0'};
    std::array<char*, 2> m_arguments{m_name.data(), nullptr};
    std::optional<QApplication> m_application;
};

} // namespace torvo::testing
