#pragma once

#include <QObject>

class QWidget;

namespace Kavo::Components {

/// Lets the user resize a window without a system frame by its edges and corners: it shows the
/// resize cursors, and the window system does the rest. A maximised or full-screen window cannot be
/// resized.
class WindowEdges final : public QObject
{
    Q_OBJECT

public:
    /// `ground` is the widget that fills the window and owns this object. Its children must leave
    /// its edges free, so that they get the mouse events.
    explicit WindowEdges(QWidget *ground);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    Qt::Edges edgesAt(const QPoint &position) const;
    void showCursor(Qt::Edges edges);

    QWidget *m_ground;
    Qt::Edges m_shown; ///< edges shown by the cursor
};

} // namespace Kavo::Components
