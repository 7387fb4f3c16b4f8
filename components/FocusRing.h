#pragma once

#include <QColor>
#include <QFocusFrame>
#include <QPointer>

class QPushButton;

namespace Kavo::Components {

/// A ring around the push button with the focus. A white gap between them makes it visible on
/// buttons and backgrounds of every colour. Its parent is the window of the button, or the content
/// of the scroll area around it. Qt hides frames of this kind from screen readers.
class FocusRing final : public QFocusFrame
{
    Q_OBJECT
    /// Set by the style sheet.
    Q_PROPERTY(QColor color READ color WRITE setColor)

public:
    /// Makes a ring follow the focus in all windows while `follower` exists.
    static void follow(QObject *follower);

    QColor color() const { return m_color; }
    void setColor(const QColor &color);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    explicit FocusRing(QPushButton *button);

    void place();

    QPointer<QPushButton> m_button;
    QColor m_color = Qt::transparent;
};

} // namespace Kavo::Components
