#include "tests/support/Archives.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/StandInLocate.h"
#include "tests/support/TestMain.h"

#include <QProcess>

using namespace Kavo::Testing;

class ArchivesTest final : public QObject
{
    Q_OBJECT

private slots:
    void sevenZipReadsWhatWasPacked_data()
    {
        Rows<QString> rows;
        for (const char *name : {"a.7z", "a.zip", "a.tar"})
            rows.row(name, name);
    }

    void sevenZipReadsWhatWasPacked()
    {
        const auto [name] = Rows<QString>::current();
        const QTemporaryDir folder;
        const Files files{{"a.txt"_s, "one"}, {"b/with blank.txt"_s, ""}, {"empty/"_s, ""}};
        QVERIFY(makeArchive(folder.filePath(name), files));
        const QString target = folder.filePath("out"_s);
        QCOMPARE(QProcess::execute("/usr/bin/7z"_s, {"x"_s, "-bso0"_s, "-bsp0"_s,
                                                     folder.filePath(name), "-o"_s + target}),
                 0);
        QCOMPARE(fileTree(target), expectedTree(files));
    }

    void handMadeTarHoldsItsEntries()
    {
        const QTemporaryDir folder;
        const QString archive = folder.filePath("a.tar"_s);
        QVERIFY(writeFile(archive, tarOf({{TarEntry::FOLDER, "sub/", ""},
                                          {TarEntry::FILE, "sub/a.txt", QByteArray(1000, 'x')},
                                          {TarEntry::LINK, "link", "sub/a.txt"},
                                          {TarEntry::FILE, "../out.txt", "y"}})));
        QProcess lister;
        lister.start("tar"_s, {"-tPf"_s, archive});
        QVERIFY(lister.waitForFinished());
        QCOMPARE(lister.exitCode(), 0);
        QCOMPARE(lister.readAllStandardOutput(), QByteArray("sub/\nsub/a.txt\nlink\n../out.txt\n"));
    }

    void treeShowsFilesFoldersAndLinks()
    {
        const QTemporaryDir folder;
        QVERIFY(writeFile(folder.filePath("a/.hidden"_s), "x"));
        QVERIFY(QFile::link("/nowhere"_s, folder.filePath("a/dead"_s)));
        QVERIFY(QFile::link(".."_s, folder.filePath("a/loop"_s)));
        const FileTree tree = fileTree(folder.path());
        QCOMPARE(tree.keys(), QStringList({"a/"_s, "a/.hidden"_s, "a/dead"_s, "a/loop"_s}));
        QCOMPARE(tree.value("a/dead"_s), "-> /nowhere"_s);
        QCOMPARE(tree.value("a/loop"_s), "-> .."_s);
        QCOMPARE(tree.value("a/.hidden"_s).size(), 64);
    }

    void standInTakesThePlaceOfLocate()
    {
        const QByteArray path = qgetenv("PATH");
        {
            StandInLocate locate({"/a b/c"_s, "/d"_s}, 3);
            QProcess process;
            process.start("locate"_s, {"x y"_s});
            QVERIFY(process.waitForFinished());
            QCOMPARE(process.exitCode(), 3);
            QCOMPARE(process.readAllStandardOutput(), QByteArray("/a b/c\n/d\n"));
            QCOMPARE(locate.arguments(), QStringList("x y"_s));
            locate.setMissing();
            process.start("locate"_s, QStringList());
            QVERIFY(!process.waitForStarted());
        }
        QCOMPARE(qgetenv("PATH"), path);
    }
};

KAVO_TEST_MAIN(ArchivesTest)
#include "ArchivesTest.moc"
