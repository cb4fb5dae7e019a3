#pragma once

#include "assistance/LocalModelSetupService.h"
#include "desktop/HotKeyCoordinator.h"
#include "platform/Accessibility.h"
#include "platform/Dispatcher.h"
#include "platform/UserDefaults.h"
#include "platform/Workspace.h"
#include "support/Observable.h"
#include "windows/ModelOffer.h"

#include <QWidget>
#include <functional>
#include <string_view>

class QLabel;
class QPushButton;
class QVBoxLayout;

namespace torvo {

class NumberBadge;
class StatusCaption;
class SymbolLabel;

/// All must outlive the view.
struct OnboardingServices {
    Dispatcher& dispatcher;
    Accessibility& accessibility;
    Workspace& workspace;
    UserDefaults& defaults;
    LocalModelSetupService& modelSetup;
    HotKeyCoordinator& hotKey;
};

/// How the bar is used, as rich text with the shortcut's name in it.
[[nodiscard]] QString howToUseText(std::string_view shortcut);

/// Guides a new user through the permissions and the optional local model.
class OnboardingView final : public QWidget {
  public:
    /// `onClose` closes the window; it may destroy the view.
    OnboardingView(const OnboardingServices& services, std::function<void()> onClose);

  protected:
    void showEvent(QShowEvent* event) override;

  private:
    void addHeader(QVBoxLayout& column);
    void addPermissions(QVBoxLayout& column);
    void addLocalModel(QVBoxLayout& column);
    void addHowToUse(QVBoxLayout& column);
    void addButtons(QVBoxLayout& column);
    /// What "Open" does for the permission of a privacy pane, or of the pane of the extensions.
    void openPermission(std::string_view anchor);
    void checkTrust();
    void showLocalModel();
    void showShortcut();

    OnboardingServices m_services;
    std::function<void()> m_onClose;
    /// Of the first permission, the only one that can be asked about.
    NumberBadge* m_accessibilityBadge = nullptr;
    StatusCaption* m_modelStatus = nullptr;
    SymbolLabel* m_modelSymbol = nullptr;
    QPushButton* m_modelButton = nullptr;
    ModelOffer m_offer = ModelOffer::ready;
    QLabel* m_howToUse = nullptr;
    Subscription m_modelSubscription;
    Subscription m_hotKeySubscription;
};

} // namespace torvo
