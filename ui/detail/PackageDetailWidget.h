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

/// One package in full. The page shows itself at its top and takes the keyboard when a package is
/// set; leaving it, also with Escape, asks the controller for the list, upon which somebody else
/// hides it.
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
