#include "components/WindowEdges.h"

#include <QHoverEvent>
#include <QMouseEvent>
#include <QWidget>
#include <QWindow>

namespace Kavo::Components {

namespace {

/// The width of an edge in pixels.
constexpr int Thickness = 6;
/// The length of a corner along each edge.
constexpr int CornerLength = 16;

Qt::CursorShape cursorOf(Qt::Edges edges)
{
    if (edges == (Qt::TopEdge | Qt::LeftEdge) || edges == (Qt::BottomEdge | Qt::RightEdge))
        return Qt::SizeFDiagCursor;
    if (edges == (Qt::TopEdge | Qt::RightEdge) || edges == (Qt::BottomEdge | Qt::LeftEdge))
        return Qt::SizeBDiagCursor;
    return edges & (Qt::LeftEdge | Qt::RightEdge) ? Qt::SizeHorCursor : Qt::SizeVerCursor;
}

Qt::Edges edgesWithin(int distance, const QRect &area, const QPoint &position)
{
    Qt::Edges edges;
    edges.setFlag(Qt::LeftEdge, position.x() - area.left() < distance);
    edges.setFlag(Qt::RightEdge, area.right() - position.x() < distance);
    edges.setFlag(Qt::TopEdge, position.y() - area.top() < distance);
    edges.setFlag(Qt::BottomEdge, area.bottom() - position.y() < distance);
    return edges;
}

} // namespace

WindowEdges::WindowEdges(QWidget *ground) : QObject(ground), m_ground(ground)
{
    // The ground also receives mouse moves over its children and can reset its cursor.
    ground->setAttribute(Qt::WA_Hover);
    ground->installEventFilter(this);
}

bool WindowEdges::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::HoverMove || event->type() == QEvent::HoverEnter) {
        showCursor(edgesAt(static_cast<QHoverEvent *>(event)->pos()));
    } else if (event->type() == QEvent::HoverLeave) {
        showCursor({});
    } else if (event->type() == QEvent::MouseButtonPress) {
        const auto *press = static_cast<QMouseEvent *>(event);
        const Qt::Edges edges = edgesAt(press->pos());
        QWindow *window = m_ground->window()->windowHandle();
        if (press->button() == Qt::LeftButton && edges && window) {
            window->startSystemResize(edges);
            return true;
        }
    }
    return QObject::eventFilter(watched, event);
}

Qt::Edges WindowEdges::edgesAt(const QPoint &position) const
{
    const QWidget *window = m_ground->window();
    if (window->isMaximized() || window->isFullScreen() ||
        !edgesWithin(Thickness, m_ground->rect(), position))
        return {};
    return edgesWithin(CornerLength, m_ground->rect(), position);
}

void WindowEdges::showCursor(Qt::Edges edges)
{
    if (edges == m_shown)
        return;
    m_shown = edges;
    if (edges)
        m_ground->setCursor(cursorOf(edges));
    else
        m_ground->unsetCursor();
}

} // namespace Kavo::Components
