#include "ui/detail/PackageDetailTitleBar.h"

#include "components/Buttons.h"
#include "components/IconFont.h"
#include "components/ObjectNameStyle.h"
#include "packages/PackageController.h"
#include "ui/package/PackageActions.h"
#include "ui/package/PackageErrorQueue.h"
#include "ui/package/PackageProcessingWidget.h"
#include "ui/package/ProgressFollower.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace Kavo::Ui {

using Components::darkIconOptions;
using Components::iconFont;
using Components::makeButton;
using Models::Package;
using Models::PackagePointer;

namespace {

constexpr int DownloadGlyph = 0xf0ed;
constexpr int InstalledGlyph = 0xf00c;
constexpr int UninstallGlyph = 0xf1f8;
constexpr int HelpGlyph = 0xf059;
constexpr int ManualGlyph = 0xf02d;
constexpr int MinimalTitleWidth = 160;

bool showsIndicator(Package::State state)
{
    return state == Package::PREPARING || state == Package::DOWNLOADING ||
           state == Package::INSTALLING;
}

} // namespace

PackageDetailTitleBar::PackageDetailTitleBar(
    const QSharedPointer<Controllers::PackageController> &controller, QWidget *parent)
    : StyledWidget(QStringLiteral("PackageDetailTitleBar"), parent)
    , m_controller(controller)
    , m_title(new QLabel(this))
    , m_progress(new QLabel(this))
    , m_indicator(new PackageProcessingWidget(this))
    , m_action(
          makeButton(QStringLiteral("Download"), QString(), iconFont()->icon(DownloadGlyph), this))
    , m_uninstall(makeButton(QStringLiteral("Uninstall"), QString(),
                             iconFont()->icon(UninstallGlyph), this))
    , m_help(makeButton(QStringLiteral("GetHelp"), QString(),
                        iconFont()->icon(HelpGlyph, darkIconOptions()), this))
    , m_manual(makeButton(QStringLiteral("Manual"), QString(),
                          iconFont()->icon(ManualGlyph, darkIconOptions()), this))
{
    m_title->setObjectName(QStringLiteral("DetailTitle"));
    m_title->setTextFormat(Qt::PlainText);
    m_title->setWordWrap(true);
    // A name without a place to break it must not push the buttons off the page.
    m_title->setMinimumWidth(MinimalTitleWidth);
    m_progress->setObjectName(QStringLiteral("DetailProgress"));
    m_progress->setTextFormat(Qt::PlainText);
    m_progress->setWordWrap(true);
    m_progress->setMinimumWidth(MinimalTitleWidth);
    m_progress->hide();
    m_indicator->setMode(PackageProcessingWidget::HiddenMode);
    connectButtons();

    // Beside the animation the text would push it to and fro.
    auto *texts = new QVBoxLayout;
    texts->setSpacing(0);
    texts->addStretch();
    texts->addWidget(m_title);
    texts->addWidget(m_progress);
    texts->addStretch();

    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(16, 8, 16, 8);
    layout->setSpacing(8);
    layout->addLayout(texts, 1);
    layout->addWidget(m_indicator);
    layout->addWidget(m_action);
    layout->addWidget(m_uninstall);
    layout->addWidget(m_help);
    layout->addWidget(m_manual);
}

PackageDetailTitleBar::~PackageDetailTitleBar() = default;

void PackageDetailTitleBar::setPackage(const PackagePointer &package)
{
    m_follower.reset();
    m_packageBinding.reset(new QObject);
    m_package = package;
    showProgress(QString());
    if (!package)
        return;
    connect(package.data(), &Package::stateChanged, m_packageBinding.data(),
            [this](Package::State state) { onStateChanged(state); });
    refresh(true);
}

