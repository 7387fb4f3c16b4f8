#pragma once

#include <QByteArray>
#include <QSize>
#include <QString>

namespace Kavo::Tools {

/// What the beginning of a file tells of the picture in it. Decodes nothing.
struct PictureHead
{
    enum class Format { None, Png, Jpeg, Gif, WebP, Svg };

    Format format = Format::None;
    QSize size; ///< in pixels; not valid when the bytes do not tell it

    /// Of a file that begins with these bytes; Format::None when they are of no such picture.
    static PictureHead of(const QByteArray &bytes);
    /// "PNG"; empty for none.
    static QString nameOf(Format format);
};

} // namespace Kavo::Tools
