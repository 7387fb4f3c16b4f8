#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/TestMain.h"

#include <QFile>
#include <QTemporaryDir>

using namespace Kavo::Testing;

class FilesTest final : public QObject
{
    Q_OBJECT

private slots:
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
};

KAVO_TEST_MAIN(FilesTest)
#include "FilesTest.moc"
