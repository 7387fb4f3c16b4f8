#include "ui/PackageDetailWidget.h"

#include "components/Carousel.h"
#include "components/IconFont.h"
#include "packages/ChangeLog.h"
#include "packages/PackageController.h"
#include "ui/PackageDetailInfoWidget.h"
#include "ui/PackageDetailOldVersionsList.h"
#include "ui/PackageDetailTitleBar.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTabWidget>
#include <QVBoxLayout>

namespace Kavo::Ui {

using Components::Carousel;
using Controllers::PackageController;
using Models::PackagePointer;

namespace {

constexpr int BackGlyph = 0xf060;
constexpr int TabsHeight = 240;

QLabel *makeTextLabel(const QString &objectName, QWidget *parent)
{
    auto *label = new QLabel(parent);
    label->setObjectName(objectName);
    label->setAlignment(Qt::AlignTop);
    return label;
}

} // namespace

PackageDetailWidget::PackageDetailWidget(const QSharedPointer<PackageController> &controller,
                                         QWidget *parent)
    : StyledWidget(QStringLiteral("PackageDetail"), parent)
    , m_controller(controller)
    , m_carousel(new Carousel(controller->downloadManager(), this))
    , m_titleBar(new PackageDetailTitleBar(controller, this))
    , m_tabs(new QTabWidget(this))
    , m_description(makeTextLabel(QStringLiteral("DescriptionText"), this))
    , m_changeLog(makeTextLabel(QStringLiteral("ChangeLogText"), this))
    , m_oldVersions(new PackageDetailOldVersionsList(controller, this))
    , m_info(new PackageDetailInfoWidget(controller, this))
{
    setFocusPolicy(Qt::StrongFocus);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addLayout(makeBackRow());
    layout->addWidget(makeScrollArea(QStringLiteral("DetailScroll"), makeFrame()));
}

void PackageDetailWidget::setPackage(const PackagePointer &package)
{
    if (!package)
        return;
    m_description->setText(package->description());
    m_changeLog->setText(Models::changeLogHtml(package->versions()));
    m_tabs->setCurrentIndex(0);
    m_oldVersions->setPackage(package);
    m_info->setPackage(package);
    m_titleBar->setPackage(package);
    if (!package->banner().isEmpty())
        m_carousel->setImages(package->banner());
    m_carousel->setVisible(!package->banner().isEmpty());
    show();
    setFocus();
}

void PackageDetailWidget::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        m_controller->showList();
    else
        StyledWidget::keyPressEvent(event);
}

QHBoxLayout *PackageDetailWidget::makeBackRow()
{
    auto *button = new QPushButton(tr("Back"), this);
    button->setObjectName(QStringLiteral("BackButton"));
    button->setIcon(Components::iconFont()->icon(BackGlyph, Components::darkIconOptions()));
    button->setCursor(Qt::PointingHandCursor);
    connect(button, &QPushButton::clicked, m_controller.data(), &PackageController::showList);

    auto *row = new QHBoxLayout;
    row->addWidget(button);
    row->addStretch();
    return row;
}

QFrame *PackageDetailWidget::makeFrame()
{
    fillTabs();
    auto *frame = new QFrame(this);
    frame->setObjectName(QStringLiteral("DetailFrame"));
    auto *layout = new QVBoxLayout(frame);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->setSpacing(8);
    layout->addWidget(m_carousel);
    layout->addWidget(m_titleBar);
    layout->addWidget(m_tabs, 1);
    layout->addWidget(m_info);
    return frame;
}

void PackageDetailWidget::fillTabs()
{
    m_description->setWordWrap(true);
    m_changeLog->setTextFormat(Qt::RichText);
    m_tabs->setObjectName(QStringLiteral("DetailTabs"));
    m_tabs->setMovable(false);
    m_tabs->setTabsClosable(false);
    m_tabs->setMinimumHeight(TabsHeight);
    m_tabs->addTab(makeScrollArea(QStringLiteral("DescriptionScroll"), m_description),
                   tr("Description"));
    m_tabs->addTab(makeScrollArea(QStringLiteral("ChangeLogScroll"), m_changeLog),
                   tr("Change log"));
    m_tabs->addTab(m_oldVersions, tr("Old versions"));
}

QScrollArea *PackageDetailWidget::makeScrollArea(const QString &objectName, QWidget *content)
{
    auto *area = new QScrollArea(this);
    area->setObjectName(objectName);
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setWidget(content);
    // The page scrolls with the wheel and the keyboard, but shows no bar.
    area->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    area->verticalScrollBar()->hide();
    return area;
}

} // namespace Kavo::Ui
