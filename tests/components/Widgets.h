#pragma once

#include "components/IconFont.h"
#include "tests/support/Literals.h"

#include <QBuffer>
#include <QColor>
#include <QFile>
#include <QIcon>
#include <QImage>
#include <QLabel>
#include <QPushButton>
#include <QWidget>

/// Skips a test that needs glyphs if neither the build nor the system has the icon font.
#define KAVO_NEEDS_ICON_FONT()                                                                     \
    if (!Kavo::Components::iconFont()->initFontAwesome())                                          \
    QSKIP("Neither the build nor the system has the icon font")

/// Skips a test of the layout, which depends on the widths of the program's text font.
#define KAVO_NEEDS_TEXT_FONT()                                                                     \
    if (!QFile::exists(":/resources/font/ProximaNova-Regular.otf"_s))                              \
    QSKIP("The build has no text font")

/// Helpers of widget tests, which find widgets by object name.
namespace Kavo::Testing {

/// The first descendant with this object name; null if there is none.
template<class Widget>
Widget *child(const QWidget &root, const char *objectName)
{
    return root.findChild<Widget *>(QLatin1String(objectName));
}

/// The descendants with this object name, in the order of their creation.
template<class Widget>
QList<Widget *> allChildren(const QWidget &root, const char *objectName)
{
    return root.findChildren<Widget *>(QLatin1String(objectName));
}

inline QString textOf(const QWidget &root, const char *objectName)
{
    const auto *label = child<QLabel>(root, objectName);
    return label ? label->text() : "(no such label)"_s;
}

inline QImage imageOf(const QIcon &icon, QIcon::Mode mode = QIcon::Normal)
{
    return icon.pixmap(QSize(32, 32), mode).toImage();
}

/// The colour in the middle of an icon.
inline QColor ink(const QIcon &icon, QIcon::Mode mode = QIcon::Normal)
{
    const QImage image = imageOf(icon, mode);
    return image.pixelColor(image.rect().center());
}

/// Whether two icons look the same.
inline bool sameIcon(const QIcon &first, const QIcon &second)
{
    return imageOf(first) == imageOf(second);
}

inline QIcon lightGlyph(int glyph)
{
    Components::iconFont()->initFontAwesome();
    return Components::iconFont()->icon(glyph);
}

inline QIcon darkGlyph(int glyph)
{
    Components::iconFont()->initFontAwesome();
    return Components::iconFont()->icon(glyph, Components::darkIconOptions());
}

/// Restores the window if it is maximised. On the small screen of the offscreen platform it opens
/// maximised.
inline void restoreWindow(const QWidget &window)
{
    if (window.isMaximized())
        child<QPushButton>(window, "WindowMaximize")->click();
}

/// Whether the cursor over the widget is a pointing hand.
inline bool hasHand(const QWidget &widget)
{
    return widget.cursor().shape() == Qt::PointingHandCursor;
}

/// A PNG file with a picture of one colour.
inline QByteArray png(const QSize &size, const QColor &color)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(color);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

/// The colour in the middle of the label's picture; transparent if it shows none.
inline QColor shownColor(const QLabel &label)
{
    const QPixmap *pixmap = label.pixmap();
    if (!pixmap || pixmap->isNull())
        return QColor(Qt::transparent);
    return pixmap->toImage().pixelColor(pixmap->rect().center());
}

} // namespace Kavo::Testing
