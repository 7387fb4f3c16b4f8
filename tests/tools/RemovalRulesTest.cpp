#include "tools/publish/RemovalRules.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"
#include "tools/check/ClientVersion.h"
#include "tools/check/JsonTree.h"

using namespace Kavo::Testing;
using namespace Kavo::Tools;
using Kavo::Extractors::ArchiveEntry;
using Kavo::Extractors::ArchiveListing;

namespace {

/// Paths that end in a slash are folders, those with an arrow are links.
ArchiveListing listingOf(const QStringList &paths)
{
    ArchiveListing listing;
    for (const QString &path : paths) {
        ArchiveEntry entry;
        entry.path = path.section("->"_s, 0, 0);
        if (path.endsWith(QLatin1Char('/')))
            entry.kind = ArchiveEntry::Kind::FOLDER;
        if (path.contains("->"_s))
            entry.kind = ArchiveEntry::Kind::SYMBOLIC_LINK;
        listing.entries.append(entry);
    }
    return listing;
}

QStringList lines(const char *text)
{
    return QString::fromUtf8(text).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

/// A catalogue of one other package, whose version has these rules.
QByteArray otherWith(const char *rules)
{
    return QByteArray("[{'id':1,'versions':[{'version':'1',")
        .append(rules)
        .append("}]}]")
        .replace('\'', '"');
}

} // namespace

/// The removal rules that follow from an archive.
class RemovalRulesTest final : public QObject
{
    Q_OBJECT

private slots:
    void entriesComeFromTheArchive_data()
    {
        QTest::addColumn<QString>("extract");
        QTest::addColumn<QStringList>("paths");
        QTest::addColumn<QStringList>("entries");

        const auto row = [](const char *name, const char *extract, const char *paths,
                            const char *entries) {
            QTest::newRow(name) << QString::fromUtf8(extract) << lines(paths) << lines(entries);
        };
        row("plug-in", "Resources/plugins", "Harbour/\nHarbour/64/lin.xpl\nHarbour/readme.txt",
            "Resources/plugins/Harbour");
        row("two plug-ins", "Resources/plugins", "B/lin.xpl\nA/64/lin.xpl\nB/x",
            "Resources/plugins/A\nResources/plugins/B");
        row("plug-in in its own folder", "Resources/plugins/Harbour", "64/lin.xpl\nreadme.txt",
            "Resources/plugins/Harbour");
        row("plug-in from the top", "", "Resources/plugins/Harbour/64/LIN.XPL\nHarbour.txt",
            "Harbour.txt\nResources/plugins/Harbour");
        row("plug-in from the top, with a dot", "./", "./Resources/plugins//Harbour/lin.xpl",
            "Resources/plugins/Harbour");
        row("plug-in without a folder", "Resources/plugins", "lin.xpl\ndata/a",
            "Resources/plugins/data/a\nResources/plugins/lin.xpl");
        row("script for another plug-in", "Resources/plugins", "Scripts/\nScripts/mine.lua",
            "Resources/plugins/Scripts/mine.lua");
        row("plug-in of an aircraft", "Aircraft/Own", "own.acf\nplugins/fmc/lin.xpl",
            "Aircraft/Own");
        row("plug-in for another aircraft", "Aircraft", "Other/plugins/fmc/lin.xpl",
            "Aircraft/Other/plugins/fmc/lin.xpl");
        row("scenery", "Custom Scenery", "Pier/Earth nav data/apt.dat\nPier/a.obj",
            "Custom Scenery/Pier");
        row("library", "Custom Scenery/Lib", "Library.txt\nobjects/a.obj", "Custom Scenery/Lib");
        row("objects for another scenery", "Custom Scenery", "Other/objects/a.obj\nOther/library/a",
            "Custom Scenery/Other/library/a\nCustom Scenery/Other/objects/a.obj");
        row("library in a library", "Custom Scenery", "Other/sub/library.txt",
            "Custom Scenery/Other/sub/library.txt");
        row("aircraft", "Aircraft", "Own/own.acf\nOwn/objects/a.obj", "Aircraft/Own");
        row("aircraft among others", "Aircraft", "General/Own/own.acf\nGeneral/Own/a.obj",
            "Aircraft/General/Own");
        row("livery", "Aircraft", "General/Own/liveries/Red/a.png",
            "Aircraft/General/Own/liveries/Red/a.png");
        row("the simulator's own files", "Resources", "bitmaps/lights.png\nsounds/horn.wav",
            "Resources/bitmaps/lights.png\nResources/sounds/horn.wav");
        row("link", "Resources/plugins", "Harbour/lin.xpl\nlink->Harbour",
            "Resources/plugins/Harbour\nResources/plugins/link");
        row("empty folder", "Custom Data", "cache/\na", "Custom Data/a");
        row("names", "Resources/plugins",
            "H\xc3\xa4"
            "fen 2/lin.xpl\n\"q\\/a",
            "Resources/plugins/\"q\\/a\nResources/plugins/H\xc3\xa4"
            "fen 2");
    }

