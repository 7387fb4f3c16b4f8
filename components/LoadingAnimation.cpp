#include "components/LoadingAnimation.h"

#include <QApplication>
#include <QEvent>
#include <QLabel>
#include <QMovie>
#include <QPointer>
#include <QVector>

namespace Kavo::Components {

/// A movie that counts the visible labels that play it.
class LoadingAnimation::Movie final : public QMovie
{
public:
    Movie(const QSize &size, bool dense)
        : QMovie(file(dense), QByteArray(), qApp)
        , m_size(size)
        , m_dense(dense)
    {
        setCacheMode(QMovie::CacheAll);
        setScaledSize(dense ? size * 2 : size);
        // A label that becomes visible later has a picture and a size from the start.
        jumpToFrame(0);
    }

    bool is(const QSize &size, bool dense) const { return m_size == size && m_dense == dense; }

    void addViewer()
    {
        if (++m_viewers == 1)
            start();
    }

    void removeViewer()
    {
        if (--m_viewers == 0)
            setPaused(true);
    }

private:
    /// Frames of the second file have two pixels where the screen measures one, which its name
    /// tells Qt.
    static QString file(bool dense)
    {
        return dense ? QStringLiteral(":/resources/img/loading@2x.gif")
                     : QStringLiteral(":/resources/img/loading.gif");
    }

    QSize m_size;
    bool m_dense;
    int m_viewers = 0;
};

void LoadingAnimation::play(QLabel &label, const QSize &size)
{
    Movie &movie = movieOf(size, label.devicePixelRatioF() > 1);
    if (label.movie() == &movie)
        return;
    stop(label);
    // The label owns its share.
    new LoadingAnimation(label, movie);
}

void LoadingAnimation::stop(QLabel &label)
{
    auto *share = label.findChild<LoadingAnimation *>(QString(), Qt::FindDirectChildrenOnly);
    if (!share)
        return;
    delete share;
    label.setMovie(nullptr);
}

LoadingAnimation::LoadingAnimation(QLabel &label, Movie &movie) : QObject(&label), m_movie(&movie)
{
    label.setMovie(m_movie);
    label.installEventFilter(this);
    setShown(label.isVisible());
}

LoadingAnimation::~LoadingAnimation()
{
    setShown(false);
}

bool LoadingAnimation::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Show)
        setShown(true);
    else if (event->type() == QEvent::Hide)
        setShown(false);
    return QObject::eventFilter(watched, event);
}

void LoadingAnimation::setShown(bool shown)
{
    if (m_shown == shown)
        return;
    m_shown = shown;
    if (shown)
        m_movie->addViewer();
    else
        m_movie->removeViewer();
}

LoadingAnimation::Movie &LoadingAnimation::movieOf(const QSize &size, bool dense)
{
    // The movies belong to the application object.
    static QVector<QPointer<Movie>> movies;
    for (const QPointer<Movie> &movie : qAsConst(movies)) {
        if (movie && movie->is(size, dense))
            return *movie;
    }
    auto *movie = new Movie(size, dense);
    movies.append(movie);
    return *movie;
}

} // namespace Kavo::Components
