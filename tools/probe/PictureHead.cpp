#include "tools/probe/PictureHead.h"

#include <QRegularExpression>
#include <QXmlStreamReader>
#include <QtEndian>

namespace Kavo::Tools {

namespace {

using Format = PictureHead::Format;

/// 0 beyond the end of the bytes.
int byteAt(const QByteArray &bytes, int place)
{
    return place < bytes.size() ? static_cast<unsigned char>(bytes.at(place)) : 0;
}

int bigEndian16(const QByteArray &bytes, int place)
{
    return byteAt(bytes, place) << 8 | byteAt(bytes, place + 1);
}

int littleEndian16(const QByteArray &bytes, int place)
{
    return byteAt(bytes, place + 1) << 8 | byteAt(bytes, place);
}

int littleEndian24(const QByteArray &bytes, int place)
{
    return byteAt(bytes, place + 2) << 16 | littleEndian16(bytes, place);
}

/// Invalid unless both are positive.
QSize measured(int width, int height)
{
    return width > 0 && height > 0 ? QSize(width, height) : QSize();
}

QSize sizeOfPng(const QByteArray &bytes)
{
    constexpr int widthPlace = 16;
    constexpr int heightPlace = 20;
    if (bytes.mid(12, 4) != "IHDR" || bytes.size() < heightPlace + 4)
        return {};
    return measured(qFromBigEndian<qint32>(bytes.constData() + widthPlace),
                    qFromBigEndian<qint32>(bytes.constData() + heightPlace));
}

QSize sizeOfGif(const QByteArray &bytes)
{
    return measured(littleEndian16(bytes, 6), littleEndian16(bytes, 8));
}

/// The size is in a frame, whose markers are C0 to CF except those of tables and reserved ones.
bool beginsFrame(int marker)
{
    return marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
}

bool standsAlone(int marker)
{
    return marker == 0x01 || (marker >= 0xd0 && marker <= 0xd8);
}

QSize sizeOfJpeg(const QByteArray &bytes)
{
    int place = 2;
    while (place + 4 <= bytes.size() && byteAt(bytes, place) == 0xff) {
        const int marker = byteAt(bytes, place + 1);
        if (beginsFrame(marker))
            return measured(bigEndian16(bytes, place + 7), bigEndian16(bytes, place + 5));
        if (marker == 0xff)
            place += 1;
        else
            place += standsAlone(marker) ? 2 : 2 + qMax(2, bigEndian16(bytes, place + 2));
    }
    return {};
}

QSize sizeOfWebP(const QByteArray &bytes)
{
    constexpr int fourteenBits = 0x3fff;
    const QByteArray kind = bytes.mid(12, 4);
    if (kind == "VP8X")
        return bytes.size() < 30
                   ? QSize()
                   : measured(littleEndian24(bytes, 24) + 1, littleEndian24(bytes, 27) + 1);
    if (kind == "VP8 ")
        return measured(littleEndian16(bytes, 26) & fourteenBits,
                        littleEndian16(bytes, 28) & fourteenBits);
    if (kind != "VP8L" || bytes.size() < 25)
        return {};
    const auto bits = qFromLittleEndian<quint32>(bytes.constData() + 21);
    return measured(static_cast<int>(bits & fourteenBits) + 1,
                    static_cast<int>(bits >> 14 & fourteenBits) + 1);
}

/// A length without a unit or in pixels; 0 for other units, which depend on the viewer.
int pixels(const QString &text)
{
    static const QRegularExpression length(
        QStringLiteral("^\\s*(\\d{1,6})(?:\\.\\d*)?(?:px)?\\s*$"));
    return length.match(text).captured(1).toInt();
}

PictureHead readSvg(const QByteArray &bytes)
{
    QXmlStreamReader xml(bytes);
    if (!xml.readNextStartElement() || xml.name() != QLatin1String("svg"))
        return {};
    const QXmlStreamAttributes attributes = xml.attributes();
    const QSize size = measured(pixels(attributes.value(QLatin1String("width")).toString()),
                                pixels(attributes.value(QLatin1String("height")).toString()));
    if (size.isValid())
        return {Format::Svg, size};
    static const QRegularExpression separator(QStringLiteral("[\\s,]+"));
    const QStringList box =
        attributes.value(QLatin1String("viewBox")).toString().trimmed().split(separator);
    return {Format::Svg,
            box.size() == 4 ? measured(pixels(box.at(2)), pixels(box.at(3))) : QSize()};
}

} // namespace

PictureHead PictureHead::of(const QByteArray &bytes)
{
    if (bytes.startsWith("\x89PNG\r\n\x1a\n"))
        return {Format::Png, sizeOfPng(bytes)};
    if (bytes.startsWith("GIF87a") || bytes.startsWith("GIF89a"))
        return {Format::Gif, sizeOfGif(bytes)};
    if (bytes.startsWith("\xff\xd8\xff"))
        return {Format::Jpeg, sizeOfJpeg(bytes)};
    if (bytes.startsWith("RIFF") && bytes.mid(8, 4) == "WEBP")
        return {Format::WebP, sizeOfWebP(bytes)};
    return readSvg(bytes);
}

QString PictureHead::nameOf(Format format)
{
    switch (format) {
    case Format::None:
        break;
    case Format::Png:
        return QStringLiteral("PNG");
    case Format::Jpeg:
        return QStringLiteral("JPEG");
    case Format::Gif:
        return QStringLiteral("GIF");
    case Format::WebP:
        return QStringLiteral("WebP");
    case Format::Svg:
        return QStringLiteral("SVG");
    }
    return {};
}

} // namespace Kavo::Tools