    void entriesComeFromTheArchive()
    {
        QFETCH(QString, extract);
        QFETCH(QStringList, paths);
        QFETCH(QStringList, entries);
        const PackagePaths none(CatalogueView(nullptr), -1);
        QCOMPARE(RemovalRules(none, {}).entriesFor(listingOf(paths), extract), entries);
    }

    void everybodysPlacesAreNeverNamed_data()
    {
        Rows<QString, QStringList>()
            .row("plug-ins", "Resources/plugins", lines("lin.xpl"))
            .row("plug-ins in other cases", "resources/Plugins", lines("lin.xpl"))
            .row("resources", "Resources", lines("plugins/lin.xpl"))
            .row("aircraft", "Aircraft", lines("own.acf"))
            .row("scenery", "Custom Scenery", lines("library.txt\nEarth nav data/apt.dat"))
            .row("top", "",
                 lines("library.txt\nlin.xpl\nown.acf\nX-Plane-x86_64\nEarth nav data/a"))
            .row("file in the place of a folder", "", lines("Aircraft\nOutput"));
    }

    /// The version before names them, too.
    void everybodysPlacesAreNeverNamed()
    {
        const auto [extract, paths] = Rows<QString, QStringList>::current();
        const QByteArray before =
            otherWith("'uninstall':{'remove':['Resources','resources/Plugins','Resources/plugins',"
                      "'Aircraft','Custom Scenery','.','','X-Plane-x86_64','../a','/b']}");
        const JsonTree tree(before);
        const CatalogueView view(tree.root());
        const PackagePaths none(view, 0);
        const QStringList removed =
            ClientVersion::placesIn(view.packages().front().versions.front().entries(
                QLatin1String("uninstall"), QLatin1String("remove")));
        QCOMPARE(removed, QStringList());
        const QStringList entries =
            RemovalRules(none, removed).entriesFor(listingOf(paths), extract);
        for (const QString &entry : entries)
            QVERIFY2(!ClientVersion::placeOf(entry).isEmpty(), qPrintable(entry));
        for (const QString &path : paths) {
            const QString file = ClientVersion::placeOf(extract + QLatin1Char('/') + path);
            QCOMPARE(entries.contains(file), !file.isEmpty());
        }
    }

    void foldersOfOthersAreNotNamed_data()
    {
        QTest::addColumn<QByteArray>("others");
        QTest::addColumn<bool>("isNamed");

        const auto row = [](const char *name, const char *rules, bool isNamed) {
            QTest::newRow(name) << otherWith(rules) << isNamed;
        };
        row("nothing", "'link':'a'", true);
        row("the same folder", "'uninstall':{'remove':['Resources/plugins/Harbour']}", false);
        row("the same folder in other cases",
            "'uninstall':{'remove':['resources/plugins/HARBOUR/']}", false);
        row("a file in it", "'uninstall':{'remove':['a','Resources/plugins/Harbour/x/y']}", false);
        row("unpacked into it", "'install':{'extract':'Resources/plugins/Harbour'}", false);
        row("unpacked below it", "'install':{'extract':'Resources/plugins/Harbour/scripts'}",
            false);
        row("unpacked above it", "'install':{'extract':'Resources/plugins'}", true);
        row("keeps a file in it", "'install':{'preserve':['Resources/plugins/Harbour/a.ini']}",
            false);
        row("backs up a file in it", "'install':{'backup':['Resources/plugins/Harbour/a.ini']}",
            false);
        row("a folder with a longer name", "'uninstall':{'remove':['Resources/plugins/Harbour 2']}",
            true);
        row("a folder with a shorter name", "'uninstall':{'remove':['Resources/plugins/Harb']}",
            true);
        row("a folder around it that is everybody's",
            "'uninstall':{'remove':['Resources/plugins']}", true);
    }

