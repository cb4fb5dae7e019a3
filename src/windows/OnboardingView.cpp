#include "windows/OnboardingView.h"

#include "desktop/AccessibilityService.h"
#include "widgets/Buttons.h"
#include "widgets/SectionBox.h"
#include "widgets/ShownText.h"
#include "widgets/SymbolLabel.h"
#include "widgets/TabOrder.h"
#include "widgets/ToneLabel.h"

#include <QPointer>
#include <QShortcut>
#include <QShowEvent>
#include <array>

namespace torvo {

namespace {

constexpr int kPadding = 24;
constexpr int kSpacing = 14;
constexpr int kTextSpacing = 2;
constexpr int kRowSpacing = 12;
constexpr int kHeaderSymbolSide = 32;
constexpr int kModelSymbolSide = 18;
constexpr int kBadgeSide = 22;
constexpr int kPanelPadding = 12;
constexpr int kParagraphSpacing = 6;

struct Permission {
    const char* title;
    const char* detail;
    /// Of the privacy pane; empty for the pane of the extensions.
    std::string_view anchor;
};

constexpr std::array kPermissions{
    Permission{"Accessibility", "Read the front Finder window so the bar can dock to it.",
               AccessibilityService::kAccessibilityAnchor},
    Permission{"Automation (Finder)", "Read your selection and select files for you. Prompted on first use.",
               AccessibilityService::kAutomationAnchor},
    Permission{"Full Disk Access", "Act on files in Desktop, Documents, Downloads & iCloud (protected folders).",
               AccessibilityService::kFullDiskAnchor},
    Permission{"Finder extension (optional)",
               "Turn on “Torvo” under Finder extensions to get a right-click action in Finder.", ""}};

void open(std::string_view anchor, Workspace& workspace) {
    if (anchor.empty())
        AccessibilityService::openFinderExtensionsPane(workspace);
    else
        AccessibilityService::open(anchor, workspace);
}

/// A row of a leading symbol, a title over a detail, and room for a button.
QHBoxLayout* makeRow(QWidget* leading, QWidget* title, QWidget* detail) {
    auto* row = new QHBoxLayout;
    row->setSpacing(kRowSpacing);
    row->addWidget(leading);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(kTextSpacing);
    texts->addWidget(title);
    texts->addWidget(detail);
    row->addLayout(texts, 1);
    return row;
}

QVBoxLayout& addPanel(QVBoxLayout& column) {
    auto* panel = new FormPanel;
    column.addWidget(panel);
    auto* rows = new QVBoxLayout(panel);
    rows->setContentsMargins(kPanelPadding, kPanelPadding, kPanelPadding, kPanelPadding);
    rows->setSpacing(kRowSpacing);
    return *rows;
}

} // namespace

QString howToUseText(std::string_view shortcut) {
    const auto code = [](const char* text) {
        return QString("<code style=\"font-family:'%1'\">%2</code>")
            .arg(monospacedFont(styleFont(TextStyle::caption).pixelSize()).family().toHtmlEscaped(), text);
    };
    return QString("• Press %1 (or click the bar) and type — e.g. %2, %3, %4, %5.<br>"
                   "• Tap a suggestion chip for quick actions on your selection.<br>"
                   "• ↑/↓ recall recent commands. Esc cancels.")
        .arg(shownParagraph(shortcut).toHtmlEscaped(), code("select all png"), code("jpg"), code("zip"),
             code("compress this video"));
}

OnboardingView::OnboardingView(const OnboardingServices& services, std::function<void()> onClose)
    : m_services(services), m_onClose(std::move(onClose)) {
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins({});
    auto* scroller = new ScrollColumn(kSpacing, {kPadding, kPadding, kPadding, kPadding});
    outer->addWidget(scroller);
    auto& column = scroller->column();
    addHeader(column);
    addPermissions(column);
    addLocalModel(column);
    addHowToUse(column);
    column.addStretch();
    addButtons(column);
    m_modelSubscription = m_services.modelSetup.observe([this] { showLocalModel(); });
    m_hotKeySubscription = m_services.hotKey.observe([this] { showShortcut(); });
    showLocalModel();
    showShortcut();
    orderTabs(*this);
}

void OnboardingView::addHeader(QVBoxLayout& column) {
    column.addLayout(makeRow(new SymbolLabel(Symbol::wandAndStars, Tone::accent, kHeaderSymbolSide),
                             new ToneLabel("Welcome to Torvo", TextStyle::title2),
                             new ToneLabel("A command bar for Finder. Select files, type what you want.",
                                           TextStyle::subheadline, Tone::secondary)));
    column.addWidget(new ToneLabel("Grant these permissions so Torvo can read your Finder window and act on files:",
                                   TextStyle::subheadline));
}

void OnboardingView::addPermissions(QVBoxLayout& column) {
    auto& rows = addPanel(column);
    int number = 0;
    for (const auto& permission : kPermissions) {
        auto* badge = new NumberBadge(++number);
        if (number == 1)
            m_accessibilityBadge = badge;
        auto* row = makeRow(badge, new ToneLabel(permission.title, TextStyle::subheadline),
                            new CaptionLabel(permission.detail));
        auto* button = makeSmallButton("Open");
        button->setAccessibleDescription(permission.title);
        connect(button, &QPushButton::clicked, this, [this, anchor = permission.anchor] { openPermission(anchor); });
        row->addWidget(button);
        rows.addLayout(row);
    }
}

void OnboardingView::addLocalModel(QVBoxLayout& column) {
    m_modelSymbol = new SymbolLabel(Symbol::sparkles, Tone::secondary, kModelSymbolSide);
    auto* square = new QWidget;
    square->setFixedWidth(kBadgeSide);
    auto* centered = new QHBoxLayout(square);
    centered->setContentsMargins({});
    centered->addWidget(m_modelSymbol);
    m_modelStatus = new StatusCaption;
    auto* row = makeRow(square, new ToneLabel("Local AI (optional)", TextStyle::subheadline), m_modelStatus);
    m_modelButton = makeSmallButton({});
    connect(m_modelButton, &QPushButton::clicked, this,
            [this] { accept(m_offer, m_services.modelSetup, m_services.workspace); });
    row->addWidget(m_modelButton);
    addPanel(column).addLayout(row);
}

void OnboardingView::addHowToUse(QVBoxLayout& column) {
    auto* texts = new QVBoxLayout;
    texts->setSpacing(kParagraphSpacing);
    texts->addWidget(new ToneLabel("How to use", TextStyle::headline));
    m_howToUse = new QLabel;
    m_howToUse->setTextFormat(Qt::RichText);
    m_howToUse->setFont(styleFont(TextStyle::caption));
    m_howToUse->setWordWrap(true);
    texts->addWidget(m_howToUse);
    texts->addWidget(new CaptionLabel("Plain-language commands use a local model. Torvo can guide Ollama setup; "
                                      "built-in presets work without AI."));
    column.addLayout(texts);
}

void OnboardingView::addButtons(QVBoxLayout& column) {
    auto* row = new QHBoxLayout;
    auto* recheck = makeButton("Re-check");
    connect(recheck, &QPushButton::clicked, this, [this] { checkTrust(); });
    row->addWidget(recheck);
    row->addStretch();
    auto* start = new AccentButton("Get Started", AccentButton::Filled::always);
    connect(start, &QPushButton::clicked, this, [this] {
        const auto close = m_onClose;
        close();
    });
    row->addWidget(start);
    column.addLayout(row);
    for (const auto key : {Qt::Key_Return, Qt::Key_Enter})
        connect(new QShortcut(QKeySequence(key), this), &QShortcut::activated, start, [start] { start->click(); });
}

void OnboardingView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (event->spontaneous())
        return;
    checkTrust();
    m_services.modelSetup.refresh();
}