void PackageDetailTitleBar::refresh(bool rebindProgress)
{
    if (!m_package)
        return;
    refreshIndicator(rebindProgress);
    m_title->setText(m_package->name());
    refreshButtons();
    m_help->setText(tr("Get Help"));
    m_help->setEnabled(!m_package->helpUrl().trimmed().isEmpty());
    m_manual->setText(tr("Manual"));
    m_manual->setEnabled(!m_package->manualUrl().trimmed().isEmpty());
}

void PackageDetailTitleBar::connectButtons()
{
    connect(m_action, &QPushButton::clicked, this, [this] { actions().install(); });
    connect(m_uninstall, &QPushButton::clicked, this, [this] { actions().uninstall(); });
    connect(m_help, &QPushButton::clicked, this, [this] { actions().openHelp(); });
    connect(m_manual, &QPushButton::clicked, this, [this] { actions().openManual(); });
}

PackageActions PackageDetailTitleBar::actions()
{
    return PackageActions(m_controller, m_package, this);
}

void PackageDetailTitleBar::onStateChanged(Package::State state)
{
    react(state);
    refresh(false);
}

void PackageDetailTitleBar::react(Package::State state)
{
    switch (state) {
    case Package::AVAILABLE:
    case Package::INSTALLED:
        break;
    case Package::PREPARING:
    case Package::DOWNLOADING:
    case Package::INSTALLING:
    case Package::UNINSTALLING:
        m_indicator->setMode(PackageProcessingWidget::BusyMode);
        return;
    case Package::INSTALL_ERROR:
    case Package::DOWNLOAD_ERROR:
        // Fixed, see docs/compatibility.md.
        if (isVisible())
            PackageErrorQueue::of(*this).report(*m_package, state);
        break;
    case Package::DEPENDENCY_ERROR:
        // Told even to a user who looks at something else: it may have been started elsewhere.
        PackageErrorQueue::of(*this).report(*m_package, state);
        break;
    case Package::UNKNOWN:
        return;
    }
    m_indicator->setMode(PackageProcessingWidget::HiddenMode);
}

void PackageDetailTitleBar::refreshIndicator(bool rebindProgress)
{
    const Package::State state = m_package->state();
    const bool busy = showsIndicator(state);
    m_indicator->setMode(busy ? PackageProcessingWidget::BusyMode
                              : PackageProcessingWidget::HiddenMode);
    if (!busy) {
        m_follower.reset();
        showProgress(QString());
    } else if (rebindProgress || !m_follower) {
        followProgress();
    }
}

void PackageDetailTitleBar::refreshButtons()
{
    const Package::State state = m_package->state();
    m_action->setEnabled(true);
    if (state == Package::AVAILABLE) {
        setAction(tr("Download"), QStringLiteral("Download"), DownloadGlyph);
    } else if (state == Package::INSTALLED && m_package->isUpdateAvailable()) {
        setAction(tr("Update"), QStringLiteral("Update"), DownloadGlyph);
    } else if (state == Package::INSTALLED) {
        setAction(tr("Installed"), QStringLiteral("Installed"), InstalledGlyph);
        m_action->setEnabled(false);
    }
    m_uninstall->setText(tr("Uninstall"));
    m_action->setVisible(state == Package::AVAILABLE || state == Package::INSTALLED);
    m_uninstall->setVisible(state == Package::INSTALLED);
    Components::restyle(*m_action, m_action->objectName());
}

void PackageDetailTitleBar::setAction(const QString &text, const QString &objectName, int glyph)
{
    m_action->setText(text);
    m_action->setObjectName(objectName);
    m_action->setIcon(iconFont()->icon(glyph));
}

void PackageDetailTitleBar::followProgress()
{
    m_follower.reset(new ProgressFollower(m_controller, m_package));
    connect(m_follower.data(), &ProgressFollower::textChanged, this,
            &PackageDetailTitleBar::showProgress);
    showProgress(m_follower->text());
}

void PackageDetailTitleBar::showProgress(const QString &text)
{
    m_progress->setText(text);
    m_progress->setVisible(!text.isEmpty());
}

} // namespace Kavo::Ui
