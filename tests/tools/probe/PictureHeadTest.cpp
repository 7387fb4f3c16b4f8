#include "tools/probe/PictureHead.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QBuffer>
#include <QImage>

using namespace Kavo::Testing;
using Kavo::Tools::PictureHead;

Q_DECLARE_METATYPE(PictureHead::Format)

namespace {

using Format = PictureHead::Format;

constexpr QSize Size(37, 21);

/// Returns a picture that Qt has written in this format.
QByteArray written(const char *format)
{
    QImage image(Size, QImage::Format_RGB32);
    image.fill(Qt::red);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

// Qt cannot write GIF and WebP. ImageMagick has written these pictures.

QByteArray gif()
{
    return QByteArray::fromBase64("R0lGODlhJQAVAPAAAP8AAAAAACH5BAAAAAAALAAAAAAlABUAAAIahI+py+0Po5y0"
                                  "2ouz3rz7D4biSJbmiaYqWgAAOw==");
}

QByteArray lossyWebP()
{
    return QByteArray::fromBase64("UklGRkwAAABXRUJQVlA4IEAAAABQAwCdASolABUAPtFmrFCoJaQipWgBABoJZwDO"
                                  "3oAAK/fDcAD+6zb/7oAFP2f/+hJ/8TZ/xNnwcw1BONYUAAAA");
}

QByteArray losslessWebP()
{
    return QByteArray::fromBase64("UklGRhwAAABXRUJQVlA4TA8AAAAvJAAFAAcQ/Y/+ByKi/wEA");
}

QByteArray transparentWebP()
{
    return QByteArray::fromBase64("UklGRnIAAABXRUJQVlA4WAoAAAAQAAAAJAAAFAAAQUxQSAoAAAABB9C/iAhERP8D"
                                  "VlA4IEIAAABQAwCdASolABUAPpFGnkslo6KhpWgAsBIJZwDO3oAAK/fDcAD+7qY/"
                                  "/2LOWwLx//7nA/7nA/7nA/jbB+29aoAAAAA=");
}

QByteArray svg(const QByteArray &attributes)
{
    return "<?xml version=\"1.0\"?>\n<!-- drawn -->\n<svg xmlns=\"http://www.w3.org/2000/svg\" " +
           attributes + "><rect/></svg>";
}

/// Returns the JPEG file with a long segment before the picture. Cameras write such segments for
/// previews.
QByteArray withSegment(char marker, const QByteArray &jpeg)
{
    const QByteArray content(5000, '\xc0');
    const int length = content.size() + 2;
    QByteArray segment("\xff");
    segment.append(marker);
    segment.append(static_cast<char>(length >> 8)).append(static_cast<char>(length & 0xff));
    return jpeg.left(2) + segment + content + jpeg.mid(2);
}

} // namespace

class PictureHeadTest final : public QObject
{
    Q_OBJECT

private slots:
    void knowsPictures_data()
    {
        Rows<QByteArray, Format, QSize>()
            .row("PNG", written("PNG"), Format::Png, Size)
            .row("JPEG", written("JPG"), Format::Jpeg, Size)
            .row("JPEG of a camera", withSegment('\xe1', written("JPG")), Format::Jpeg, Size)
            .row("JPEG with its tables first", withSegment('\xc4', written("JPG")), Format::Jpeg,
                 Size)
            .row("GIF", gif(), Format::Gif, Size)
            .row("lossy WebP", lossyWebP(), Format::WebP, Size)
            .row("lossless WebP", losslessWebP(), Format::WebP, Size)
            .row("WebP with transparency", transparentWebP(), Format::WebP, Size)
            .row("SVG", svg(R"(width="37" height="21px")"), Format::Svg, Size)
            .row("SVG by its box", svg("viewBox=\"0 0, 37 21\""), Format::Svg, Size)
            .row("SVG in percent", svg(R"(width="100%" height="100%" viewBox="0 0 37 21")"),
                 Format::Svg, Size)
            .row("SVG without a size", svg(""), Format::Svg, {})
            .row("PNG without a size", written("PNG").left(8), Format::Png, {});
    }

    void knowsPictures()
    {
        const auto [bytes, format, size] = Rows<QByteArray, Format, QSize>::current();
        QVERIFY(!bytes.isEmpty());
        const PictureHead head = PictureHead::of(bytes);
        QCOMPARE(head.format, format);
        QCOMPARE(head.size, size);
        QVERIFY(!PictureHead::nameOf(format).isEmpty());
    }

    void knowsNothingElse_data()
    {
        Rows<QByteArray>()
            .row("nothing", {})
            .row("page", "<!DOCTYPE html><html><body>Not found</body></html>")
            .row("text", "Not found")
            .row("other XML", "<?xml version=\"1.0\"?><svgs/>")
            .row("sound", "RIFF\x24\x00\x00\x00WAVEfmt ")
            .row("zeros", QByteArray(100, '\0'));
    }

    void knowsNothingElse()
    {
        const auto [bytes] = Rows<QByteArray>::current();
        QCOMPARE(PictureHead::of(bytes).format, Format::None);
    }

    /// The size that is read from a part of a picture is invalid or at most that of the picture.
    void truncatedPicturesAreHandled()
    {
        for (const QByteArray &picture : pictures()) {
            for (int length = 0; length < picture.size(); ++length) {
                const QSize size = PictureHead::of(picture.left(length)).size;
                // It may be smaller, because the beginning of a little-endian number is a smaller
                // number.
                QVERIFY(!size.isValid() ||
                        (size.width() <= Size.width() && size.height() <= Size.height()));
            }
        }
    }

    /// Reading must end with a valid size or none, whatever the bytes are.
    void damagedPicturesAreHandled()
    {
        int valid = 0;
        for (const QByteArray &picture : pictures()) {
            for (int place = 0; place < picture.size(); ++place) {
                for (const char value : {'\0', '\x7f', '\xff', '\xc0'}) {
                    QByteArray damaged = picture;
                    damaged[place] = value;
                    const QSize size = PictureHead::of(damaged).size;
                    QVERIFY(!size.isValid() || (size.width() > 0 && size.height() > 0));
                    valid += size.isValid() ? 1 : 0;
                }
            }
        }
        QVERIFY(valid > 0);
    }

private:
    static QVector<QByteArray> pictures()
    {
        return {written("PNG"),
                written("JPG"),
                gif(),
                lossyWebP(),
                losslessWebP(),
                transparentWebP(),
                svg(R"(width="37" height="21")")};
    }
};

KAVO_TEST_MAIN(PictureHeadTest)
#include "PictureHeadTest.moc"
