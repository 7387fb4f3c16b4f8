#include "ui/detail/PackageDetailTitleBar.h"

#include "components/Buttons.h"
#include "components/Glyphs.h"
#include "components/IconFont.h"
#include "components/ObjectNameStyle.h"
#include "packages/PackageController.h"
#include "ui/package/PackageActions.h"
#include "ui/package/PackageErrorQueue.h"
#include "ui/package/PackageProcessingWidget.h"
#include "ui/package/ProgressFollower.h"
#include "ui/package/StateLook.h"

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

constexpr int MinimalTitleWidth = 160;

} // namespace

PackageDetailTitleBar::PackageDetailTitleBar(
    const QSharedPointer<Controllers::PackageController> &controller, QWidget *parent)
    : StyledWidget(QStringLiteral("PackageDetailTitleBar"), parent)
    , m_controller(controller)
    , m_title(new QLabel(this))
    , m_progress(new QLabel(this))
    , m_indicator(new PackageProcessingWidget(this))
    , m_action(makeButton(QStringLiteral("Download"), QString(),
                          iconFont()->icon(Components::Glyph::Download), this))
    , m_uninstall(makeButton(QStringLiteral("Uninstall"), QString(),
                             iconFont()->icon(Components::Glyph::Bin), this))
    , m_help(makeButton(QStringLiteral("GetHelp"), QString(),
                        iconFont()->icon(Components::Glyph::QuestionMark, darkIconOptions()), this))
    , m_manual(makeButton(QStringLiteral("Manual"), QString(),
                          iconFont()->icon(Components::Glyph::Book, darkIconOptions()), this))
{
    m_title->setObjectName(QStringLiteral("DetailTitle"));
    m_title->setTextFormat(Qt::PlainText);
    m_title->setWordWrap(true);
    // A name without a break opportunity must not push the buttons off the page.
    m_title->setMinimumWidth(MinimalTitleWidth);
    m_progress->setObjectName(QStringLiteral("DetailProgress"));
    m_progress->setTextFormat(Qt::PlainText);
    m_progress->setWordWrap(true);
    m_progress->setMinimumWidth(MinimalTitleWidth);
    m_progress->hide();
    m_indicator->setMode(PackageProcessingWidget::HiddenMode);
    connectButtons();

    // Next to the animation, a changing text would move it.
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
    showState();
}

void PackageDetailTitleBar::showState()
{
    const StateLook look = StateLook::of(m_package->state(), m_package->isUpdateAvailable());
    showIndicator(look);
    m_title->setText(m_package->name());
    showAction(look);
    m_uninstall->setText(tr("Uninstall"));
    m_uninstall->setVisible(look.isRemovable);
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
    // Fixed, see docs/compatibility.md.
    if (isVisible() || StateLook::of(state, false).isAlwaysTold)
        PackageErrorQueue::of(*this).report(*m_package, state);
    showState();
}

void PackageDetailTitleBar::showIndicator(const StateLook &look)
{
    m_indicator->setMode(look.hasIndicator ? PackageProcessingWidget::BusyMode
                                           : PackageProcessingWidget::HiddenMode);
    if (!look.hasIndicator) {
        m_follower.reset();
        showProgress(QString());
    } else if (!m_follower) {
        followProgress();
    }
}

void PackageDetailTitleBar::showAction(const StateLook &look)
{
    m_action->setEnabled(look.isEnabled || !look.isOnPage);
    m_action->setVisible(look.isOnPage);
    if (look.isOnPage) {
        m_action->setText(look.text);
        m_action->setObjectName(look.objectName);
        m_action->setIcon(iconFont()->icon(look.glyph));
    }
    Components::restyle(*m_action, m_action->objectName());
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
