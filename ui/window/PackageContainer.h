#pragma once

#include "components/StyledWidget.h"
#include "packages/model/Package.h"

#include <QSharedPointer>

class QHBoxLayout;

namespace Kavo::Components {
class WidgetList;
}

namespace Kavo::Controllers {
class PackageController;
}

namespace Kavo::Ui {

class PackageCards;
class PackageDetailWidget;
class PackageFilter;
class PackageProcessingWidget;
class PackageSidebar;

/// The central area: the list of cards with the sidebar, or one package in detail, or a panel that
/// tells why there is neither. It shows what the package controller's signals ask for.
class PackageContainer final : public Components::StyledWidget
{
    Q_OBJECT

public:
    explicit PackageContainer(const QSharedPointer<Controllers::PackageController> &controller,
                              QWidget *parent = nullptr);

    /// Gives the keyboard to the first card of the list, if there is one.
    void focusFirstCard();
    /// The same for the first card in sight, and tells whether there is one.
    bool focusCardInSight();

    /// Lists only the packages that answer to the text, from now on. While a package is shown in
    /// detail the list is shown instead.
    void search(const QString &text);
    /// Shows the list, and gives the keyboard to the first card of what was found.
    void goToFound();

signals:
    /// Somebody types while the list has the keyboard.
    void typed(const QString &text);
    /// Escape was pressed in a list that is filtered.
    void searchCancelled();
    /// How many packages are found, for screen readers; empty without a search.
    void searchDescribed(const QString &result);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void followController();
    void followFilter();
    void build();
    void buildList();

    void rebuild();
    void showBusy();
    void showEmpty();
    void showList();
    void showError(const QString &message);
    void showDetail(const Models::PackagePointer &package);
    void listFound();
    void showListOrNothing();
    void returnToPlace();
    void describeSearch();
    bool hasFocusIn(const QWidget &part) const;
    /// Hides everything but the processing panel.
    void hideContent();

    QSharedPointer<Controllers::PackageController> m_controller;
    Components::WidgetList *m_list;
    PackageCards *m_cards;
    PackageDetailWidget *m_detail;
    PackageProcessingWidget *m_processing;
    PackageSidebar *m_sidebar;
    PackageFilter *m_filter;
    /// Whether the list is what is to be shown, or that nothing was found for it.
    bool m_showsList = false;
    /// Where the list stood before it was filtered.
    int m_scrollBefore = 0;
    /// The package that was opened last.
    int m_openedId = 0;
};

} // namespace Kavo::Ui
