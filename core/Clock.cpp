#include "core/Clock.h"

#include <QElapsedTimer>

namespace Kavo {

Clock steadyClock()
{
    QElapsedTimer timer;
    timer.start();
    return [timer] { return timer.elapsed(); };
}

} // namespace Kavo
