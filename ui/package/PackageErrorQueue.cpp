#include "ui/package/PackageErrorQueue.h"

#include "ui/package/PackageErrorBox.h"
#include "ui/package/StateLook.h"

#include <QApplication>
#include <QPointer>
#include <QWidget>

#include <algorithm>

namespace Kavo::Ui {

using Models::Package;

PackageErrorQueue &PackageErrorQueue::of(const QWidget &widget)
{
    QWidget *window = widget.window();
    auto *queue = window->findChild<PackageErrorQueue *>(QString(), Qt::FindDirectChildrenOnly);
    return queue ? *queue : *new PackageErrorQueue(window);
}

PackageErrorQueue::PackageErrorQueue(QWidget *window) : QObject(window), m_window(window) {}

void PackageErrorQueue::report(const Package &package, Package::State state)
{
    if (StateLook::of(state, false).failure.isEmpty())
        return;
    const bool isKnown = state == Package::INSTALL_ERROR;
    const Error error{package.id(), state, package.name(),
                      isKnown ? package.failure().text() : QString()};
    const bool waits =
        std::any_of(m_waiting.cbegin(), m_waiting.cend(), [&error](const Error &other) {
            return other.packageId == error.packageId && other.state == error.state &&
                   other.packageName == error.packageName;
        });
    if (waits)
        return;
    m_waiting.append(error);
    goOn();
}

/// Delayed: the caller that set the state still has to record it, and a box blocks until it is
/// answered.
void PackageErrorQueue::goOn()
{
    QMetaObject::invokeMethod(this, &PackageErrorQueue::showNext, Qt::QueuedConnection);
}

void PackageErrorQueue::showNext()
{
    if (m_showing || m_waiting.isEmpty())
        return;
    if (const QWidget *dialog = QApplication::activeModalWidget()) {
        // Not when the dialog closes: a box inside its event loop would delay its result. Every
        // dialog is deleted after its loop has ended.
        connect(dialog, &QObject::destroyed, this, &PackageErrorQueue::goOn, Qt::UniqueConnection);
        return;
    }
    const Error error = m_waiting.takeFirst();
    const QPointer<PackageErrorQueue> self(this);
    m_showing = true;
    PackageErrorBox::show(m_window, error.state, error.packageName, error.reason);
    if (!self)
        return;
    m_showing = false;
    goOn();
}

} // namespace Kavo::Ui
