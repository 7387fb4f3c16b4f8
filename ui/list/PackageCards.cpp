#include "ui/list/PackageCards.h"

#include "components/WidgetList.h"
#include "packages/PackageController.h"
#include "ui/list/PackageWidget.h"
#include "ui/package/PackageErrorQueue.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QScreen>

namespace Kavo::Ui {

using Components::WidgetList;
using Controllers::PackageController;
using Models::Package;

namespace {

constexpr int RowHeight = 128;
/// The number of cards that are created without a noticeable delay.
constexpr int CountAtOnce = 100;
/// The length of a turn in milliseconds: half a frame at 60 Hz.
constexpr int TurnLength = 8;
/// The delay of the first turn in milliseconds, so that the first screen is painted before it.
constexpr int FirstTurnDelay = 16;

/// The largest number of visible rows; a window may be larger than the screen.
int rowsOfAScreen(const QWidget &window)
{
    const int height = qMax(QGuiApplication::primaryScreen()->size().height(), window.height());
    return height / RowHeight + 2;
}

} // namespace

PackageCards::PackageCards(WidgetList *list, const QSharedPointer<PackageController> &controller,
                           QObject *parent)
    : QObject(parent)
    , m_list(list)
    , m_controller(controller)
{
    connect(m_list, &WidgetList::rowNeeded, this, &PackageCards::buildRow);
    connect(&m_turns, &QTimer::timeout, this, &PackageCards::takeTurn);
}

void PackageCards::rebuild()
{
    m_turns.stop();
    // Every row that is added to a visible list would trigger a new layout.
    const bool shown = !m_list->isHidden();
    m_list->hide();
    for (int row = 0; row < m_list->count(); ++row) {
        if (PackageWidget *card = cardIn(row))
            card->retire();
    }
    m_withoutCard.reset();
    m_list->clearRows();
    m_packages = m_controller->packages();
    m_next = 0;
    m_lowest = 0;
    if (!m_packages.isEmpty())
        fill();
    m_list->setVisible(shown);
    if (nextRow() < 0)
        finish();
    else
        m_turns.start(FirstTurnDelay);
}

void PackageCards::list(const QBitArray &packages)
{
    m_list->listRows(packages);
    buildVisibleRows();
}

PackageWidget *PackageCards::cardOf(int packageId)
{
    for (int row = 0; row < m_packages.size(); ++row) {
        if (m_packages.at(row)->id() == packageId && m_list->isListed(row))
            return cardMadeFor(row);
    }
    return nullptr;
}

PackageWidget *PackageCards::firstCard()
{
    return cardMadeFor(m_list->firstRow());
}

PackageWidget *PackageCards::firstCardInSight()
{
    return cardMadeFor(m_list->visibleRows().value(0, -1));
}

void PackageCards::fill()
{
    PackageWidget *first = makeCard(0);
    const QSize size(first->sizeHint().width(), RowHeight);
    for (int row = 0; row < m_packages.size(); ++row)
        m_list->appendRow(size);
    place(0, first);
    const int count = m_packages.size();
    const int atOnce = count <= CountAtOnce ? count : qMin(count, rowsOfAScreen(*m_list->window()));
    for (int row = 1; row < atOnce; ++row)
        buildRow(row);
    followPackagesWithoutCard();
}

/// A card that is created later reports the same error again, which the queue recognises.
void PackageCards::followPackagesWithoutCard()
{
    m_withoutCard.reset(new QObject);
    for (int row = 0; row < m_packages.size(); ++row) {
        if (cardIn(row))
            continue;
        const Package *package = m_packages.at(row).data();
        connect(package, &Package::stateChanged, m_withoutCard.data(),
                [this, package](Package::State state) {
                    if (m_list->isVisible())
                        PackageErrorQueue::of(*m_list).report(*package, state);
                });
    }
}

void PackageCards::takeTurn()
{
    m_turns.setInterval(0);
    QElapsedTimer turn;
    turn.start();
    do {
        const int row = nextRow();
        if (row < 0) {
            finish();
            return;
        }
        buildRow(row);
    } while (turn.elapsed() < TurnLength);
}

void PackageCards::finish()
{
    m_turns.stop();
    m_withoutCard.reset();
    emit complete();
}

/// The row whose card is created next, -1 if all exist.
int PackageCards::nextRow()
{
    const QVector<int> visible = m_list->visibleRows();
    for (const int row : visible) {
        if (!m_list->rowWidget(row))
            return row;
    }
    while (m_next < m_packages.size() && m_list->rowWidget(m_next))
        ++m_next;
    return m_next < m_packages.size() ? m_next : -1;
}

void PackageCards::buildRow(int row)
{
    if (!m_list->rowWidget(row))
        place(row, makeCard(row));
}

PackageWidget *PackageCards::cardMadeFor(int row)
{
    if (row < 0)
        return nullptr;
    buildRow(row);
    return cardIn(row);
}

void PackageCards::buildVisibleRows()
{
    const QVector<int> visible = m_list->visibleRows();
    for (const int row : visible)
        buildRow(row);
}

void PackageCards::place(int row, PackageWidget *card)
{
    m_list->setRowWidget(row, card);
    // Without this, the tab order would be the order in which the cards were created.
    int above = row - 1;
    while (row < m_lowest && above >= 0 && !cardIn(above))
        --above;
    if (row < m_lowest && above >= 0)
        card->followInTabOrder(*cardIn(above));
    m_lowest = qMax(m_lowest, row);
}

PackageWidget *PackageCards::makeCard(int row) const
{
    return new PackageWidget(m_controller, m_packages.at(row), m_list->viewport());
}

PackageWidget *PackageCards::cardIn(int row) const
{
    return static_cast<PackageWidget *>(m_list->rowWidget(row));
}

} // namespace Kavo::Ui
