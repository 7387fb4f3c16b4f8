#include "ui/list/PackageWidget.h"

#include "components/Buttons.h"
#include "components/Glyphs.h"
#include "components/IconFont.h"
#include "components/ObjectNameStyle.h"
#include "components/Picture.h"
#include "components/ProgressBar.h"
#include "downloads/DownloadManager.h"
#include "packages/PackageController.h"
#include "ui/list/ElidedLabel.h"
#include "ui/list/IconLabel.h"
#include "ui/list/NameLabel.h"
#include "ui/list/PlainLine.h"
#include "ui/list/PriceLabel.h"
#include "ui/package/PackageActions.h"
#include "ui/package/PackageErrorQueue.h"
#include "ui/package/ProgressFollower.h"
#include "ui/package/StateLook.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <limits>

namespace Kavo::Ui {

using Controllers::PackageController;
using Models::Download;
using Models::Package;
using Models::PackagePointer;

namespace {

constexpr int DescriptionMargin = 150;
constexpr int ProgressHeight = 16;
constexpr int ActionWidth = 192;
constexpr int NamePoints = 12;
/// Wide enough for most versions, so that the facts of all cards are aligned.
constexpr int FactWidth = 144;
constexpr QColor PriceColor(0x66, 0xb7, 0x71);

/// The progress bar counts kilobytes, because its range is int.
int thousands(qint64 size)
{
    const qint64 largest = std::numeric_limits<int>::max();
    return static_cast<int>(qBound(qint64(0), size / 1000, largest));
}

QString cardDescription(const Package &package)
{
    return plainLine(package.shortDescription().isEmpty() ? package.description()
                                                          : package.shortDescription());
}

} // namespace

PackageWidget::PackageWidget(const QSharedPointer<PackageController> &controller,
                             const PackagePointer &package, QWidget *parent)
    : StyledWidget(QStringLiteral("PackageWidget"), parent)
    , m_controller(controller)
    , m_package(package)
{
    setAccessibleName(m_package->name());
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(16, 8, 16, 8);
    layout->setSpacing(16);
    buildIcon(*layout);
    buildTexts(*layout);
    buildButtons(*layout);

    followPackage();
    // An error that exists already was reported when it occurred.
    showState(m_package->state());
    showRunningDownload();
    fetchIcon();
}

PackageWidget::~PackageWidget() = default;

QString PackageWidget::priceText(const Package &package)
{
    return package.productId() < 1 ? tr("Free") : tr("Paid");
}

void PackageWidget::retire()
{
    // Disconnecting thousands of cards at once would block the event loop.
    m_isRetired = true;
    m_follower.reset();
}

void PackageWidget::followInTabOrder(const PackageWidget &card)
{
    setTabOrder(card.m_detail, m_action);
    setTabOrder(m_action, m_detail);
}

void PackageWidget::focusDetailButton()
{
    m_detail->setFocus(Qt::OtherFocusReason);
}

/// The list shows only the visible cards and those close to them.
void PackageWidget::showEvent(QShowEvent *event)
{
    StyledWidget::showEvent(event);
    preferIcon(true);
}

void PackageWidget::hideEvent(QHideEvent *event)
{
    StyledWidget::hideEvent(event);
    preferIcon(false);
}

void PackageWidget::buildIcon(QHBoxLayout &layout)
{
    m_icon = new IconLabel(m_package->name(), this);
    m_icon->setObjectName(QStringLiteral("PackageIcon"));
    layout.addWidget(m_icon);
}

void PackageWidget::buildTexts(QHBoxLayout &layout)
{
    auto *name = new NameLabel(m_package->name(), this);
    name->setObjectName(QStringLiteral("PackageName"));
    QFont font = name->font();
    font.setBold(true);
    font.setPointSize(NamePoints);
    name->setFont(font);

    auto *description = new ElidedLabel(cardDescription(*m_package), DescriptionMargin, this);
    description->setObjectName(QStringLiteral("PackageDescription"));

    auto *facts = new QHBoxLayout;
    facts->setSpacing(24);
    m_installed = addLabel(*facts, QStringLiteral("PackageInstalled"), tr("Installed : "));
    m_available = addLabel(*facts, QStringLiteral("PackageAvailable"), tr("Available : "));
    m_installed->setMinimumWidth(FactWidth);
    m_available->setMinimumWidth(FactWidth);
    m_status = new PriceLabel(tr("Status : "), this);
    m_status->setObjectName(QStringLiteral("PackageStatus"));
    facts->addWidget(m_status);
    facts->addStretch();

    auto *column = new QVBoxLayout;
    column->setSpacing(8);
    column->addStretch();
    column->addWidget(name);
    column->addWidget(description);
    column->addLayout(facts);
    buildProgress(*column);
    column->addStretch();
    layout.addLayout(column, 1);
}

QLabel *PackageWidget::addLabel(QHBoxLayout &row, const QString &objectName, const QString &text)
{
    auto *label = new QLabel(text, this);
    label->setObjectName(objectName);
    label->setTextFormat(Qt::PlainText);
    row.addWidget(label);
    return label;
}

void PackageWidget::buildProgress(QVBoxLayout &column)
{
    m_progress = new Components::ProgressBar(this);
    m_progress->setObjectName(QStringLiteral("PackageProgress"));
    m_progress->setAccessibleName(tr("Progress: %1").arg(m_package->name()));
    showUnmeasuredProgress();
    m_progress->setMaximumHeight(ProgressHeight);
    m_progress->setTextVisible(false);
    QSizePolicy policy = m_progress->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    m_progress->setSizePolicy(policy);
    column.addWidget(m_progress);
}

void PackageWidget::buildButtons(QHBoxLayout &layout)
{
    // Text and icon are set with the state. The object name is set from the start, so that the
    // button is polished when it is shown; polishing it again now would take a fifth of the time in
    // which a card is created.
    const StateLook look = StateLook::of(m_package->state(), m_package->isUpdateAvailable());
    m_action = Components::makeButton(look.objectName, QString(), QIcon(), this);
    m_action->setMaximumWidth(ActionWidth);
    connect(m_action, &QPushButton::clicked, this,
            [this] { PackageActions(m_controller, m_package, this).install(); });

    const QIcon icon =
        Components::iconFont()->icon(Components::Glyph::Information, Components::darkIconOptions());
    m_detail = Components::makeButton(QStringLiteral("MoreDetail"), tr("More Detail"), icon, this);
    Components::nameAfterSubject(*m_detail, m_package->name());
    connect(m_detail, &QPushButton::clicked, this,
            [this] { emit m_controller->detail(m_package); });

    auto *column = new QVBoxLayout;
    column->setSpacing(8);
    column->addStretch();
    column->addWidget(m_action);
    column->addWidget(m_detail);
    column->addStretch();
    layout.addLayout(column);
}

void PackageWidget::followPackage()
{
    connect(m_package.data(), &Package::totalSize, this, &PackageWidget::setTotalSize);
    connect(m_package.data(), &Package::downloadedSize, this, &PackageWidget::setDownloadedSize);
    connect(m_package.data(), &Package::stateChanged, this, &PackageWidget::onStateChanged);
}

/// Only cards of busy packages have a timer.
void PackageWidget::followProgress(bool busy)
{
    if (busy == !m_follower.isNull())
        return;
    m_follower.reset(busy ? new ProgressFollower(m_controller, m_package) : nullptr);
    m_progress->tell(busy ? m_follower->text() : QString());
    if (busy)
        connect(m_follower.data(), &ProgressFollower::textChanged, m_progress,
                &Components::ProgressBar::tell);
}

/// A card that is created during a download has missed the signal with its size.
void PackageWidget::showRunningDownload()
{
    if (m_package->state() != Package::DOWNLOADING)
        return;
    if (const auto download = m_controller->runningDownload(m_package)) {
        setTotalSize(download->getFileSize());
        setDownloadedSize(download->getCurrentSize());
    }
}

void PackageWidget::onStateChanged(Package::State state)
{
    if (m_isRetired)
        return;
    showState(state);
    if (isInShownList())
        PackageErrorQueue::of(*this).report(*m_package, state);
}

void PackageWidget::showState(Package::State state)
{
    if (state == Package::UNKNOWN)
        return;
    const StateLook look = StateLook::of(state, m_package->isUpdateAvailable());
    applyLook(look);
    followProgress(look.hasProgress);
    if (look.isUnmeasured)
        showUnmeasuredProgress();
    refreshLabels();
}

/// A bar without a range is animated; the duration of unpacking and removing is unknown.
void PackageWidget::showUnmeasuredProgress()
{
    m_progress->setRange(0, 0);
    m_progress->setValue(0);
}

/// The list hides cards that are scrolled far away; their errors are reported like those of the
/// others.
bool PackageWidget::isInShownList() const
{
    const QWidget *list = parentWidget();
    return list ? list->isVisible() : isVisible();
}

void PackageWidget::applyLook(const StateLook &look)
{
    setAccessibleDescription(look.text);
    m_action->setText(look.text);
    Components::nameAfterSubject(*m_action, m_package->name());
    m_action->setEnabled(look.isEnabled);
    m_action->setIcon(Components::iconFont()->icon(look.glyph));
    m_action->setToolTip(look.hint);
    m_action->setAccessibleDescription(look.hint);
    m_progress->setVisible(look.hasProgress);
    if (m_action->objectName() != look.objectName)
        Components::restyle(*m_action, look.objectName);
}

void PackageWidget::refreshLabels()
{
    m_installed->setText(tr("Installed : ") + m_controller->installedVersion(m_package));
    m_available->setText(tr("Available : ") + m_package->newestVersion());
    QFont font = m_available->font();
    font.setWeight(m_package->isUpdateAvailable() ? QFont::Bold : QFont::Normal);
    m_available->setFont(font);
    m_status->setWord(priceText(*m_package), PriceColor);
}

void PackageWidget::setTotalSize(qint64 size)
{
    m_progress->setMaximum(thousands(size));
}

void PackageWidget::setDownloadedSize(qint64 size)
{
    m_progress->setValue(thousands(size));
}

void PackageWidget::fetchIcon()
{
    const auto &downloads = m_controller->downloadManager();
    if (m_package->icon().isEmpty() || !downloads)
        return;
    const auto download = QSharedPointer<Download>::create(m_package->icon(), true, true);
    connect(download.data(), &Download::finished, this,
            [this, source = download.data()](const QString &path) { showIcon(*source, path); });
    // After an error the transfer ends without a picture; the animation continues.
    connect(download.data(), &Download::error, this,
            [this, source = download.data()] { disconnect(source, nullptr, this, nullptr); });
    download->setPatient(true);
    m_iconFetch = download;
    downloads->add(download, false);
}

void PackageWidget::preferIcon(bool preferred)
{
    if (const auto fetch = m_iconFetch.toStrongRef())
        m_controller->downloadManager()->prefer(fetch, preferred);
}

void PackageWidget::showIcon(Download &download, const QString &path)
{
    disconnect(&download, nullptr, this, nullptr);
    if (m_isRetired)
        return;
    m_icon->showPicture(
        Components::loadPicture(path, m_icon->size() * devicePixelRatioF(), Qt::IgnoreAspectRatio));
}

} // namespace Kavo::Ui
