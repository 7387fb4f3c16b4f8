#include "components/LoadingAnimation.h"

#include <QApplication>
#include <QEvent>
#include <QLabel>
#include <QMovie>
#include <QPointer>
#include <QSet>
#include <QStyle>
#include <QVector>

namespace Kavo::Components {

namespace {

/// The number of frames without painting after which a label counts as hidden. One would be too
/// few, because painting follows the frame that requests it.
constexpr int FramesOutOfSight = 3;

} // namespace

/// A movie that runs while any label shows it.
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
        // The first frame gives hidden labels a picture and a size.
        jumpToFrame(0);
        connect(this, &QMovie::frameChanged, this, &Movie::askPlayers);
    }

    bool is(const QSize &size, bool dense) const { return m_size == size && m_dense == dense; }

    void addPlayer(LoadingAnimation *player)
    {
        m_players.insert(player);
        if (m_players.size() == 1)
            start();
    }

    void removePlayer(LoadingAnimation *player)
    {
        if (m_players.remove(player) && m_players.isEmpty())
            setPaused(true);
    }

private:
    /// The second file is for a pixel ratio of 2, which its name tells Qt.
    static QString file(bool dense)
    {
        return dense ? QStringLiteral(":/resources/img/loading@2x.gif")
                     : QStringLiteral(":/resources/img/loading.gif");
    }

    void askPlayers()
    {
        const auto players = m_players;
        for (LoadingAnimation *player : players)
            player->countFrame();
    }

    QSize m_size;
    bool m_dense;
    QSet<LoadingAnimation *> m_players;
};

void LoadingAnimation::play(QLabel &label, const QSize &size)
{
    Movie &movie = movieOf(size, label.devicePixelRatioF() > 1);
    const LoadingAnimation *share = shareOf(label);
    if (share && share->m_movie == &movie)
        return;
    stop(label);
    // The label owns the object.
    new LoadingAnimation(label, movie);
}

void LoadingAnimation::stop(QLabel &label)
{
    LoadingAnimation *share = shareOf(label);
    if (!share)
        return;
    delete share;
    label.clear();
}

LoadingAnimation::LoadingAnimation(QLabel &label, Movie &movie)
    : QObject(&label)
    , m_label(&label)
    , m_movie(&movie)
{
    label.setMovie(m_movie);
    // Connected directly, every frame would repaint all labels, even hidden ones; countFrame()
    // requests the repaint.
    QObject::disconnect(m_movie, nullptr, &label, nullptr);
    label.installEventFilter(this);
    if (label.isVisible())
        move();
}

LoadingAnimation::~LoadingAnimation()
{
    m_movie->removePlayer(this);
}

bool LoadingAnimation::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Show || event->type() == QEvent::Paint)
        move();
    else if (event->type() == QEvent::Hide)
        rest();
    return QObject::eventFilter(watched, event);
}

void LoadingAnimation::move()
{
    m_framesUnseen = 0;
    if (m_moving)
        return;
    m_moving = true;
    m_movie->addPlayer(this);
}

void LoadingAnimation::rest()
{
    if (!m_moving)
        return;
    m_moving = false;
    m_movie->removePlayer(this);
}

void LoadingAnimation::countFrame()
{
    if (++m_framesUnseen == FramesOutOfSight)
        rest();
    else
        m_label->update(m_label->style()->itemPixmapRect(m_label->contentsRect(),
                                                         static_cast<int>(m_label->alignment()),
                                                         m_movie->currentPixmap()));
}

LoadingAnimation *LoadingAnimation::shareOf(const QLabel &label)
{
    return label.findChild<LoadingAnimation *>(QString(), Qt::FindDirectChildrenOnly);
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
