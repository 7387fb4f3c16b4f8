#pragma once

#include "components/StyledWidget.h"

#include <QSharedPointer>

class QComboBox;
class QListWidget;
class QVBoxLayout;

namespace Kavo::Controllers {
class PackageController;
}

namespace Kavo::Ui {

/// The panel next to the list with a choice of categories and price types. Choosing has no effect.
class PackageSidebar final : public Components::StyledWidget
{
    Q_OBJECT

public:
    explicit PackageSidebar(const QSharedPointer<Controllers::PackageController> &controller,
                            QWidget *parent = nullptr);
    /// Uses these categories instead of the controller's.
    PackageSidebar(const QSharedPointer<Controllers::PackageController> &controller,
                   const QStringList &categories, QWidget *parent);

private:
    void addChoice(QVBoxLayout &layout, const QString &caption, QWidget *choice);
    QComboBox *makeCategories(const QStringList &categories);
    QListWidget *makeTypes();

    QSharedPointer<Controllers::PackageController> m_controller;
};

} // namespace Kavo::Ui
