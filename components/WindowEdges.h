#pragma once

#include <QObject>

class QWidget;

namespace Kavo::Components {

/// Lets the user drag the edges and corners of a window without a system frame: the pointer shows
/// where, and the window system does the rest. A maximised window or one in full screen has no such
/// edges.
class WindowEdges final : public QObject
{
    Q_OBJECT

public:
    /// Belongs to the ground, the widget that fills the window. What lies on it keeps off its
    /// edges, so that they get the mouse.
    explicit WindowEdges(QWidget *ground);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    Qt::Edges edgesAt(const QPoint &position) const;
    void showCursor(Qt::Edges edges);

    QWidget *m_ground;
    Qt::Edges m_shown; ///< by the cursor
};

} // namespace Kavo::Components
