#pragma once

#include <QApplication>
#include <QTimer>

#include <functional>

namespace Kavo::Testing {

/// Runs an action inside the application's event loop and returns whether it asked the program to
/// quit. The action may run nested event loops.
inline bool quits(const std::function<void()> &action)
{
    constexpr int NotAsked = 77;
    // Cancels the second timer when this function returns. A call of exit() after this loop has
    // ended would end the next one.
    QObject context;
    QTimer::singleShot(0, &context, [&action, &context] {
        action();
        QTimer::singleShot(0, &context, [] { QCoreApplication::exit(NotAsked); });
    });
    return QApplication::exec() != NotAsked;
}

} // namespace Kavo::Testing
