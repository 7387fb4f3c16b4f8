#pragma once

#include "packages/model/Package.h"

#include <QCoreApplication>
#include <QPointer>
#include <QSharedPointer>
#include <QWidget>

namespace Kavo::Controllers {
class PackageController;
}

namespace Kavo {
class FailedPaths;
}

namespace Kavo::Models {
struct Removal;
struct RemovalFaults;
} // namespace Kavo::Models

namespace Kavo::Ui {

/// The actions that the user can start for one package, with their confirmation boxes.
///
/// Create one for a click and let it go. The boxes run their own event loops, during which the
/// requesting widget may be destroyed; then the action ends. Without a package nothing happens.
class PackageActions final
{
    Q_DECLARE_TR_FUNCTIONS(Kavo::Ui::PackageActions)

public:
    PackageActions(const QSharedPointer<Controllers::PackageController> &controller,
                   const Models::PackagePointer &package, QWidget *widget);

    /// Installs the newest version or updates to it.
    void install();
    /// Installs a chosen version of a package that is available or installed.
    void installVersion(const QString &version);
    void uninstall();
    void openHelp();
    void openManual();

private:
    bool confirmChangeLog(const QString &version);
    bool confirmDependencies();
    bool confirmDependents(const QString &version);
    bool confirmRemoval(const Models::PackageList &others);
    bool ask(const QString &title, const QString &text);
    void tellOf(const Models::Removal &removal);
    void warnOf(const Models::RemovalFaults &faults);
    void start(const QString &version);
    static QString pathList(const FailedPaths &failed);
    static QString nameList(const Models::PackageList &packages);

    QSharedPointer<Controllers::PackageController> m_controller;
    Models::PackagePointer m_package;
    QPointer<QWidget> m_widget;
};

} // namespace Kavo::Ui
