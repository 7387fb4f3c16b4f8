#include "components/Picture.h"
#include "tests/components/Widgets.h"
#include "tests/support/Archives.h"
#include "tests/support/LogCapture.h"
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
    void pictureInBoundsKeepsItsSize();
    void largePictureIsScaledDown_data();
    void largePictureIsScaledDown();
    void nameDoesNotDecideTheFormat();
    void brokenPictureIsNullAndLogged_data();
    void brokenPictureIsNullAndLogged();
    void pictureOfUnreasonableSizeIsRefused();

private:
    QString write(const QByteArray &bytes);

    QTemporaryDir m_folder;
};

QString PictureTest::write(const QByteArray &bytes)
{
    const QString path = m_folder.filePath(QStringLiteral("picture.png"));
    writeFile(path, bytes);
    return path;
}

void PictureTest::pictureInBoundsKeepsItsSize()
{
    const QPixmap picture = loadPicture(write(png(QSize(200, 100), Qt::red)), Bounds);
    QCOMPARE(picture.size(), QSize(200, 100));
    QCOMPARE(picture.toImage().pixelColor(5, 5), QColor(Qt::red));
}

void PictureTest::largePictureIsScaledDown_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QSize>("scaled");
    QTest::newRow("wide") << QSize(10000, 10) << QSize(200, 1);
    QTest::newRow("flat line") << QSize(10000, 1) << QSize(200, 1);
    QTest::newRow("high") << QSize(50, 200) << QSize(25, 100);
    QTest::newRow("both") << QSize(400, 400) << QSize(100, 100);
}

void PictureTest::largePictureIsScaledDown()
{
    QFETCH(QSize, size);
    QFETCH(QSize, scaled);
    QCOMPARE(loadPicture(write(png(size, Qt::red)), Bounds).size(), scaled);
}

void PictureTest::nameDoesNotDecideTheFormat()
{
    const QString path = m_folder.filePath(QStringLiteral("icon.jpg"));
    QVERIFY(writeFile(path, png(QSize(8, 8), Qt::green)));
    QCOMPARE(loadPicture(path, Bounds).size(), QSize(8, 8));
}

void PictureTest::brokenPictureIsNullAndLogged_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("a page of text") << QByteArray("<html>Not found</html>");
    QTest::newRow("cut short") << png(QSize(64, 64), Qt::red).left(40);
}

void PictureTest::brokenPictureIsNullAndLogged()
{
    QFETCH(QByteArray, bytes);
    const QString path = write(bytes);
    const LogCapture log;
    QVERIFY(loadPicture(path, Bounds).isNull());
    QCOMPARE(log.count(QStringLiteral("Picture cannot be shown : ") + path), 1);
}

void PictureTest::pictureOfUnreasonableSizeIsRefused()
{
    const QString path = write("P6\n30000 30000\n255\n");
    const LogCapture log;
    QVERIFY(loadPicture(path, Bounds).isNull());
    QVERIFY(log.contains(QStringLiteral("Picture is too large : ") + path));
}

KAVO_TEST_MAIN(PictureTest)
#include "PictureTest.moc"
