#include "core/ApplicationController.h"

#include <QFile>

#include <algorithm>

namespace Kavo::Controllers {

namespace {

/// A window larger than the screen is kept at its left or upper edge.
int clamped(int position, int screen, int window)
{
    return std::clamp(position, 0, std::max(0, screen - window));
}

} // namespace

void ApplicationController::setX(int x)
{
    if (m_state != MAXIMIZED)
        m_x = clamped(x, m_screen.width(), m_width);
}

void ApplicationController::setY(int y)
{
    if (m_state != MAXIMIZED)
        m_y = clamped(y, m_screen.height(), m_height);
}

void ApplicationController::move(int x, int y)
{
    setX(x);
    setY(y);
    emit geometryChanged();
}

void ApplicationController::setState(State state)
{
    m_state = state;
    emit stateChanged();
}

void ApplicationController::requestExit()
{
    emit exitRequest();
}

void ApplicationController::setScreenSize(const QSize &size)
{
    loadStyle();
    m_screen = size;
    m_x = size.width() / 2 - m_width / 2;
    m_y = size.height() / 2 - m_height / 2;
    emit geometryChanged();
}

void ApplicationController::loadStyle()
{
    QFile file(QStringLiteral(":/resources/style.qss"));
    if (!file.open(QIODevice::ReadOnly))
        return;
    const QString style = QString::fromUtf8(file.readAll());
    file.close();
    emit styleChanged(style);
}

} // namespace Kavo::Controllers
