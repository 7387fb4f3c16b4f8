#pragma once

#include <QColor>
#include <QFocusFrame>
#include <QPointer>

class QPushButton;

namespace Kavo::Components {

/// A ring around the push button that has the keyboard, with a white gap between them, so that it
/// is seen on buttons and grounds of every colour. It lies in the window of the button, or in the
/// part of it that is scrolled, and goes with that. Qt keeps frames of this kind from screen
/// readers.
class FocusRing final : public QFocusFrame
{
    Q_OBJECT
    /// The style sheet sets it.
    Q_PROPERTY(QColor color READ color WRITE setColor)

public:
    /// From now on a ring goes where the keyboard goes, in all windows, as long as the follower
    /// lives.
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
