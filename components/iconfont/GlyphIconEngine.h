#pragma once

#include <QIconEngine>
#include <QString>
#include <QVariantMap>

namespace Kavo::Components {

/// Draws one glyph of a font as an icon, always at the requested size in device pixels. The options
/// are those of QtAwesome.
class GlyphIconEngine final : public QIconEngine
{
public:
    GlyphIconEngine(QString family, int character, QVariantMap options);

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override;
    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override;
    QIconEngine *clone() const override;

private:
    QColor color(QIcon::Mode mode) const;

    QString m_family;
    int m_character;
    QVariantMap m_options;
};

} // namespace Kavo::Components
