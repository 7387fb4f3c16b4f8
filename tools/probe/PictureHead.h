#pragma once

#include <QByteArray>
#include <QSize>
#include <QString>

namespace Kavo::Tools {

/// The format and size of a picture, read from the beginning of its file. Decodes nothing.
struct PictureHead
{
    enum class Format { None, Png, Jpeg, Gif, WebP, Svg };

    Format format = Format::None;
    QSize size; ///< in pixels; invalid if the bytes do not contain it

    /// Reads the beginning of a file; Format::None if it is not one of these formats.
    static PictureHead of(const QByteArray &bytes);
    /// The name of the format, such as "PNG"; empty for none.
    static QString nameOf(Format format);
};

} // namespace Kavo::Tools