    void foldersOfOthersAreNotNamed()
    {
        QFETCH(QByteArray, others);
        QFETCH(bool, isNamed);
        const JsonTree tree(others);
        QVERIFY(tree.root());
        const CatalogueView view(tree.root());
        const ArchiveListing listing = listingOf(lines("Harbour/lin.xpl\nHarbour/a.ini"));
        const QString extract = "Resources/plugins"_s;
        const QStringList folder = lines("Resources/plugins/Harbour");
        const QStringList files =
            lines("Resources/plugins/Harbour/a.ini\nResources/plugins/Harbour/lin.xpl");
        const PackagePaths paths(view, -1);
        QCOMPARE(RemovalRules(paths, {}).entriesFor(listing, extract), isNamed ? folder : files);
        // The version before names the folder, but other packages use it now.
        QCOMPARE(RemovalRules(paths, folder).entriesFor(listing, extract),
                 isNamed ? folder : files);
        // A package is compared with other packages only.
        const PackagePaths own(view, 0);
        QCOMPARE(RemovalRules(own, {}).entriesFor(listing, extract), folder);
    }

    void versionBeforeIsHeard_data()
    {
        QTest::addColumn<QStringList>("before");
        QTest::addColumn<QStringList>("entries");

        const auto row = [](const char *name, const char *before, const char *entries) {
            QTest::newRow(name) << lines(before) << lines(entries);
        };
        row("nothing", "", "Custom Scenery/Pier/a.obj\nCustom Scenery/Pier/b.obj");
        row("folder", "Custom Scenery/Pier", "Custom Scenery/Pier");
        row("file that is left out now", "Custom Scenery/Pier/old.obj",
            "Custom Scenery/Pier/a.obj\nCustom Scenery/Pier/b.obj\nCustom Scenery/Pier/old.obj");
        row("file that is there still", "Custom Scenery/Pier/a.obj",
            "Custom Scenery/Pier/a.obj\nCustom Scenery/Pier/b.obj");
        row("file in a folder that goes", "Custom Scenery/Pier\nCustom Scenery/Pier/x",
            "Custom Scenery/Pier");
        row("what it has made", "Output/pier.log",
            "Custom Scenery/Pier/a.obj\nCustom Scenery/Pier/b.obj\nOutput/pier.log");
    }

    void versionBeforeIsHeard()
    {
        QFETCH(QStringList, before);
        QFETCH(QStringList, entries);
        const PackagePaths none(CatalogueView(nullptr), -1);
        const ArchiveListing listing = listingOf(lines("Pier/b.obj\nPier/a.obj"));
        QCOMPARE(RemovalRules(none, before).entriesFor(listing, "Custom Scenery"_s), entries);
        const QByteArray moved =
            otherWith("'uninstall':{'remove':['Output/pier.log','Custom Scenery/Pier/old.obj']}");
        const JsonTree tree(moved);
        const PackagePaths others(CatalogueView(tree.root()), -1);
        const QStringList kept =
            RemovalRules(others, before).entriesFor(listing, "Custom Scenery"_s);
        QVERIFY(!kept.contains("Output/pier.log"_s));
        QVERIFY(!kept.contains("Custom Scenery/Pier/old.obj"_s));
        QVERIFY(!kept.contains("Custom Scenery/Pier"_s));
    }

    void foldersInDoubtAreTold()
    {
        const PackagePaths none(CatalogueView(nullptr), -1);
        RemovalRules rules(none, {});
        rules.entriesFor(
            listingOf(lines("Resources/plugins/Scripts/a\nResources/plugins/Scripts/b\n"
                            "Resources/plugins/Own/lin.xpl\nCustom Scenery/Pier/a\n"
                            "Resources/bitmaps/a\nOutput/b/c")),
            QString());
        QCOMPARE(rules.undecidedFolders(), lines("Resources/plugins/Scripts\nCustom Scenery/Pier"));
    }
};

KAVO_TEST_MAIN(RemovalRulesTest)
#include "RemovalRulesTest.moc"
