#include "packages/installation/ArchiveContainment.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/ScratchProfile.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFile>

using namespace Kavo;
using namespace Kavo::Testing;
using Extractors::ArchiveEntry;
using Extractors::ArchiveListing;
using Kind = ArchiveEntry::Kind;

Q_DECLARE_METATYPE(QVector<ArchiveEntry>)

using Archives = Rows<QVector<ArchiveEntry>>;

ArchiveEntry file(const QByteArray &path)
{
    return {QString::fromUtf8(path), Kind::FILE, 1, {}, false};
}

ArchiveEntry link(const QByteArray &path, const QByteArray &target)
{
    return {QString::fromUtf8(path), Kind::SYMBOLIC_LINK, 1, QString::fromUtf8(target), false};
}

ArchiveEntry hardLink(const QByteArray &path, const QByteArray &target)
{
    return {QString::fromUtf8(path), Kind::HARD_LINK, 0, QString::fromUtf8(target), false};
}

/// Tests which entries of an archive count as leaving the folder that it is unpacked into.
class ArchiveContainmentTest final : public QObject
{
    Q_OBJECT

private slots:
    void harmlessArchiveHasNoWayOut_data()
    {
        Archives()
            .row("empty", {})
            .row("no path", {file("")})
            .row("plain", {file("a/b/c.txt"), file("./a/b//d.txt"), file("a b")})
            .row("dots in names", {file("..a"), file("a.."), file("...")})
            .row("colon", {file("a:b"), file("C:")})
            .row("backslash", {file("a\\b")})
            .row("link beside", {file("lib/x.so.1"), link("lib/x.so", "x.so.1")})
            .row("link to another folder", {link("a/b/x", "../../c/./y"), file("c/y")})
            .row("link to the folder itself", {link("a/b", "..")})
            .row("link to nothing", {link("a", "missing")})
            .row("link to a link", {link("a", "b"), link("b", "c"), file("c")})
            .row("link through a link",
                 {link("a/b/short", "../.."), link("door", "a/b/short/c"), file("c")})
            .row("hard link", {file("a/b"), hardLink("c/d", "a/b")})
            .row("name that begins like a link",
                 {link("lib", "lib64"), file("lib64/x"), file("libx/y")});
    }
    void harmlessArchiveHasNoWayOut()
    {
        const auto [entries] = Archives::current();
        QCOMPARE(wayOut(entries).value_or("none"_s), "none"_s);
    }

    void wayOutIsFound_data()
    {
        Archives rows;
        // ".." is refused even if the path stays in the folder. A backslash separates names too.
        for (const char *path : {"door/../..", "door/..", "door\\..\\..", "door/..\\x"})
            rows.row(path, {file("a"), file(path)});
        rows.row("NUL", {{"door"_s + QChar(QChar::Null), Kind::FILE, 1, {}, false}})
            .row("device", {file("a"), {"door"_s, Kind::DEVICE, 0, {}, false}})
            .row("above", {link("door", "..")})
            .row("far above", {file("a/b/c"), link("door", "a/b/../../../x")})
            .row("absolute", {link("door", "/etc")})
            .row("absolute, of Windows", {link("door", "C:\\Windows")})
            .row("backslashes", {link("door", R"(a\..\..\b)")})
            .row("backslashes as part of a name", {link("door", "a\\b/../../c")})
            .row("no target", {link("door", "")})
            .row("no name", {link("door/.", "."), file("door/./a")})
            .row("by way of a link up",
                 {link("a/b/short", "../.."), link("door", "a/b/short/../x")})
            .row("by way of a link that comes later",
                 {link("door", "a/b/short/../x"), link("a/b/short", "../..")})
            .row("by way of an absolute link", {link("door", "door 2/x"), link("door 2", "/etc")})
            .row("by way of two links",
                 {link("a/one", "b"), link("a/b", "../c"), link("door", "a/one/../../x")})
            .row("circle", {link("door", "door 2"), link("door 2", "door")})
            .row("to itself", {link("door", "door")})
            .row("hard link above", {hardLink("door", "../x")})
            .row("hard link, absolute", {hardLink("door", "/etc/passwd")})
            .row("hard link through a link", {hardLink("door", "door 2/x"), link("door 2", "/etc")})
            .row("file through a link", {link("a", "b"), file("a/door")})
            .row("folder through a link", {file("x"), link("a/b", "c"), file("a/b/door/y")})
            .row("twice", {file("door"), link("door", "b")})
            .row("twice, the link first", {link("door", "b"), file("door")})
            .row("twice, both links", {link("door", "b"), link("./door", "c")});
    }
    void wayOutIsFound()
    {
        const auto [entries] = Archives::current();
        const std::optional<QString> found = wayOut(entries);
        QVERIFY(found);
        QVERIFY2(found->contains("door"_s), qPrintable(*found));
    }

    /// A link without a name would replace the folder that is unpacked into.
    void linkNeedsAName()
    {
        for (const char *path : {"", ".", "./"})
            QVERIFY(wayOut({link(path, "a")}));
    }

    void linkDoesNotGoBackThroughALinkOfTheUser()
    {
        const ScratchProfile profile;
        const QString simulator = profile.folder("simulator"_s);
        const QString disk = profile.folder("disk/scenery"_s);
        QVERIFY(QDir(simulator).mkpath("Aircraft"_s));
        QVERIFY(QFile::link(disk.chopped(1), simulator + "Custom Scenery"_s));
        // "Custom Scenery" is a link of the user, so ".." in it is a folder outside the simulator.
        QVERIFY(wayOut({link("Custom Scenery/door", "../x")}, simulator));
        QVERIFY(wayOut({link("door", "Custom Scenery/../x")}, simulator));
        QVERIFY(!wayOut({link("Custom Scenery/a/inside", "../x")}, simulator));
        QVERIFY(!wayOut({link("inside", "Custom Scenery/x")}, simulator));
        QVERIFY(!wayOut({link("Aircraft/inside", "../x")}, simulator));
    }

    void manyLinksInARowEnd()
    {
        // Each link doubles the number of steps to resolve it. A link that needs too many steps
        // counts as leaving the folder.
        QVector<ArchiveEntry> entries;
        for (int number = 1; number < 60; ++number) {
            const QByteArray before = 'l' + QByteArray::number(number - 1);
            entries.append(link('l' + QByteArray::number(number), before + '/' + before));
        }
        QVERIFY(wayOut(entries));
    }

private:
    static std::optional<QString> wayOut(const QVector<ArchiveEntry> &entries,
                                         const QString &folder = "/no/such"_s)
    {
        const ArchiveListing listing{entries, false};
        return ArchiveContainment(listing, folder).wayOut();
    }
};

KAVO_TEST_MAIN(ArchiveContainmentTest)
#include "ArchiveContainmentTest.moc"
