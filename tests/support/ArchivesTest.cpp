#include "tests/support/Archives.h"
#include "tests/support/StandInLocate.h"
#include "tests/support/TestMain.h"

#include <QProcess>

using namespace Kavo::Testing;

class ArchivesTest final : public QObject
{
    Q_OBJECT

private slots:
    void sevenZipReadsWhatWasPacked_data();
    void sevenZipReadsWhatWasPacked();
    void handMadeTarHoldsItsEntries();
    void treeShowsFilesFoldersAndLinks();
    void standInTakesThePlaceOfLocate();
};

void ArchivesTest::sevenZipReadsWhatWasPacked_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : {"a.7z", "a.zip", "a.tar"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

void ArchivesTest::sevenZipReadsWhatWasPacked()
{
    QFETCH(QString, name);
    const QTemporaryDir folder;
    const Files files{{QStringLiteral("a.txt"), "one"},
                      {QStringLiteral("b/with blank.txt"), ""},
                      {QStringLiteral("empty/"), ""}};
    QVERIFY(makeArchive(folder.filePath(name), files));
    const QString target = folder.filePath(QStringLiteral("out"));
    QCOMPARE(
        QProcess::execute(QStringLiteral("/usr/bin/7z"),
                          {QStringLiteral("x"), QStringLiteral("-bso0"), QStringLiteral("-bsp0"),
                           folder.filePath(name), QStringLiteral("-o") + target}),
        0);
    QCOMPARE(fileTree(target), expectedTree(files));
}

void ArchivesTest::handMadeTarHoldsItsEntries()
{
    const QTemporaryDir folder;
    const QString archive = folder.filePath(QStringLiteral("a.tar"));
    QVERIFY(makeTar(archive, {{TarEntry::FOLDER, "sub/", ""},
                              {TarEntry::FILE, "sub/a.txt", QByteArray(1000, 'x')},
                              {TarEntry::LINK, "link", "sub/a.txt"},
                              {TarEntry::FILE, "../out.txt", "y"}}));
    QProcess lister;
    lister.start(QStringLiteral("tar"), {QStringLiteral("-tPf"), archive});
    QVERIFY(lister.waitForFinished());
    QCOMPARE(lister.exitCode(), 0);
    QCOMPARE(lister.readAllStandardOutput(), QByteArray("sub/\nsub/a.txt\nlink\n../out.txt\n"));
}

void ArchivesTest::treeShowsFilesFoldersAndLinks()
{
    const QTemporaryDir folder;
    QVERIFY(writeFile(folder.filePath(QStringLiteral("a/.hidden")), "x"));
    QVERIFY(QFile::link(QStringLiteral("/nowhere"), folder.filePath(QStringLiteral("a/dead"))));
    QVERIFY(QFile::link(QStringLiteral(".."), folder.filePath(QStringLiteral("a/loop"))));
    const QMap<QString, QString> tree = fileTree(folder.path());
    QCOMPARE(tree.keys(), QStringList({QStringLiteral("a/"), QStringLiteral("a/.hidden"),
                                       QStringLiteral("a/dead"), QStringLiteral("a/loop")}));
    QCOMPARE(tree.value(QStringLiteral("a/dead")), QStringLiteral("-> /nowhere"));
    QCOMPARE(tree.value(QStringLiteral("a/loop")), QStringLiteral("-> .."));
    QCOMPARE(tree.value(QStringLiteral("a/.hidden")).size(), 64);
}

void ArchivesTest::standInTakesThePlaceOfLocate()
{
    const QByteArray path = qgetenv("PATH");
    {
        StandInLocate locate({QStringLiteral("/a b/c"), QStringLiteral("/d")}, 3);
        QProcess process;
        process.start(QStringLiteral("locate"), {QStringLiteral("x y")});
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitCode(), 3);
        QCOMPARE(process.readAllStandardOutput(), QByteArray("/a b/c\n/d\n"));
        QCOMPARE(locate.arguments(), QStringList(QStringLiteral("x y")));
        locate.setMissing();
        process.start(QStringLiteral("locate"), QStringList());
        QVERIFY(!process.waitForStarted());
    }
    QCOMPARE(qgetenv("PATH"), path);
}

KAVO_TEST_MAIN(ArchivesTest)
#include "ArchivesTest.moc"
