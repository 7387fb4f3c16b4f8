#pragma once

#include <QObject>
#include <QSize>

class QLabel;

namespace Kavo::Components {

/// The animation that a label shows while something loads.
///
/// All labels of the same size and pixel ratio share one movie, because a list may have a thousand
/// of them. The movie runs only while at least one of its labels is visible: a label that is
/// scrolled out of sight pauses until it is painted again. An object of this class connects one
/// label to the movie; the label owns it.
class LoadingAnimation final : public QObject
{
    Q_OBJECT

public:
    /// Shows the animation in the label instead of its content, scaled to a size in logical pixels.
    static void play(QLabel &label, const QSize &size);
    /// Clears the label if it shows the animation.
    static void stop(QLabel &label);

    ~LoadingAnimation() override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    class Movie;

    LoadingAnimation(QLabel &label, Movie &movie);
    void move();
    void rest();
    void countFrame();
    static LoadingAnimation *shareOf(const QLabel &label);
    static Movie &movieOf(const QSize &size, bool dense);

    QLabel *m_label;
    Movie *m_movie;
    bool m_moving = false;
    int m_framesUnseen = 0;
};

} // namespace Kavo::Components
