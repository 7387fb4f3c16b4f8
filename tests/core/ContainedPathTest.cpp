#include "core/ContainedPath.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Kavo;

class ContainedPathTest final : public QObject
{
    Q_OBJECT

private slots:
    void entriesUnderTheFolderAreJoined_data();
    void entriesUnderTheFolderAreJoined();
    void entriesThatDoNotStayAreRefused_data();
    void entriesThatDoNotStayAreRefused();
    void linkOnTheWayLeadsOut();
    void linkAtTheEndStays();
    void linkInsideTheFolderStays();
    void folderThatDoesNotExistYetStays();
    void linkToNowhereDoesNotStay();
    void realPlacesTellWhatIsInAFolder();
};

void ContainedPathTest::entriesUnderTheFolderAreJoined_data()
{
    QTest::addColumn<QString>("entry");
    QTest::addColumn<QString>("path");
    QTest::newRow("file") << "a.txt"
                          << "/sim/a.txt";
    QTest::newRow("folder") << "Custom Scenery/Field/"
                            << "/sim/Custom Scenery/Field";
    QTest::newRow("doubled separator") << "a//b"
                                       << "/sim/a/b";
    QTest::newRow("inner dots that stay") << "a/../b"
                                          << "/sim/b";
    QTest::newRow("name of dots") << "..."
                                  << "/sim/...";
    QTest::newRow("name that begins with dots") << "..a/b"
                                                << "/sim/..a/b";
    QTest::newRow("backslash is a letter") << "a\\..\\b"
                                           << "/sim/a\\..\\b";
    const QString mark = QStringLiteral("\ufeff");
    QTest::newRow("byte order mark")
        << QStringLiteral("./") + mark << QStringLiteral("/sim/") + mark;
    QTest::newRow("slash behind a byte order mark")
        << QStringLiteral("./") + mark + QStringLiteral("/etc")
        << QStringLiteral("/sim/") + mark + QStringLiteral("/etc");
    QTest::newRow("dots behind a byte order mark")
        << QStringLiteral("./") + mark + QStringLiteral("../a")
        << QStringLiteral("/sim/") + mark + QStringLiteral("../a");
    QTest::newRow("colon in front") << ":/a"
                                    << "/sim/:/a";
    QTest::newRow("colon in front once clean") << "./:a"
                                               << "/sim/:a";
    QTest::newRow("colon in front after a detour") << "a/../:/etc"
                                                   << "/sim/:/etc";
}

void ContainedPathTest::entriesUnderTheFolderAreJoined()
{
    QFETCH(QString, entry);
    QFETCH(QString, path);
    QCOMPARE(containedPath(QStringLiteral("/sim/"), entry), path);
}

void ContainedPathTest::entriesThatDoNotStayAreRefused_data()
{
    QTest::addColumn<QString>("entry");
    QTest::newRow("empty") << "";
    QTest::newRow("the folder itself") << ".";
    QTest::newRow("the folder itself with separator") << "./";
    QTest::newRow("the folder itself by way of a child") << "a/..";
    QTest::newRow("parent") << "..";
    QTest::newRow("out and beyond") << "../../etc";
    QTest::newRow("out by way of a child") << "a/../../b";
    QTest::newRow("absolute") << "/etc/passwd";
    QTest::newRow("absolute, inside") << "/sim/a";
    QTest::newRow("zero character") << QString(QLatin1String("a\0b", 3));
}

void ContainedPathTest::entriesThatDoNotStayAreRefused()
{
    QFETCH(QString, entry);
    QVERIFY(containedPath(QStringLiteral("/sim/"), entry).isEmpty());
    QVERIFY(containedPath(QString(), QStringLiteral("a")).isEmpty());
}

void ContainedPathTest::linkOnTheWayLeadsOut()
{
    const QTemporaryDir inside;
    const QTemporaryDir outside;
    QVERIFY(QFile::link(outside.path(), inside.filePath(QStringLiteral("link"))));
    QVERIFY(!staysWithin(inside.filePath(QStringLiteral("link/file")), {inside.path()}));
    QVERIFY(!staysWithin(inside.filePath(QStringLiteral("link/new/file")), {inside.path()}));
    QVERIFY(staysWithin(inside.filePath(QStringLiteral("link/file")),
                        {inside.path(), inside.filePath(QStringLiteral("link"))}));
}

void ContainedPathTest::linkAtTheEndStays()
{
    const QTemporaryDir inside;
    const QTemporaryDir outside;
    QVERIFY(QFile::link(outside.path(), inside.filePath(QStringLiteral("link"))));
    QVERIFY(staysWithin(inside.filePath(QStringLiteral("link")), {inside.path()}));
}

void ContainedPathTest::linkInsideTheFolderStays()
{
    const QTemporaryDir inside;
    QVERIFY(QDir(inside.path()).mkdir(QStringLiteral("real")));
    QVERIFY(QFile::link(QStringLiteral("real"), inside.filePath(QStringLiteral("link"))));
    QVERIFY(staysWithin(inside.filePath(QStringLiteral("link/file")), {inside.path()}));
}

void ContainedPathTest::folderThatDoesNotExistYetStays()
{
    const QTemporaryDir inside;
    QVERIFY(staysWithin(inside.filePath(QStringLiteral("a/b/c")), {inside.path()}));
    QVERIFY(!staysWithin(inside.path() + QStringLiteral("-twin/b"), {inside.path()}));
}

void ContainedPathTest::linkToNowhereDoesNotStay()
{
    const QTemporaryDir inside;
    QVERIFY(
        QFile::link(QStringLiteral("/nowhere/at/all"), inside.filePath(QStringLiteral("link"))));
    QVERIFY(!staysWithin(inside.filePath(QStringLiteral("link/file")), {inside.path()}));
}

void ContainedPathTest::realPlacesTellWhatIsInAFolder()
{
    const QTemporaryDir folder;
    const QString deep = folder.filePath(QStringLiteral("a/b"));
    QVERIFY(QDir().mkpath(deep));
    QVERIFY(QDir().mkpath(folder.filePath(QStringLiteral("a-twin"))));
    const QString link = folder.filePath(QStringLiteral("link"));
    QVERIFY(QFile::link(folder.filePath(QStringLiteral("a")), link));
    QVERIFY(isInFolder(deep, folder.path()));
    QVERIFY(isInFolder(deep, deep));
    QVERIFY(isInFolder(deep, link));
    QVERIFY(isInFolder(link, folder.filePath(QStringLiteral("a"))));
    QVERIFY(!isInFolder(folder.path(), deep));
    QVERIFY(!isInFolder(folder.filePath(QStringLiteral("a-twin")),
                        folder.filePath(QStringLiteral("a"))));
    const QString missing = folder.filePath(QStringLiteral("missing"));
    QVERIFY(!isInFolder(missing, folder.path()));
    QVERIFY(!isInFolder(folder.path(), missing));
}

QTEST_GUILESS_MAIN(ContainedPathTest)
#include "ContainedPathTest.moc"
