#include "components/Picture.h"
#include "tests/components/Widgets.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QTemporaryDir>

using namespace Kavo::Testing;
using Kavo::Components::loadPicture;

namespace {

constexpr QSize Bounds(200, 100);

} // namespace

class PictureTest final : public QObject
{
    Q_OBJECT

private slots:
    void pictureInBoundsKeepsItsSize()
    {
        const QPixmap picture = loadPicture(write(png(QSize(200, 100), Qt::red)), Bounds);
        QCOMPARE(picture.size(), QSize(200, 100));
        QCOMPARE(picture.toImage().pixelColor(5, 5), QColor(Qt::red));
    }

    void largePictureIsScaledDown_data()
    {
        Rows<QSize, QSize>()
            .row("wide", QSize(10000, 10), QSize(200, 1))
            .row("flat line", QSize(10000, 1), QSize(200, 1))
            .row("high", QSize(50, 200), QSize(25, 100))
            .row("both", QSize(400, 400), QSize(100, 100));
    }

    void largePictureIsScaledDown()
    {
        const auto [size, scaled] = Rows<QSize, QSize>::current();
        QCOMPARE(loadPicture(write(png(size, Qt::red)), Bounds).size(), scaled);
    }

    void nameDoesNotDecideTheFormat()
    {
        const QString path = m_folder.filePath("icon.jpg"_s);
        QVERIFY(writeFile(path, png(QSize(8, 8), Qt::green)));
        QCOMPARE(loadPicture(path, Bounds).size(), QSize(8, 8));
    }

    void brokenPictureIsNullAndLogged_data()
    {
        Rows<QByteArray>()
            .row("empty", QByteArray())
            .row("a page of text", "<html>Not found</html>")
            .row("cut short", png(QSize(64, 64), Qt::red).left(40));
    }

    void brokenPictureIsNullAndLogged()
    {
        const auto [bytes] = Rows<QByteArray>::current();
        const QString path = write(bytes);
        const LogCapture log;
        QVERIFY(loadPicture(path, Bounds).isNull());
        QCOMPARE(log.count("Picture cannot be shown : "_s + path), 1);
    }

    void pictureOfUnreasonableSizeIsRefused()
    {
        const QString path = write("P6\n30000 30000\n255\n");
        const LogCapture log;
        QVERIFY(loadPicture(path, Bounds).isNull());
        QVERIFY(log.contains("Picture is too large : "_s + path));
    }

private:
    QString write(const QByteArray &bytes)
    {
        const QString path = m_folder.filePath("picture.png"_s);
        writeFile(path, bytes);
        return path;
    }

    QTemporaryDir m_folder;
};

KAVO_TEST_MAIN(PictureTest)
#include "PictureTest.moc"
