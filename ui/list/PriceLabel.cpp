#include "ui/list/PriceLabel.h"

#include <QPainter>
#include <QStyle>

namespace Kavo::Ui {

namespace {

/// The padding of the background around the word, in pixels.
constexpr int WordMargin = 6;
constexpr qreal Radius = 4;

} // namespace

PriceLabel::PriceLabel(const QString &caption, QWidget *parent)
    : QLabel(caption, parent)
    , m_caption(caption)
{
    setTextFormat(Qt::RichText);
}

void PriceLabel::setWord(const QString &word, const QColor &color)
{
    m_word = word;
    m_color = color;
    setText(m_caption.toHtmlEscaped() + QStringLiteral("<font color=\"") + color.name() +
            QStringLiteral("\">") + word.toHtmlEscaped() + QStringLiteral("</font>"));
}

void PriceLabel::setGround(const QColor &ground)
{
    m_ground = ground;
    update();
}

QSize PriceLabel::sizeHint() const
{
    // The margins that the style adds around the text.
    const QSize frame = size() - contentsRect().size();
    return {frame.width() + fontMetrics().horizontalAdvance(m_caption) + wordArea().width(),
            frame.height() + fontMetrics().height() + 2};
}

void PriceLabel::paintEvent(QPaintEvent *event)
{
    // Paints only the frame; the text is drawn below.
    QFrame::paintEvent(event); // NOLINT(bugprone-parent-virtual-call)
    QPainter painter(this);
    style()->drawItemText(&painter, contentsRect(), Qt::AlignVCenter | Qt::AlignLeft, palette(),
                          isEnabled(), m_caption, foregroundRole());
    if (m_word.isEmpty())
        return;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_ground);
    painter.drawRoundedRect(wordArea(), Radius, Radius);
    painter.setPen(m_color);
    painter.drawText(wordArea(), Qt::AlignCenter, m_word);
}

QRect PriceLabel::wordArea() const
{
    const QRect area = contentsRect();
    const QSize size(fontMetrics().horizontalAdvance(m_word) + 2 * WordMargin,
                     fontMetrics().height() + 2);
    return {{area.left() + fontMetrics().horizontalAdvance(m_caption),
             area.top() + (area.height() - size.height()) / 2},
            size};
}

} // namespace Kavo::Ui
