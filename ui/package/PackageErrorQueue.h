#pragma once

#include "packages/model/Package.h"

#include <QList>
#include <QObject>

class QWidget;

namespace Kavo::Ui {

/// Shows the errors of packages in message boxes, one after another, and never over another dialog.
///
/// There is one queue for each window, owned by it. The reporting widget decides whether the user
/// is to be told; a later refresh or change of page removes nothing from the queue. Main thread.
class PackageErrorQueue final : public QObject
{
    Q_OBJECT

public:
    /// The queue of the widget's window, created at the first call.
    static PackageErrorQueue &of(const QWidget &widget);

    /// Adds the error to the queue, unless it is already there, because two widgets may report the
    /// same error. Returns immediately. Ignores states that are not errors.
    void report(const Models::Package &package, Models::Package::State state);

private:
    struct Error
    {
        int packageId;
        Models::Package::State state;
        QString packageName;
        QString reason;
    };

    explicit PackageErrorQueue(QWidget *window);
    void goOn();
    void showNext();

    QWidget *m_window;
    QList<Error> m_waiting;
    bool m_showing = false;
};

} // namespace Kavo::Ui
