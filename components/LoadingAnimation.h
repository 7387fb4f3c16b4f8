#pragma once

#include <QObject>
#include <QSize>

class QLabel;

namespace Kavo::Components {

/// The animation that a label plays while something loads.
///
/// All labels of one size and kind of screen share one movie, because a list may hold a thousand of
/// them, and the movie runs only while at least one of its labels is to be seen: one that is
/// scrolled out of sight rests until it is painted again. An object of this
/// class is a label's share in the movie; it belongs to the label and goes with it.
class LoadingAnimation final : public QObject
{
    Q_OBJECT

public:
    /// Shows the animation in the label, in place of what it holds, scaled to a size in the
    /// screen's own measure; a dense screen gets a dense picture.
    static void play(QLabel &label, const QSize &size);
    /// Empties the label, if it plays the animation.
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