void OnboardingView::openPermission(std::string_view anchor) {
    open(anchor, m_services.workspace);
    // Few desktops have a pane for it; there it is granted by asking.
    if (anchor == AccessibilityService::kAccessibilityAnchor)
        m_services.dispatcher.runDetached([&accessibility = m_services.accessibility] {
            if (!accessibility.isTrusted())
                accessibility.promptForTrust();
        });
}

void OnboardingView::checkTrust() {
    // The answer comes from another program.
    m_services.dispatcher.runDetached([services = m_services, view = QPointer(this)] {
        services.dispatcher.runOnMain([view, isTrusted = services.accessibility.isTrusted()] {
            if (view != nullptr)
                view->m_accessibilityBadge->setDone(isTrusted);
        });
    });
}

void OnboardingView::showLocalModel() {
    m_offer = modelOffer(m_services.modelSetup, m_services.defaults);
    const bool isReady = m_offer == ModelOffer::ready;
    m_modelStatus->say(m_services.modelSetup.status());
    m_modelSymbol->setSymbol(isReady ? Symbol::checkmark : Symbol::sparkles, isReady ? Tone::success : Tone::secondary);
    m_modelSymbol->setAccessibleName(isReady ? "Ready" : "Not set up");
    m_modelButton->setVisible(!isReady);
    m_modelButton->setText(m_offer == ModelOffer::getOllama ? "Get Ollama…" : "Set Up Model");
    m_modelButton->setEnabled(m_offer == ModelOffer::getOllama || !m_services.modelSetup.isDownloading());
}

void OnboardingView::showShortcut() {
    m_howToUse->setText(howToUseText(m_services.hotKey.configuration().displayName()));
}

} // namespace torvo
