#pragma once

#include "packages/model/Package.h"

#include <QBitArray>
#include <QObject>
#include <QScopedPointer>
#include <QSharedPointer>
#include <QTimer>

namespace Kavo::Components {
class WidgetList;
}

namespace Kavo::Controllers {
class PackageController;
}

namespace Kavo::Ui {

class PackageWidget;

/// Fills a list with the cards of all packages.
///
/// A short list is filled immediately. In a long list all rows are created immediately, in their
/// order and size, with the cards of the first screen; the other cards follow in short turns of the
/// event loop, starting with the visible rows. A card requests its icon when it is created, and
/// icons of visible cards have priority. Errors of packages without a card are reported here. Main
/// thread.
class PackageCards final : public QObject
{
    Q_OBJECT

public:
    /// The list must outlive this object.
    PackageCards(Components::WidgetList *list,
                 const QSharedPointer<Controllers::PackageController> &controller,
                 QObject *parent = nullptr);

    /// Replaces all cards by those of the controller's present packages. Does not change whether
    /// the list is shown or hidden.
    void rebuild();
    /// Lists only the packages whose bit is set, and creates the cards of the visible ones.
    void list(const QBitArray &packages);
    /// Returns the card of a package, creating it if necessary; null if the package is not listed.
    PackageWidget *cardOf(int packageId);
    /// Returns the card of the first listed package, or of the first one that is visible.
    PackageWidget *firstCard();
    PackageWidget *firstCardInSight();

signals:
    /// All cards of the last rebuild() exist.
    void complete();

private:
    void fill();
    void followPackagesWithoutCard();
    void takeTurn();
    void finish();
    int nextRow();
    void buildRow(int row);
    PackageWidget *cardMadeFor(int row);
    void buildVisibleRows();
    void place(int row, PackageWidget *card);
    PackageWidget *makeCard(int row) const;
    PackageWidget *cardIn(int row) const;

    Components::WidgetList *m_list;
    QSharedPointer<Controllers::PackageController> m_controller;
    Models::PackageList m_packages;
    /// All rows before this one have cards.
    int m_next = 0;
    int m_lowest = 0;
    /// Context of the connections to packages without a card, until all cards exist.
    QScopedPointer<QObject> m_withoutCard;
    QTimer m_turns;
};

} // namespace Kavo::Ui
