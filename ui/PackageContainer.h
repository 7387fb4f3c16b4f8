#pragma once

#include "components/StyledWidget.h"
#include "packages/Package.h"

#include <QPointer>
#include <QSharedPointer>

class QHBoxLayout;
class QListWidget;

namespace Kavo::Controllers {
class PackageController;
}

namespace Kavo::Ui {

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

private:
    void followController();
    void build();
    void buildList();

    void rebuildList();
    void clearRows();
    void addRow();
    void buildCard(int row);

    void showBusy();
    void showEmpty();
    void showList();
    void showError(const QString &message);
    void showDetail(const Models::PackagePointer &package);
    /// Hides everything but the processing panel.
    void hideContent();

    QSharedPointer<Controllers::PackageController> m_controller;
    QListWidget *m_list;
    PackageDetailWidget *m_detail;
    PackageProcessingWidget *m_processing;
    PackageSidebar *m_sidebar;
    /// Where the keyboard was before a package was opened.
    QPointer<QWidget> m_focusInList;
};

} // namespace Kavo::Ui
