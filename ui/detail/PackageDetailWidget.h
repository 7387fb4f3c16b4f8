#pragma once

#include "components/StyledWidget.h"
#include "packages/model/Package.h"

#include <QSharedPointer>

class QFrame;
class QHBoxLayout;
class QLabel;
class QPushButton;
class QScrollArea;

namespace Kavo::Components {
class Carousel;
}

namespace Kavo::Controllers {
class PackageController;
}

namespace Kavo::Ui {

class FittingTabs;
class PackageDetailInfoWidget;
class PackageDetailOldVersionsList;
class PackageDetailTitleBar;

/// The page with all details of one package. When a package is set, the page is shown from its top
/// and gets the focus. Leaving the page, also with Escape, asks the controller for the list;
/// another widget then hides the page.
class PackageDetailWidget final : public Components::StyledWidget
{
    Q_OBJECT

public:
    explicit PackageDetailWidget(const QSharedPointer<Controllers::PackageController> &controller,
                                 QWidget *parent = nullptr);

    void setPackage(const Models::PackagePointer &package);

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    void scrollToTop();
    QPushButton *makeBackButton();
    QHBoxLayout *makeBackRow();
    QFrame *makeFrame();
    void fillTabs();
    void addTextTab(const QString &objectName, const QString &title, QLabel *text);
    QScrollArea *makeScrollArea(const QString &objectName, const QString &name, QWidget *content);

    QSharedPointer<Controllers::PackageController> m_controller;
    QPushButton *m_back;
    Components::Carousel *m_carousel;
    PackageDetailTitleBar *m_titleBar;
    FittingTabs *m_tabs;
    QLabel *m_description;
    QLabel *m_changeLog;
    PackageDetailOldVersionsList *m_oldVersions;
    PackageDetailInfoWidget *m_info;
    QScrollArea *m_page;
};

} // namespace Kavo::Ui
