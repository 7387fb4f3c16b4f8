#include "ui/detail/PackageDetailWidget.h"

#include "components/Buttons.h"
#include "components/Carousel.h"
#include "components/Glyphs.h"
#include "components/IconFont.h"
#include "packages/PackageController.h"
#include "packages/model/ChangeLog.h"
#include "ui/detail/FittingTabs.h"
#include "ui/detail/PackageDetailInfoWidget.h"
#include "ui/detail/PackageDetailOldVersionsList.h"
#include "ui/detail/PackageDetailTitleBar.h"
#include "ui/package/ForeignText.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QShortcut>
#include <QVBoxLayout>

namespace Kavo::Ui {

using Components::Carousel;
using Controllers::PackageController;
using Models::PackagePointer;

namespace {

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
    , m_back(makeBackButton())
    , m_carousel(new Carousel(controller->downloadManager(), this))
    , m_titleBar(new PackageDetailTitleBar(controller, this))
    , m_tabs(new FittingTabs(this))
    , m_description(makeTextLabel(QStringLiteral("DescriptionText"), this))
    , m_changeLog(makeTextLabel(QStringLiteral("ChangeLogText"), this))
    , m_oldVersions(new PackageDetailOldVersionsList(controller, this))
    , m_info(new PackageDetailInfoWidget(controller, this))
    , m_page(makeScrollArea(QStringLiteral("DetailScroll"), tr("Page"), makeFrame()))
{
    // For the whole window, because the focus may be in the bar.
    connect(new QShortcut(Qt::Key_Escape, this), &QShortcut::activated, m_controller.data(),
            &PackageController::showList);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addLayout(makeBackRow());
    layout->addWidget(m_page);
}

void PackageDetailWidget::setPackage(const PackagePointer &package)
{
    if (!package)
        return;
    setAccessibleName(package->name());
    showForeignText(*m_description, foreignText(package->description()));
    showForeignText(*m_changeLog, foreignRichText(Models::changeLogHtml(package->versions())));
    m_tabs->setCurrentIndex(0);
    m_oldVersions->setPackage(package);
    // In the tab order the page itself comes after its content.
    const auto rowButtons = m_oldVersions->findChildren<QPushButton *>();
    if (!rowButtons.isEmpty())
        setTabOrder(rowButtons.last(), m_page);
    m_info->setPackage(package);
    m_titleBar->setPackage(package);
    if (!package->banner().isEmpty())
        m_carousel->setImages(package->banner());
    m_carousel->setVisible(!package->banner().isEmpty());
    m_tabs->fit();
    scrollToTop();
    show();
    m_back->setFocus();
}

void PackageDetailWidget::resizeEvent(QResizeEvent *event)
{
    StyledWidget::resizeEvent(event);
    // A higher page would have to be scrolled past to reach the content below.
    m_tabs->setLargestPage(m_page->height() * 3 / 4);
}

void PackageDetailWidget::scrollToTop()
{
    const auto areas = findChildren<QAbstractScrollArea *>();
    for (const QAbstractScrollArea *area : areas) {
        area->verticalScrollBar()->triggerAction(QAbstractSlider::SliderToMinimum);
        area->horizontalScrollBar()->triggerAction(QAbstractSlider::SliderToMinimum);
    }
}

QPushButton *PackageDetailWidget::makeBackButton()
{
    const QIcon icon =
        Components::iconFont()->icon(Components::Glyph::ArrowLeft, Components::darkIconOptions());
    QPushButton *button =
        Components::makeButton(QStringLiteral("BackButton"), tr("Back"), icon, this);
    connect(button, &QPushButton::clicked, m_controller.data(), &PackageController::showList);
    return button;
}

QHBoxLayout *PackageDetailWidget::makeBackRow()
{
    auto *row = new QHBoxLayout;
    row->addWidget(m_back);
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
    layout->addWidget(m_tabs);
    layout->addWidget(m_info);
    layout->addStretch();
    return frame;
}

void PackageDetailWidget::fillTabs()
{
    m_description->setWordWrap(true);
    m_changeLog->setTextFormat(Qt::RichText);
    m_tabs->setObjectName(QStringLiteral("DetailTabs"));
    m_tabs->setAccessibleName(tr("Details"));
    m_tabs->setMovable(false);
    m_tabs->setTabsClosable(false);
    addTextTab(QStringLiteral("DescriptionScroll"), tr("Description"), m_description);
    addTextTab(QStringLiteral("ChangeLogScroll"), tr("Change log"), m_changeLog);
    m_tabs->addTab(m_oldVersions, tr("Old versions"));
}

void PackageDetailWidget::addTextTab(const QString &objectName, const QString &title, QLabel *text)
{
    m_tabs->addTab(makeScrollArea(objectName, title, text), title);
}

QScrollArea *PackageDetailWidget::makeScrollArea(const QString &objectName, const QString &name,
                                                 QWidget *content)
{
    auto *area = new QScrollArea(this);
    area->setObjectName(objectName);
    area->setAccessibleName(name);
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setWidget(content);
    // The page scrolls with the wheel and the keyboard, but shows no bar.
    // Fixed, see docs/compatibility.md.
    area->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    area->verticalScrollBar()->hide();
    return area;
}

} // namespace Kavo::Ui
