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

/// The central area: the list of cards with the sidebar, the detail view, or a panel that explains
/// why neither is shown. It shows what the package controller's signals ask for.
class PackageContainer final : public Components::StyledWidget
{
    Q_OBJECT

public:
    explicit PackageContainer(const QSharedPointer<Controllers::PackageController> &controller,
                              QWidget *parent = nullptr);

    /// Sets the focus to the first card of the list, if there is one.
    void focusFirstCard();
    /// Sets the focus to the first visible card and returns whether there is one.
    bool focusCardInSight();

    /// Lists only the packages that match the text from now on. If the detail view is shown, it is
    /// replaced by the list.
    void search(const QString &text);
    /// Shows the list and sets the focus to the first card of the result.
    void goToFound();

signals:
    /// A character was typed while the list had the focus.
    void typed(const QString &text);
    /// Escape was pressed in a filtered list.
    void searchCancelled();
    /// The number of found packages as text for screen readers; empty without a search.
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
    /// Whether the list should be shown, or the panel for an empty search result.
    bool m_showsList = false;
    /// The scroll position of the list before it was filtered.
    int m_scrollBefore = 0;
    /// The package that was opened last.
    int m_openedId = 0;
};

} // namespace Kavo::Ui
