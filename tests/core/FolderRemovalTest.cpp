#include "core/FolderRemoval.h"
#include "tests/support/Files.h"
#include "tests/support/WithoutRights.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

using Kavo::FailedPaths;
using Kavo::removeFolder;
using namespace Kavo::Testing;

class FolderRemovalTest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_root = std::make_unique<QTemporaryDir>(); }
    void cleanup() { m_root.reset(); }

    void folderIsRemovedWithItsContent();
    void linksAreRemovedAndNotFollowed();
    void folderThatIsALinkLosesTheLinkOnly();
    void linkThatCannotBeRemovedIsNotFollowed();
    void onlyWhatCannotBeRemovedStays();
    void unreadableFolderIsRemovedWhenEmpty();
    void unreadableFolderStaysWithWhatIsInIt();
    void missingFolderCountsAsRemoved();
    void fileIsRemoved();
    void namesThatAreNoTextAreRemoved();
    void folderDeeperThanTheLongestPathIsRemoved();

private:
    QString path(const QString &name) const { return m_root->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_root;
};

void FolderRemovalTest::folderIsRemovedWithItsContent()
{
    QVERIFY(writeFiles(path(QStringLiteral("top")), {{QStringLiteral("a.txt"), "a"},
                                                     {QStringLiteral(".hidden"), "h"},
                                                     {QStringLiteral("empty/"), {}},
                                                     {QStringLiteral("b/c/d.txt"), "d"}}));
    QVERIFY(writeFile(path(QStringLiteral("beside")), "stays"));
    setMode(path(QStringLiteral("top/a.txt")), 0400);
    QVERIFY(removeFolder(path(QStringLiteral("top"))));
    QCOMPARE(QDir(m_root->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList{QStringLiteral("beside")});
}

void FolderRemovalTest::linksAreRemovedAndNotFollowed()
{
    QVERIFY(writeFile(path(QStringLiteral("outside/file")), "stays"));
    QVERIFY(writeFile(path(QStringLiteral("top/file")), "goes"));
    QVERIFY(QFile::link(path(QStringLiteral("outside")), path(QStringLiteral("top/folder"))));
    QVERIFY(QFile::link(path(QStringLiteral("outside/file")), path(QStringLiteral("top/link"))));
    QVERIFY(QFile::link(path(QStringLiteral("nowhere")), path(QStringLiteral("top/broken"))));
    QVERIFY(QFile::link(path(QStringLiteral("top")), path(QStringLiteral("top/loop"))));
    QVERIFY(removeFolder(path(QStringLiteral("top"))));
    QVERIFY(!QFileInfo::exists(path(QStringLiteral("top"))));
    QCOMPARE(readFile(path(QStringLiteral("outside/file"))), QByteArray("stays"));
}

void FolderRemovalTest::folderThatIsALinkLosesTheLinkOnly()
{
    QVERIFY(writeFile(path(QStringLiteral("outside/file")), "stays"));
    QVERIFY(QFile::link(path(QStringLiteral("outside")), path(QStringLiteral("top"))));
    QVERIFY(removeFolder(path(QStringLiteral("top"))));
    QVERIFY(!QFileInfo(path(QStringLiteral("top"))).isSymLink());
    QCOMPARE(readFile(path(QStringLiteral("outside/file"))), QByteArray("stays"));
}

void FolderRemovalTest::linkThatCannotBeRemovedIsNotFollowed()
{
    QVERIFY(writeFiles(path(QStringLiteral("outside")),
                       {{QStringLiteral("file"), "stays"}, {QStringLiteral("deep/file"), "too"}}));
    const QMap<QString, QString> before = fileTree(path(QStringLiteral("outside")));
    QVERIFY(QDir(m_root->path()).mkpath(QStringLiteral("locked")));
    QVERIFY(QFile::link(path(QStringLiteral("outside")), path(QStringLiteral("locked/link"))));
    // The files behind the link could be removed, so they stay only if the link is not followed.
    for (const char *folder : {"", "outside", "outside/deep"})
        setMode(path(QLatin1String(folder)), 0777);
    setMode(path(QStringLiteral("locked")), 0555);
    {
        const WithoutRights withoutRights;
        QVERIFY(!removeFolder(path(QStringLiteral("locked/link"))));
    }
    setMode(path(QStringLiteral("locked")), 0755);
    QVERIFY(QFileInfo(path(QStringLiteral("locked/link"))).isSymLink());
    QCOMPARE(fileTree(path(QStringLiteral("outside"))), before);
}

void FolderRemovalTest::onlyWhatCannotBeRemovedStays()
{
    const QString top = path(QStringLiteral("top"));
    QVERIFY(writeFiles(top, {{QStringLiteral("a.txt"), "goes"},
                             {QStringLiteral("locked/deep/c.txt"), "goes"},
                             {QStringLiteral("locked/kept.txt"), "stays"},
                             {QStringLiteral("open/b.txt"), "goes"},
                             {QStringLiteral("z.txt"), "goes"}}));
    letEverybodyWrite(m_root->path());
    setMode(path(QStringLiteral("top/locked")), 0555);
    FailedPaths failed;
    {
        const WithoutRights withoutRights;
        QVERIFY(!removeFolder(top, &failed));
    }
    const QMap<QString, QString> left = fileTree(top);
    setMode(path(QStringLiteral("top/locked")), 0755);
    QCOMPARE(left.keys(), (QStringList{QStringLiteral("locked/"), QStringLiteral("locked/deep/"),
                                       QStringLiteral("locked/kept.txt")}));
    // Their parent folders stay because of them and are not reported.
    QStringList paths = failed.paths();
    paths.sort();
    QCOMPARE(paths, (QStringList{top + QStringLiteral("/locked/deep"),
                                 top + QStringLiteral("/locked/kept.txt")}));
}

void FolderRemovalTest::unreadableFolderIsRemovedWhenEmpty()
{
    QVERIFY(QDir(m_root->path()).mkpath(QStringLiteral("top/closed")));
    for (const char *folder : {"", "top"})
        setMode(path(QLatin1String(folder)), 0777);
    setMode(path(QStringLiteral("top/closed")), 0000);
    {
        const WithoutRights withoutRights;
        QVERIFY(removeFolder(path(QStringLiteral("top"))));
    }
    QVERIFY(!QFileInfo::exists(path(QStringLiteral("top"))));
}

void FolderRemovalTest::unreadableFolderStaysWithWhatIsInIt()
{
    QVERIFY(writeFile(path(QStringLiteral("top/closed/a.txt")), "stays"));
    letEverybodyWrite(m_root->path());
    setMode(path(QStringLiteral("top/closed")), 0000);
    FailedPaths failed;
    {
        const WithoutRights withoutRights;
        QVERIFY(!removeFolder(path(QStringLiteral("top")), &failed));
    }
    setMode(path(QStringLiteral("top/closed")), 0755);
    QCOMPARE(failed.paths(), QStringList{path(QStringLiteral("top/closed"))});
    QCOMPARE(readFile(path(QStringLiteral("top/closed/a.txt"))), QByteArray("stays"));
}

void FolderRemovalTest::missingFolderCountsAsRemoved()
{
    QVERIFY(writeFile(path(QStringLiteral("file")), "stays"));
    FailedPaths failed;
    QVERIFY(removeFolder(path(QStringLiteral("nothing")), &failed));
    QVERIFY(removeFolder(path(QStringLiteral("nothing/below")), &failed));
    QVERIFY(removeFolder(path(QStringLiteral("file/below")), &failed));
    QVERIFY(failed.isEmpty());
    QCOMPARE(readFile(path(QStringLiteral("file"))), QByteArray("stays"));
}

void FolderRemovalTest::fileIsRemoved()
{
    QVERIFY(writeFile(path(QStringLiteral("file")), "goes"));
    QCOMPARE(::mkfifo(QFile::encodeName(path(QStringLiteral("pipe"))).constData(), 0600), 0);
    QVERIFY(removeFolder(path(QStringLiteral("file"))));
    QVERIFY(removeFolder(path(QStringLiteral("pipe"))));
    QVERIFY(!QFileInfo::exists(path(QStringLiteral("file"))));
    QVERIFY(!QFileInfo::exists(path(QStringLiteral("pipe"))));
}

void FolderRemovalTest::namesThatAreNoTextAreRemoved()
{
    QVERIFY(QDir(m_root->path()).mkpath(QStringLiteral("top")));
    const QByteArray name = QFile::encodeName(path(QStringLiteral("top"))) + "/no text \xff";
    const int file = ::open(name.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
    QVERIFY(file >= 0);
    ::close(file);
    QVERIFY(removeFolder(path(QStringLiteral("top"))));
    QVERIFY(!QFileInfo::exists(path(QStringLiteral("top"))));
}

void FolderRemovalTest::folderDeeperThanTheLongestPathIsRemoved()
{
    constexpr int Depth = 300;
    const QByteArray name(100, 'n');
    QVERIFY(QDir(m_root->path()).mkpath(QStringLiteral("top")));
    int folder = ::open(QFile::encodeName(path(QStringLiteral("top"))).constData(),
                        O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    for (int depth = 0; depth < Depth; ++depth) {
        QCOMPARE(::mkdirat(folder, name.constData(), 0700), 0);
        const int inner = ::openat(folder, name.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        ::close(folder);
        folder = inner;
    }
    ::close(folder);
    QVERIFY(removeFolder(path(QStringLiteral("top"))));
    QVERIFY(!QFileInfo::exists(path(QStringLiteral("top"))));
}

QTEST_APPLESS_MAIN(FolderRemovalTest)
#include "FolderRemovalTest.moc"
