#include "tests/support/RunUntil.h"

#include <QEventLoop>
#include <QTimer>

namespace Kavo::Testing {

bool runUntil(const std::function<bool()> &condition, int milliseconds)
{
    constexpr int LookInterval = 2;
    QEventLoop loop;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &loop, [&loop, &condition] {
        if (condition())
            loop.quit();
    });
    look.start(LookInterval);
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    if (!condition())
        loop.exec();
    return condition();
}

} // namespace Kavo::Testing
