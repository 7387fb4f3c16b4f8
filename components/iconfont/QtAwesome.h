#pragma once

#include <QFont>
#include <QIcon>
#include <QObject>
#include <QVariantMap>

/// Icons from the glyphs of the Font Awesome icon font.
///
/// Options, as defaults of the object or for one icon: the colours "color", "color-disabled",
/// "color-active" and "color-selected" by icon mode, and "scale-factor", the glyph's height as a
/// part of the icon's. Main thread.
class QtAwesome final : public QObject
{
    Q_OBJECT

public:
    explicit QtAwesome(QObject *parent = nullptr);

    /// Loads the font from the resources, once; a build may leave it to the system, whose
    /// "FontAwesome" is taken then. Returns whether there is one. Without one all icons made later
    /// are null.
    bool initFontAwesome();

    void setDefaultOption(const QString &name, const QVariant &value);

    /// Icon of one character of the font, with these options over the defaults. Null where the font
    /// is missing: another one would draw an empty box.
    QIcon icon(int character, const QVariantMap &options = {}) const;

    /// The icon font in a size in pixels.
    QFont font(int size) const;

private:
    QString m_family;
    bool m_isMissing = false;
    QVariantMap m_defaults;
};
