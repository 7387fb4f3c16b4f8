#include "core/FolderSize.h"
#include "core/ByteSize.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
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
    Rows<qint64, QString>()
        .row("nothing", 0, "0.00 Bytes")
        .row("below a step", 1023, "1023.00 Bytes")
        .row("a step", 1024, "1.00 KB")
        .row("one and a half", 1536, "1.50 KB")
        // Less than the next unit before rounding.
        .row("rounded up to a step", 1048575, "1024.00 KB")
        .row("mega", 1LL << 20, "1.00 MB")
        .row("giga", 1LL << 30, "1.00 GB")
        .row("tera", 1LL << 40, "1.00 TB")
        .row("peta", 1LL << 50, "1.00 PB")
        .row("no unit after peta", 1LL << 61, "2048.00 PB");
}

// Fixed, see docs/compatibility.md.
void FolderSizeTest::sizesAreFormatted()
{
    const auto [bytes, text] = Rows<qint64, QString>::current();
    QCOMPARE(formatByteSize(bytes), text);
}

void FolderSizeTest::missingFolderCountsNothing()
{
    const QTemporaryDir folder;
    QCOMPARE(folderSize(folder.filePath("missing"_s)), 0LL);
}

void FolderSizeTest::emptyPathCountsNothing()
{
    const QTemporaryDir folder;
    QVERIFY(writeFile(folder.filePath("file"_s), "12345"));
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(folder.path()));
    const qint64 size = folderSize(QString());
    QVERIFY(QDir::setCurrent(before));
    QCOMPARE(size, 0LL);
}

void FolderSizeTest::filesOfAllSubfoldersCount()
{
    const QTemporaryDir folder;
    QVERIFY(writeFiles(folder.path(), {{"a"_s, QByteArray(100, 'a')},
                                       {"b/c"_s, QByteArray(20, 'c')},
                                       {"b/d/e"_s, QByteArray(3, 'e')},
                                       {"empty/"_s, QByteArray()}}));
    QCOMPARE(folderSize(folder.path()), 123LL);
}

void FolderSizeTest::hiddenFilesAndFoldersCount()
{
    const QTemporaryDir folder;
    QVERIFY(writeFiles(folder.path(), {{".hidden"_s, QByteArray(10, 'a')},
                                       {".folder/file"_s, QByteArray(5, 'b')}}));
    QCOMPARE(folderSize(folder.path()), 15LL);
}

void FolderSizeTest::trailingSeparatorMakesNoDifference()
{
    const QTemporaryDir folder;
    QVERIFY(writeFiles(folder.path(), {{"b/c"_s, QByteArray(20, 'c')}}));
    QCOMPARE(folderSize(folder.path() + QDir::separator()), 20LL);
}

void FolderSizeTest::linksToFoldersAreNotFollowed()
{
    const QTemporaryDir folder;
    const QTemporaryDir elsewhere;
    QVERIFY(writeFiles(folder.path(), {{"b/c"_s, QByteArray(20, 'c')}}));
    QVERIFY(writeFiles(elsewhere.path(), {{"large"_s, QByteArray(5000, 'x')}}));
    QVERIFY(QFile::link(folder.path(), folder.filePath("b/back"_s)));
    QVERIFY(QFile::link(elsewhere.path(), folder.filePath("away"_s)));
    QCOMPARE(folderSize(folder.path()), 20LL);
}

void FolderSizeTest::whatIsNoFolderCountsNothing()
{
    const QTemporaryDir folder;
    QVERIFY(writeFiles(folder.path(), {{"file"_s, QByteArray(7, 'a')}}));
    QVERIFY(QFile::link(folder.filePath("nowhere"_s), folder.filePath("dangling"_s)));
    QCOMPARE(folderSize(folder.path()), 7LL);
    QCOMPARE(folderSize(folder.filePath("file"_s)), 0LL);
}

KAVO_TEST_MAIN(FolderSizeTest)
#include "FolderSizeTest.moc"
