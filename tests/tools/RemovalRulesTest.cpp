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

QStringList lines(const QString &text)
{
    return text.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

/// Creates a listing from one path per line. A path that ends in a slash is a folder, a path
/// followed by an arrow ("->") and a target is a link, any other one is a file.
ArchiveListing listingOf(const QString &paths)
{
    ArchiveListing listing;
    for (const QString &path : lines(paths)) {
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

/// The paths of a catalogue without other packages.
const PackagePaths &noPaths()
{
    static const PackagePaths paths(CatalogueView(nullptr), -1);
    return paths;
}

/// Returns a catalogue of one other package with one version. `rules` are JSON members of that
/// version, with ' in the place of ".
QByteArray otherWith(const QByteArray &rules)
{
    return QByteArray("[{'id':1,'versions':[{'version':'1',")
        .append(rules)
        .append("}]}]")
        .replace('\'', '"');
}

} // namespace

/// Tests the removal rules that are derived from an archive.
class RemovalRulesTest final : public QObject
{
    Q_OBJECT

private slots:
    void entriesComeFromTheArchive_data()
    {
        Rows<QString, QString, QString>()
            .row("plug-in", "Resources/plugins", "Harbour/\nHarbour/64/lin.xpl\nHarbour/readme.txt",
                 "Resources/plugins/Harbour")
            .row("two plug-ins", "Resources/plugins", "B/lin.xpl\nA/64/lin.xpl\nB/x",
                 "Resources/plugins/A\nResources/plugins/B")
            .row("plug-in in its own folder", "Resources/plugins/Harbour", "64/lin.xpl\nreadme.txt",
                 "Resources/plugins/Harbour")
            .row("plug-in from the top", "", "Resources/plugins/Harbour/64/LIN.XPL\nHarbour.txt",
                 "Harbour.txt\nResources/plugins/Harbour")
            .row("plug-in from the top, with a dot", "./", "./Resources/plugins//Harbour/lin.xpl",
                 "Resources/plugins/Harbour")
            .row("plug-in without a folder", "Resources/plugins", "lin.xpl\ndata/a",
                 "Resources/plugins/data/a\nResources/plugins/lin.xpl")
            .row("script for another plug-in", "Resources/plugins", "Scripts/\nScripts/mine.lua",
                 "Resources/plugins/Scripts/mine.lua")
            .row("plug-in of an aircraft", "Aircraft/Own", "own.acf\nplugins/fmc/lin.xpl",
                 "Aircraft/Own")
            .row("plug-in for another aircraft", "Aircraft", "Other/plugins/fmc/lin.xpl",
                 "Aircraft/Other/plugins/fmc/lin.xpl")
            .row("scenery", "Custom Scenery", "Pier/Earth nav data/apt.dat\nPier/a.obj",
                 "Custom Scenery/Pier")
            .row("library", "Custom Scenery/Lib", "Library.txt\nobjects/a.obj",
                 "Custom Scenery/Lib")
            .row("objects for another scenery", "Custom Scenery",
                 "Other/objects/a.obj\nOther/library/a",
                 "Custom Scenery/Other/library/a\nCustom Scenery/Other/objects/a.obj")
            .row("library in a library", "Custom Scenery", "Other/sub/library.txt",
                 "Custom Scenery/Other/sub/library.txt")
            .row("aircraft", "Aircraft", "Own/own.acf\nOwn/objects/a.obj", "Aircraft/Own")
            .row("aircraft among others", "Aircraft", "General/Own/own.acf\nGeneral/Own/a.obj",
                 "Aircraft/General/Own")
            .row("livery", "Aircraft", "General/Own/liveries/Red/a.png",
                 "Aircraft/General/Own/liveries/Red/a.png")
            .row("the simulator's own files", "Resources", "bitmaps/lights.png\nsounds/horn.wav",
                 "Resources/bitmaps/lights.png\nResources/sounds/horn.wav")
            .row("link", "Resources/plugins", "Harbour/lin.xpl\nlink->Harbour",
                 "Resources/plugins/Harbour\nResources/plugins/link")
            .row("empty folder", "Custom Data", "cache/\na", "Custom Data/a")
            .row("names", "Resources/plugins", "Häfen 2/lin.xpl\n\"q\\/a",
                 "Resources/plugins/\"q\\/a\nResources/plugins/Häfen 2");
    }

    void entriesComeFromTheArchive()
    {
        const auto [extract, paths, entries] = Rows<QString, QString, QString>::current();
        QCOMPARE(RemovalRules(noPaths(), {}).entriesFor(listingOf(paths), extract), lines(entries));
    }

    void everybodysPlacesAreNeverNamed_data()
    {
        Rows<QString, QString>()
            .row("plug-ins", "Resources/plugins", "lin.xpl")
            .row("plug-ins in other cases", "resources/Plugins", "lin.xpl")
            .row("resources", "Resources", "plugins/lin.xpl")
            .row("aircraft", "Aircraft", "own.acf")
            .row("scenery", "Custom Scenery", "library.txt\nEarth nav data/apt.dat")
            .row("top", "", "library.txt\nlin.xpl\nown.acf\nX-Plane-x86_64\nEarth nav data/a")
            .row("file in the place of a folder", "", "Aircraft\nOutput");
    }

    /// They are not named even if the rules of the previous version name them.
    void everybodysPlacesAreNeverNamed()
    {
        const auto [extract, paths] = Rows<QString, QString>::current();
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
        for (const QString &path : lines(paths)) {
            const QString file = ClientVersion::placeOf(extract + QLatin1Char('/') + path);
            QCOMPARE(entries.contains(file), !file.isEmpty());
        }
    }

    void foldersOfOthersAreNotNamed_data()
    {
        Rows<QByteArray, bool>()
            .row("nothing", "'link':'a'", true)
            .row("the same folder", "'uninstall':{'remove':['Resources/plugins/Harbour']}", false)
            .row("the same folder in other cases",
                 "'uninstall':{'remove':['resources/plugins/HARBOUR/']}", false)
            .row("a file in it", "'uninstall':{'remove':['a','Resources/plugins/Harbour/x/y']}",
                 false)
            .row("unpacked into it", "'install':{'extract':'Resources/plugins/Harbour'}", false)
            .row("unpacked below it", "'install':{'extract':'Resources/plugins/Harbour/scripts'}",
                 false)
            .row("unpacked above it", "'install':{'extract':'Resources/plugins'}", true)
            .row("keeps a file in it", "'install':{'preserve':['Resources/plugins/Harbour/a.ini']}",
                 false)
            .row("backs up a file in it",
                 "'install':{'backup':['Resources/plugins/Harbour/a.ini']}", false)
            .row("a folder with a longer name",
                 "'uninstall':{'remove':['Resources/plugins/Harbour 2']}", true)
            .row("a folder with a shorter name",
                 "'uninstall':{'remove':['Resources/plugins/Harb']}", true)
            .row("a folder around it that is everybody's",
                 "'uninstall':{'remove':['Resources/plugins']}", true);
    }

    void foldersOfOthersAreNotNamed()
    {
        const auto [rules, isNamed] = Rows<QByteArray, bool>::current();
        const JsonTree tree(otherWith(rules));
        QVERIFY(tree.root());
        const CatalogueView view(tree.root());
        const ArchiveListing listing = listingOf("Harbour/lin.xpl\nHarbour/a.ini"_s);
        const QString extract = "Resources/plugins"_s;
        const QStringList folder = lines("Resources/plugins/Harbour"_s);
        const QStringList files =
            lines("Resources/plugins/Harbour/a.ini\nResources/plugins/Harbour/lin.xpl"_s);
        const PackagePaths paths(view, -1);
        QCOMPARE(RemovalRules(paths, {}).entriesFor(listing, extract), isNamed ? folder : files);
        // The same holds if the previous version names the folder.
        QCOMPARE(RemovalRules(paths, folder).entriesFor(listing, extract),
                 isNamed ? folder : files);
        // The paths of the package itself do not count.
        const PackagePaths own(view, 0);
        QCOMPARE(RemovalRules(own, {}).entriesFor(listing, extract), folder);
    }

    void rulesOfTheVersionBeforeAreConsidered_data()
    {
        Rows<QString, QString>()
            .row("nothing", "", "Custom Scenery/Pier/a.obj\nCustom Scenery/Pier/b.obj")
            .row("folder", "Custom Scenery/Pier", "Custom Scenery/Pier")
            .row(
                "file that is left out now", "Custom Scenery/Pier/old.obj",
                "Custom Scenery/Pier/a.obj\nCustom Scenery/Pier/b.obj\nCustom Scenery/Pier/old.obj")
            .row("file that is there still", "Custom Scenery/Pier/a.obj",
                 "Custom Scenery/Pier/a.obj\nCustom Scenery/Pier/b.obj")
            .row("file in a folder that goes", "Custom Scenery/Pier\nCustom Scenery/Pier/x",
                 "Custom Scenery/Pier")
            .row("what it has made", "Output/pier.log",
                 "Custom Scenery/Pier/a.obj\nCustom Scenery/Pier/b.obj\nOutput/pier.log");
    }

    void rulesOfTheVersionBeforeAreConsidered()
    {
        const auto [before, entries] = Rows<QString, QString>::current();
        const ArchiveListing listing = listingOf("Pier/b.obj\nPier/a.obj"_s);
        QCOMPARE(RemovalRules(noPaths(), lines(before)).entriesFor(listing, "Custom Scenery"_s),
                 lines(entries));
        const JsonTree tree(
            otherWith("'uninstall':{'remove':['Output/pier.log','Custom Scenery/Pier/old.obj']}"));
        const PackagePaths others(CatalogueView(tree.root()), -1);
        const QStringList kept =
            RemovalRules(others, lines(before)).entriesFor(listing, "Custom Scenery"_s);
        QVERIFY(!kept.contains("Output/pier.log"_s));
        QVERIFY(!kept.contains("Custom Scenery/Pier/old.obj"_s));
        QVERIFY(!kept.contains("Custom Scenery/Pier"_s));
    }

    void undecidedFoldersAreReported()
    {
        RemovalRules rules(noPaths(), {});
        rules.entriesFor(listingOf("Resources/plugins/Scripts/a\nResources/plugins/Scripts/b\n"
                                   "Resources/plugins/Own/lin.xpl\nCustom Scenery/Pier/a\n"
                                   "Resources/bitmaps/a\nOutput/b/c"_s),
                         QString());
        QCOMPARE(rules.undecidedFolders(),
                 lines("Resources/plugins/Scripts\nCustom Scenery/Pier"_s));
    }
};

KAVO_TEST_MAIN(RemovalRulesTest)
#include "RemovalRulesTest.moc"
