#pragma once

#include "packages/model/Package.h"

#include <QList>
#include <QObject>

class QWidget;

namespace Kavo::Ui {

/// Tells of failed work in message boxes: one after another, and never over another dialog.
///
/// There is one queue for each window, and it goes with the window. Whoever reports an error
/// decides at that moment whether the user is to hear of it; what comes after, be it a refresh or
/// another page, takes nothing out of the queue. Main thread.
class PackageErrorQueue final : public QObject
{
    Q_OBJECT

public:
    /// The queue of the widget's window, made when it is first asked for.
    static PackageErrorQueue &of(const QWidget &widget);

    /// Puts the error at the end of the queue, unless it waits there already: two places may report
    /// one and the same. Returns at once. Of a state that is no error nothing is told.
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
