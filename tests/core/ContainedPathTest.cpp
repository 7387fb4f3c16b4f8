#include "core/ContainedPath.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <memory>

using namespace Kavo;
using namespace Kavo::Testing;

class ContainedPathTest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_inside = std::make_unique<QTemporaryDir>(); }

    void entriesUnderTheFolderAreJoined_data();
    void entriesUnderTheFolderAreJoined();
    void entriesThatDoNotStayAreRefused_data();
    void entriesThatDoNotStayAreRefused();
    void pathThroughALinkLeadsOutside();
    void linkAtTheEndStaysInside();
    void linkInsideTheFolderStays();
    void folderThatDoesNotExistYetStays();
    void linkToNowhereDoesNotStay();
    void linksAreResolvedToFindWhatIsInAFolder();

private:
    QString path(const QString &name) const { return m_inside->filePath(name); }
    bool link(const QString &target) const { return QFile::link(target, path("link"_s)); }
    bool stays(const QString &name) const { return staysWithin(path(name), {m_inside->path()}); }

    std::unique_ptr<QTemporaryDir> m_inside;
};

void ContainedPathTest::entriesUnderTheFolderAreJoined_data()
{
    Rows<QString, QString>()
        .row("file", "a.txt", "/sim/a.txt")
        .row("folder", "Custom Scenery/Field/", "/sim/Custom Scenery/Field")
        .row("doubled separator", "a//b", "/sim/a/b")
        .row("inner dots that stay", "a/../b", "/sim/b")
        .row("name of dots", "...", "/sim/...")
        .row("name that begins with dots", "..a/b", "/sim/..a/b")
        .row("backslash is a letter", "a\\..\\b", "/sim/a\\..\\b")
        .row("byte order mark", "./\ufeff", "/sim/\ufeff")
        .row("slash behind a byte order mark", "./\ufeff/etc", "/sim/\ufeff/etc")
        .row("dots behind a byte order mark", "./\ufeff../a", "/sim/\ufeff../a")
        .row("colon in front", ":/a", "/sim/:/a")
        .row("colon in front once clean", "./:a", "/sim/:a")
        .row("colon in front after a detour", "a/../:/etc", "/sim/:/etc");
}

void ContainedPathTest::entriesUnderTheFolderAreJoined()
{
    const auto [entry, path] = Rows<QString, QString>::current();
    QCOMPARE(containedPath("/sim/"_s, entry), path);
}

void ContainedPathTest::entriesThatDoNotStayAreRefused_data()
{
    Rows<QString>()
        .row("empty", "")
        .row("the folder itself", ".")
        .row("the folder itself with separator", "./")
        .row("the folder itself by way of a child", "a/..")
        .row("parent", "..")
        .row("out and beyond", "../../etc")
        .row("out by way of a child", "a/../../b")
        .row("absolute", "/etc/passwd")
        .row("absolute, inside", "/sim/a")
        .row("zero character", "a\0b"_s);
}

void ContainedPathTest::entriesThatDoNotStayAreRefused()
{
    const auto [entry] = Rows<QString>::current();
    QVERIFY(containedPath("/sim/"_s, entry).isEmpty());
    QVERIFY(containedPath(QString(), "a"_s).isEmpty());
}

void ContainedPathTest::pathThroughALinkLeadsOutside()
{
    const QTemporaryDir outside;
    QVERIFY(link(outside.path()));
    QVERIFY(!stays("link/file"_s));
    QVERIFY(!stays("link/new/file"_s));
    QVERIFY(staysWithin(path("link/file"_s), {m_inside->path(), path("link"_s)}));
}

void ContainedPathTest::linkAtTheEndStaysInside()
{
    const QTemporaryDir outside;
    QVERIFY(link(outside.path()));
    QVERIFY(stays("link"_s));
}

void ContainedPathTest::linkInsideTheFolderStays()
{
    QVERIFY(QDir(m_inside->path()).mkdir("real"_s));
    QVERIFY(link("real"_s));
    QVERIFY(stays("link/file"_s));
}

void ContainedPathTest::folderThatDoesNotExistYetStays()
{
    QVERIFY(stays("a/b/c"_s));
    QVERIFY(!staysWithin(m_inside->path() + "-twin/b"_s, {m_inside->path()}));
}

void ContainedPathTest::linkToNowhereDoesNotStay()
{
    QVERIFY(link("/nowhere/at/all"_s));
    QVERIFY(!stays("link/file"_s));
}

void ContainedPathTest::linksAreResolvedToFindWhatIsInAFolder()
{
    const QString folder = path("a"_s);
    const QString twin = path("a-twin"_s);
    const QString deep = path("a/b"_s);
    QVERIFY(QDir().mkpath(deep));
    QVERIFY(QDir().mkpath(twin));
    QVERIFY(link(folder));
    QVERIFY(isInFolder(deep, m_inside->path()));
    QVERIFY(isInFolder(deep, deep));
    QVERIFY(isInFolder(deep, path("link"_s)));
    QVERIFY(isInFolder(path("link"_s), folder));
    QVERIFY(!isInFolder(m_inside->path(), deep));
    QVERIFY(!isInFolder(twin, folder));
    const QString missing = path("missing"_s);
    QVERIFY(!isInFolder(missing, m_inside->path()));
    QVERIFY(!isInFolder(m_inside->path(), missing));
}

QTEST_GUILESS_MAIN(ContainedPathTest)
#include "ContainedPathTest.moc"
