#pragma once

#include <QApplication>
#include <QTimer>

#include <functional>

namespace Kavo::Testing {

/// Runs an action inside the application's event loop and tells whether the action asked the
/// program to quit. The action may run event loops of its own.
inline bool quits(const std::function<void()> &action)
{
    constexpr int NotAsked = 77;
    // Goes with the function: an exit after the loop has ended would end the next one.
    QObject context;
    QTimer::singleShot(0, &context, [&action, &context] {
        action();
        QTimer::singleShot(0, &context, [] { QCoreApplication::exit(NotAsked); });
    });
    return QApplication::exec() != NotAsked;
}

} // namespace Kavo::Testing
