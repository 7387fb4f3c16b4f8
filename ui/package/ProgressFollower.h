#pragma once

#include "packages/model/Package.h"

#include <QObject>
#include <QSharedPointer>
#include <QString>
#include <QTimer>

namespace Kavo::Controllers {
class PackageController;
}

namespace Kavo::Ui {

/// Follows the work on one package and describes its progress in words, updated about twice a
/// second. Should exist only while the package is busy, so that an idle program has no timers. Main
/// thread.
class ProgressFollower final : public QObject
{
    Q_OBJECT

public:
    ProgressFollower(const QSharedPointer<Controllers::PackageController> &controller,
                     const Models::PackagePointer &package);

    /// The present text, empty if there is nothing to report.
    const QString &text() const { return m_text; }

signals:
    void textChanged(const QString &text);

private:
    void followSizes();
    void refresh();

    QSharedPointer<Controllers::PackageController> m_controller;
    Models::PackagePointer m_package;
    qint64 m_received;
    qint64 m_total;
    QString m_text;
    QTimer m_ticks;
};

} // namespace Kavo::Ui
