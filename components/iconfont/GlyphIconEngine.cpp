#include "components/iconfont/GlyphIconEngine.h"

#include <QColor>
#include <QFont>
#include <QPainter>
#include <QPixmap>

#include <utility>

namespace Kavo::Components {

GlyphIconEngine::GlyphIconEngine(QString family, int character, QVariantMap options)
    : m_family(std::move(family))
    , m_character(character)
    , m_options(std::move(options))
{}

void GlyphIconEngine::paint(QPainter *painter, const QRect &rect, QIcon::Mode mode,
                            QIcon::State state)
{
    Q_UNUSED(state)
    const double scale = m_options.value(QStringLiteral("scale-factor"), 1.0).toDouble();
    QFont font(m_family);
    font.setPixelSize(qMax(1, qRound(rect.height() * scale)));
    painter->save();
    painter->setFont(font);
    painter->setPen(color(mode));
    painter->drawText(rect, static_cast<int>(Qt::AlignCenter) | Qt::TextDontClip,
                      QString(QChar(m_character)));
    painter->restore();
}

QPixmap GlyphIconEngine::pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state)
{
    QPixmap pixmap(size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    paint(&painter, QRect(QPoint(0, 0), size), mode, state);
    return pixmap;
}

QIconEngine *GlyphIconEngine::clone() const
{
    return new GlyphIconEngine(*this);
}

QColor GlyphIconEngine::color(QIcon::Mode mode) const
{
    const QVariant plain = m_options.value(QStringLiteral("color"));
    switch (mode) {
    case QIcon::Normal:
        break;
    case QIcon::Disabled:
        return m_options.value(QStringLiteral("color-disabled"), plain).value<QColor>();
    case QIcon::Active:
        return m_options.value(QStringLiteral("color-active"), plain).value<QColor>();
    case QIcon::Selected:
        return m_options.value(QStringLiteral("color-selected"), plain).value<QColor>();
    }
    return plain.value<QColor>();
}

} // namespace Kavo::Components
