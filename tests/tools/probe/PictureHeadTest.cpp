#include "tools/probe/PictureHead.h"
#include "tests/support/TestMain.h"

#include <QBuffer>
#include <QImage>

using Kavo::Tools::PictureHead;

Q_DECLARE_METATYPE(PictureHead::Format)

namespace {

using Format = PictureHead::Format;

constexpr QSize Size(37, 21);

/// By Qt's own writer, which is none of ours.
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

/// By ImageMagick; Qt cannot write these here.
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

/// With a segment in front of the picture, as a camera writes one for its preview.
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
    void knowsPictures_data();
    void knowsPictures();
    void knowsNothingElse_data();
    void knowsNothingElse();
    void bearsEveryCut();
    void bearsEveryDamage();

private:
    static QVector<QByteArray> pictures();
};

QVector<QByteArray> PictureHeadTest::pictures()
{
    return {written("PNG"),
            written("JPG"),
            gif(),
            lossyWebP(),
            losslessWebP(),
            transparentWebP(),
            svg("width=\"37\" height=\"21\"")};
}

void PictureHeadTest::knowsPictures_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<Format>("format");
    QTest::addColumn<QSize>("size");
    QTest::newRow("PNG") << written("PNG") << Format::Png << Size;
    QTest::newRow("JPEG") << written("JPG") << Format::Jpeg << Size;
    QTest::newRow("JPEG of a camera")
        << withSegment('\xe1', written("JPG")) << Format::Jpeg << Size;
    QTest::newRow("JPEG with its tables first")
        << withSegment('\xc4', written("JPG")) << Format::Jpeg << Size;
    QTest::newRow("GIF") << gif() << Format::Gif << Size;
    QTest::newRow("lossy WebP") << lossyWebP() << Format::WebP << Size;
    QTest::newRow("lossless WebP") << losslessWebP() << Format::WebP << Size;
    QTest::newRow("WebP with transparency") << transparentWebP() << Format::WebP << Size;
    QTest::newRow("SVG") << svg("width=\"37\" height=\"21px\"") << Format::Svg << Size;
    QTest::newRow("SVG by its box") << svg("viewBox=\"0 0, 37 21\"") << Format::Svg << Size;
    QTest::newRow("SVG in percent")
        << svg("width=\"100%\" height=\"100%\" viewBox=\"0 0 37 21\"") << Format::Svg << Size;
    QTest::newRow("SVG without a size") << svg("") << Format::Svg << QSize();
    QTest::newRow("PNG without a size") << written("PNG").left(8) << Format::Png << QSize();
}

void PictureHeadTest::knowsPictures()
{
    QFETCH(QByteArray, bytes);
    QFETCH(Format, format);
    QFETCH(QSize, size);
    QVERIFY(!bytes.isEmpty());
    const PictureHead head = PictureHead::of(bytes);
    QCOMPARE(head.format, format);
    QCOMPARE(head.size, size);
    QVERIFY(!PictureHead::nameOf(format).isEmpty());
}

void PictureHeadTest::knowsNothingElse_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("page") << QByteArray("<!DOCTYPE html><html><body>Not found</body></html>");
    QTest::newRow("text") << QByteArray("Not found");
    QTest::newRow("other XML") << QByteArray("<?xml version=\"1.0\"?><svgs/>");
    QTest::newRow("sound") << QByteArray("RIFF\x24\x00\x00\x00WAVEfmt ");
    QTest::newRow("zeros") << QByteArray(100, '\0');
}

void PictureHeadTest::knowsNothingElse()
{
    QFETCH(QByteArray, bytes);
    QCOMPARE(PictureHead::of(bytes).format, Format::None);
}

/// A part of a picture tells its size or none, never another one.
void PictureHeadTest::bearsEveryCut()
{
    for (const QByteArray &picture : pictures()) {
        for (int length = 0; length < picture.size(); ++length) {
            const QSize size = PictureHead::of(picture.left(length)).size;
            // Heads are little-endian here and there: half of a number is a smaller one.
            QVERIFY(!size.isValid() ||
                    (size.width() <= Size.width() && size.height() <= Size.height()));
        }
    }
}

/// Must only come to an end, whatever the bytes say.
void PictureHeadTest::bearsEveryDamage()
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

KAVO_TEST_MAIN(PictureHeadTest)
#include "PictureHeadTest.moc"
