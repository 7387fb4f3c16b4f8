#pragma once

#include "components/StyledWidget.h"
#include "packages/Package.h"

#include <QSharedPointer>

class QFrame;
class QHBoxLayout;
class QLabel;
class QScrollArea;
class QTabWidget;

namespace Kavo::Components {
class Carousel;
}

namespace Kavo::Controllers {
class PackageController;
}

namespace Kavo::Ui {

class PackageDetailInfoWidget;
class PackageDetailOldVersionsList;
class PackageDetailTitleBar;

/// One package in full. The page shows itself when a package is set; leaving it asks the controller
/// for the list, upon which somebody else hides it.
class PackageDetailWidget final : public Components::StyledWidget
{
    Q_OBJECT

public:
    explicit PackageDetailWidget(const QSharedPointer<Controllers::PackageController> &controller,
                                 QWidget *parent = nullptr);

    void setPackage(const Models::PackagePointer &package);

protected:
    /// Escape leaves the page.
    void keyPressEvent(QKeyEvent *event) override;

private:
    QHBoxLayout *makeBackRow();
    QFrame *makeFrame();
    void fillTabs();
    QScrollArea *makeScrollArea(const QString &objectName, QWidget *content);

    QSharedPointer<Controllers::PackageController> m_controller;
    Components::Carousel *m_carousel;
    PackageDetailTitleBar *m_titleBar;
    QTabWidget *m_tabs;
    QLabel *m_description;
    QLabel *m_changeLog;
    PackageDetailOldVersionsList *m_oldVersions;
    PackageDetailInfoWidget *m_info;
};

} // namespace Kavo::Ui
