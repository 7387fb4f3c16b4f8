#pragma once

#include "components/StyledWidget.h"
#include "packages/Package.h"

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

private:
    void followController();
    void build();
    void buildList();

    void showBusy();
    void showEmpty();
    void showList();
    void showError(const QString &message);
    void showDetail(const Models::PackagePointer &package);
    bool hasFocusIn(const QWidget &part) const;
    /// Hides everything but the processing panel.
    void hideContent();

    QSharedPointer<Controllers::PackageController> m_controller;
    Components::WidgetList *m_list;
    PackageCards *m_cards;
    PackageDetailWidget *m_detail;
    PackageProcessingWidget *m_processing;
    PackageSidebar *m_sidebar;
    /// The package that was opened last.
    int m_openedId = 0;
};

} // namespace Kavo::Ui
