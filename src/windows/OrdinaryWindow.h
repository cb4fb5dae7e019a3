#pragma once

#include <QSize>
#include <QWidget>
#include <functional>
#include <memory>

namespace torvo {

/// How a window of the application looks from outside.
struct WindowFrame {
    const char* title;
    /// Of the content, in device-independent pixels.
    QSize size;
    bool canBeMinimized = false;
};

inline constexpr WindowFrame kSettingsWindow{"Torvo Settings", {620, 720}, true};
inline constexpr WindowFrame kSetupWindow{"Torvo Setup", {480, 660}};
inline constexpr WindowFrame kActivityWindow{"Torvo Activity", {540, 440}};
inline constexpr WindowFrame kIdeasWindow{"Torvo Ideas", {540, 480}};

/// A window of a fixed size that is made the first time it is wanted. Closing hides it; it and its content are kept.
class OrdinaryWindow {
  public:
    using MakeContent = std::function<QWidget*()>;

    /// `makeContent` makes the content when the window is first shown.
    OrdinaryWindow(const WindowFrame& frame, MakeContent makeContent);

    /// Shows the window, centred the first time, in front of the others and with the keyboard.
    void present();
    void close();
    /// Null before the window was shown for the first time.
    [[nodiscard]] QWidget* window() const { return m_window.get(); }

  private:
    WindowFrame m_frame;
    MakeContent m_makeContent;
    std::unique_ptr<QWidget> m_window;
};

} // namespace torvo
