#include "tests/support/Archives.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
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
};

KAVO_TEST_MAIN(ArchivesTest)
#include "ArchivesTest.moc"
