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
/// A short list is filled at once. Of a long one the rows stand at once, in order and in their
/// sizes, with the cards that the first screen shows; the others follow in short turns of the event
/// loop, first those that are scrolled to. A card asks for its icon when it is made, and icons of
/// cards that are shown come first. Of a package whose card is yet to come the errors are reported
/// here. Main thread.
class PackageCards final : public QObject
{
    Q_OBJECT

public:
    /// The list has to outlive the object.
    PackageCards(Components::WidgetList *list,
                 const QSharedPointer<Controllers::PackageController> &controller,
                 QObject *parent = nullptr);

    /// Replaces all cards by those of the controller's present packages. The list stays shown or
    /// hidden.
    void rebuild();
    /// Lists only the packages whose bit is set. Those in sight have their cards at once.
    void list(const QBitArray &packages);
    /// Makes the card if it is not there yet; null without such a package in the list.
    PackageWidget *cardOf(int packageId);
    /// The same for the first package in the list, or in the part of the list that is in sight.
    PackageWidget *firstCard();
    PackageWidget *firstCardInSight();

signals:
    /// All cards of the last rebuild() are there.
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
    /// No row before this one is empty.
    int m_next = 0;
    int m_lowest = 0;
    /// Context of the connections to packages whose cards come later, until all are there.
    QScopedPointer<QObject> m_withoutCard;
    QTimer m_turns;
};

} // namespace Kavo::Ui
