#include "core/FolderSize.h"
#include "core/ByteSize.h"
#include "tests/support/Files.h"
#include "tests/support/TestMain.h"

#include <QTemporaryDir>

using namespace Kavo::Testing;
using Kavo::folderSize;
using Kavo::formatByteSize;

class FolderSizeTest final : public QObject
{
    Q_OBJECT

private slots:
    void sizesAreFormatted_data();
    void sizesAreFormatted();
    void missingFolderCountsNothing();
    void emptyPathCountsNothing();
    void filesOfAllSubfoldersCount();
    void hiddenFilesAndFoldersCount();
    void trailingSeparatorMakesNoDifference();
    void linksToFoldersAreNotFollowed();
    void whatIsNoFolderCountsNothing();
};

void FolderSizeTest::sizesAreFormatted_data()
{
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("nothing") << 0LL << QStringLiteral("0.00 Bytes");
    QTest::newRow("below a step") << 1023LL << QStringLiteral("1023.00 Bytes");
    QTest::newRow("a step") << 1024LL << QStringLiteral("1.00 KB");
    QTest::newRow("one and a half") << 1536LL << QStringLiteral("1.50 KB");
    // Below the next unit before rounding.
    QTest::newRow("rounded up to a step") << 1048575LL << QStringLiteral("1024.00 KB");
    QTest::newRow("mega") << (1LL << 20) << QStringLiteral("1.00 MB");
    QTest::newRow("giga") << (1LL << 30) << QStringLiteral("1.00 GB");
    QTest::newRow("tera") << (1LL << 40) << QStringLiteral("1.00 TB");
    QTest::newRow("peta") << (1LL << 50) << QStringLiteral("1.00 PB");
    QTest::newRow("no unit after peta") << (1LL << 61) << QStringLiteral("2048.00 PB");
}

// Fixed, see docs/compatibility.md.
void FolderSizeTest::sizesAreFormatted()
{
    QFETCH(qint64, bytes);
    QFETCH(QString, text);
    QCOMPARE(formatByteSize(bytes), text);
}

void FolderSizeTest::missingFolderCountsNothing()
{
    const QTemporaryDir folder;
    QCOMPARE(folderSize(folder.filePath(QStringLiteral("missing"))), 0LL);
}

void FolderSizeTest::emptyPathCountsNothing()
{
    const QTemporaryDir folder;
    QVERIFY(writeFile(folder.filePath(QStringLiteral("file")), "12345"));
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(folder.path()));
    const qint64 size = folderSize(QString());
    QVERIFY(QDir::setCurrent(before));
    QCOMPARE(size, 0LL);
}

void FolderSizeTest::filesOfAllSubfoldersCount()
{
    const QTemporaryDir folder;
    QVERIFY(writeFiles(folder.path(), {{QStringLiteral("a"), QByteArray(100, 'a')},
                                       {QStringLiteral("b/c"), QByteArray(20, 'c')},
                                       {QStringLiteral("b/d/e"), QByteArray(3, 'e')},
                                       {QStringLiteral("empty/"), QByteArray()}}));
    QCOMPARE(folderSize(folder.path()), 123LL);
}

void FolderSizeTest::hiddenFilesAndFoldersCount()
{
    const QTemporaryDir folder;
    QVERIFY(writeFiles(folder.path(), {{QStringLiteral(".hidden"), QByteArray(10, 'a')},
                                       {QStringLiteral(".folder/file"), QByteArray(5, 'b')}}));
    QCOMPARE(folderSize(folder.path()), 15LL);
}

void FolderSizeTest::trailingSeparatorMakesNoDifference()
{
    const QTemporaryDir folder;
    QVERIFY(writeFiles(folder.path(), {{QStringLiteral("b/c"), QByteArray(20, 'c')}}));
    QCOMPARE(folderSize(folder.path() + QDir::separator()), 20LL);
}

void FolderSizeTest::linksToFoldersAreNotFollowed()
{
    const QTemporaryDir folder;
    const QTemporaryDir elsewhere;
    QVERIFY(writeFiles(folder.path(), {{QStringLiteral("b/c"), QByteArray(20, 'c')}}));
    QVERIFY(writeFiles(elsewhere.path(), {{QStringLiteral("large"), QByteArray(5000, 'x')}}));
    QVERIFY(QFile::link(folder.path(), folder.filePath(QStringLiteral("b/back"))));
    QVERIFY(QFile::link(elsewhere.path(), folder.filePath(QStringLiteral("away"))));
    QCOMPARE(folderSize(folder.path()), 20LL);
}

void FolderSizeTest::whatIsNoFolderCountsNothing()
{
    const QTemporaryDir folder;
    QVERIFY(writeFiles(folder.path(), {{QStringLiteral("file"), QByteArray(7, 'a')}}));
    QVERIFY(QFile::link(folder.filePath(QStringLiteral("nowhere")),
                        folder.filePath(QStringLiteral("dangling"))));
    QCOMPARE(folderSize(folder.path()), 7LL);
    QCOMPARE(folderSize(folder.filePath(QStringLiteral("file"))), 0LL);
}

KAVO_TEST_MAIN(FolderSizeTest)
#include "FolderSizeTest.moc"
