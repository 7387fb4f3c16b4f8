#include "ui/list/IconLabel.h"

#include "components/LoadingAnimation.h"

#include <QPainter>
#include <QTextBoundaryFinder>

namespace Kavo::Ui {

using Components::LoadingAnimation;

namespace {

constexpr QSize Size(96, 96);
constexpr QSize AnimationSize(24, 24);
/// The height reserved for the letter, in pixels.
constexpr int LetterHeight = 64;
constexpr int LetterSize = 36;
constexpr qreal Radius = 12;

/// The first letter or digit with its combining marks; empty if there is none.
QString firstLetter(const QString &name)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, name);
    for (int begin = 0; begin >= 0 && begin < name.size();) {
        const int end = finder.toNextBoundary();
        const QString letter = name.mid(begin, end - begin);
        if (end < 0 || letter.at(0).isLetterOrNumber() || letter.at(0).isSurrogate())
            return letter.toUpper();
        begin = end;
    }
    return QString();
}

} // namespace

IconLabel::IconLabel(const QString &name, QWidget *parent)
    : QLabel(parent)
    , m_letter(firstLetter(name))
{
    setFixedSize(Size);
    setAttribute(Qt::WA_TranslucentBackground);
    setAlignment(Qt::AlignCenter);
    if (!m_letter.isEmpty())
        setContentsMargins(0, LetterHeight - AnimationSize.height() / 2, 0, 0);
    LoadingAnimation::play(*this, AnimationSize);
}

void IconLabel::showPicture(const QPixmap &picture)
{
    LoadingAnimation::stop(*this);
    m_waits = false;
    setContentsMargins(0, 0, 0, 0);
    setScaledContents(true);
    setPixmap(picture);
}

void IconLabel::setTile(const QColor &tile)
{
    m_tile = tile;
    update();
}

void IconLabel::paintEvent(QPaintEvent *event)
{
    if (m_waits)
        paintTile();
    QLabel::paintEvent(event);
}

void IconLabel::paintTile()
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_tile);
    painter.drawRoundedRect(rect(), Radius, Radius);
    QFont font = this->font();
    font.setBold(true);
    font.setPixelSize(LetterSize);
    painter.setFont(font);
    painter.setPen(palette().color(foregroundRole()));
    painter.drawText(QRect(0, 0, width(), LetterHeight), Qt::AlignCenter, m_letter);
}

} // namespace Kavo::Ui
