#include "tests/packages/EngineTest.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>

#include <functional>
#include <limits>
#include <sys/stat.h>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

const QString ZeroInside = "a\0b"_s;
const QString LongName(5000, u'x');
const QString DeepPath = "x/"_s.repeated(2500) + "x"_s;

/// Writes the version file of a package and that of the shared library. The parameters are their
/// versions.
bool writeVersionFiles(const QString &folder, const char *own, const char *ofLibrary)
{
    const QByteArray head = "Kavo\nPackage\n";
    return writeFiles(folder, {{"Kavo_version.txt"_s, head + own + '\n'},
                               {"lib/Kavo_Library/Kavo_version.txt"_s, head + ofLibrary + '\n'}});
}

/// Creates an entry at a path. Returns whether it succeeded.
using Putting = std::function<bool(const QString &)>;

} // namespace

Q_DECLARE_METATYPE(Putting)

/// Checks that malicious and faulty catalogues do no harm.
class HostileCatalogueTest final : public EngineTest
{
    Q_OBJECT

private slots:
    void pathsOfRulesTouchNothingOfOthers_data()
    {
        Rows<QString, bool>()
            .row("empty", QString(), true)
            .row("the simulator", ".", true)
            .row("the simulator by way of a child", "Output/..", true)
            .row("the simulator by its name", "../@NAME@", true)
            .row("the simulator by its path", "@SIM@", true)
            .row("parent", "..", true)
            .row("two up", "../..", true)
            .row("out by way of a child", "Output/../..", true)
            .row("absolute", "@OUTSIDE@/victim.txt", true)
            .row("absolute with doubled separators", "//@OUTSIDE@//deep", true)
            .row("the simulator by way of a link", "up/@NAME@", true)
            .row("through a link and up", "way out/../..", true)
            .row("up and through a link", "../@NAME@/way out/victim.txt", true)
            .row("through a link to nowhere", "lost/file", true)
            .row("zero character", ZeroInside, true)
            // These paths stay inside the folder and name nothing that exists.
            .row("blanks", "   ", false)
            .row("backslashes", R"(Output\..\..\outside)", false)
            .row("long name", LongName, false)
            .row("deep path", DeepPath, false)
            .row("file where a folder is expected", "plain/inside", false)
            .row("colon in front", "./:outside", false)
            .row("byte order mark before an absolute path", "./\ufeff@OUTSIDE@/victim.txt", false)
            .row("looks like an option", "-rf", false)
            .row("stars", "*", false)
            .row("home", "~", false);
    }
    void pathsOfRulesTouchNothingOfOthers()
    {
        auto [entry, skipped] = Rows<QString, bool>::current();
        entry = filledIn(entry);
        makeOtherPeoplesFiles();
        // The tested entry is the first one of the removal rule. The second one must still be
        // applied.
        for (const QString &version : {"1.0"_s, "2.0"_s}) {
            offer(Offer{7, version}.keeping({entry}).backingUp({entry}).removing(
                {entry, "package-7"_s}));
        }
        QVERIFY(refresh());
        const FileTree before = world();
        const LogCapture log;
        for (const QString &version : {"1.0"_s, "2.0"_s}) {
            QVERIFY(installAndWait(7, version));
            QCOMPARE(inSimulator(Engine::fileOf(7)), Engine::contentOf(7, version));
            const QString own = "home/%1/package-7/"_s.arg(nameOfSimulator());
            QCOMPARE(differences(world(), before),
                     (QStringList{own + " is new"_s, own + "file.txt is new"_s}));
        }
        uninstall(7);
        QCOMPARE(state(7), Package::AVAILABLE);
        QCOMPARE(differences(world(), before), QStringList());
        // Each installation applies the three rules once. The removal applies only the removal
        // rule.
        QCOMPARE(log.lines().count("Skipping path : "_s + entry), skipped ? 7 : 0);
        QCOMPARE(fileTree(profile().preserveFolder()), FileTree());
        QCOMPARE(fileTree(profile().backupFolder()), FileTree());
    }

    void extractFolderStaysInside_data()
    {
        Rows<QString, QString, bool>()
            .row("empty", QString(), "./", false)
            .row("dot", "./", "./", false)
            .row("the simulator by way of a child", "a/..", "./", false)
            .row("folders that are yet to be made", "Custom Scenery/New/Field",
                 "Custom Scenery/New/Field/", false)
            .row("blanks", "   ", "   /", false)
            .row("backslashes", R"(a\..\..\b)", R"(a\..\..\b/)", false)
            .row("colon in front once clean", "./:a", ":a/", false)
            .row("colon in front", ":/a", ":/a/", false)
            .row("byte order mark before an absolute path", "./\ufeff@OUTSIDE@",
                 QChar(0xfeff) + "@OUTSIDE@/"_s, false)
            .row("looks like an option", "-y", "-y/", false)
            .row("looks like a list of files", "@a", "@a/", false)
            .row("home", "~", "~/", false)
            .row("parent", "..", QString(), true)
            .row("two up", "../..", QString(), true)
            .row("out by way of a child", "a/../..", QString(), true)
            .row("the simulator by its name", "../@NAME@", QString(), true)
            .row("the simulator by its path", "@SIM@", QString(), true)
            .row("absolute", "@OUTSIDE@", QString(), true)
            .row("zero character", ZeroInside, QString(), true)
            // Inside the simulator, but nothing can be unpacked there.
            .row("long name", LongName, QString(), false)
            .row("stars", "*/a*b", QString(), false)
            .row("deep path", DeepPath, QString(), false)
            .row("file where a folder is expected", "plain", QString(), false)
            .row("folder below a file", "plain/folder", QString(), false)
            .row("link to nowhere", "lost", QString(), false);
    }
    void extractFolderStaysInside()
    {
        auto [extract, folder, skipped] = Rows<QString, QString, bool>::current();
        extract = filledIn(extract);
        folder = filledIn(folder);
        makeOtherPeoplesFiles();
        const bool installs = !folder.isEmpty();
        const QString unpacked = QDir::cleanPath(folder + Engine::fileOf(7));
        // A byte order mark at the beginning of an entry would be lost in the catalogue.
        QVERIFY(publish({Offer{7}.into(extract).removing({"./"_s + folder + "package-7"_s})}));
        const FileTree before = world();
        const LogCapture log;
        QCOMPARE(installAndWait(7), installs);
        QCOMPARE(state(7), installs ? Package::INSTALLED : Package::INSTALL_ERROR);
        QCOMPARE(QFile::exists(simulator(unpacked)), installs);
        QCOMPARE(log.contains("Installation failed : The package wants to be unpacked "
                              "outside of the simulator: "_s +
                              extract),
                 skipped);
        if (installs)
            uninstall(7);
        // Empty folders may stay.
        FileTree after = world();
        for (const QString &path : after.keys()) {
            if (path.endsWith(u'/') && !before.contains(path))
                after.remove(path);
        }
        QCOMPARE(differences(after, before), QStringList());
    }

    void versionFileIsLookedForInsideOnly_data()
    {
        Rows<int, QString, QString>()
            .row("empty: the simulator's own folder", 7, QString(), "3.1")
            .row("dot", 7, ".", "3.1")
            .row("the simulator by way of a child", 7, "a/..", "3.1")
            .row("the shared library", 1, ".", "3.2")
            // A link in the simulator's folder counts as the user's.
            .row("through a link", 7, "way out", "9.1")
            .row("parent", 7, "..", "")
            .row("out by way of a child", 7, "a/../..", "")
            .row("out and back", 7, "../outside", "")
            .row("absolute", 7, "@OUTSIDE@", "")
            .row("absolute, inside", 7, "@SIM@", "")
            .row("parent, the shared library", 1, "../outside", "")
            .row("zero character", 7, ZeroInside, "")
            .row("long name", 7, LongName, "")
            .row("deep path", 7, DeepPath, "")
            .row("blanks", 7, "  ", "")
            .row("backslashes", 7, R"(..\outside)", "")
            .row("file where a folder is expected", 7, "plain", "")
            .row("link to nowhere", 7, "lost", "");
    }
    void versionFileIsLookedForInsideOnly()
    {
        const auto [id, extract, version] = Rows<int, QString, QString>::current();
        makeOtherPeoplesFiles();
        const QString above = QFileInfo(simulator({}).chopped(1)).path() + u'/';
        QVERIFY(writeVersionFiles(simulator({}), "3.1", "3.2"));
        QVERIFY(writeVersionFiles(outside(), "9.1", "9.2"));
        QVERIFY(writeVersionFiles(above, "9.3", "9.4"));
        QVERIFY(publish({Offer{id}.into(filledIn(extract))}));
        QCOMPARE(state(id), version.isEmpty() ? Package::AVAILABLE : Package::INSTALLED);
        QCOMPARE(recordedVersion(id), version);
    }

    void versionFileThatCannotBeReadIsNone_data()
    {
        const auto linkTo = [](const QString &target) {
            return [target](const QString &path) { return QFile::link(target, path); };
        };
        Rows<Putting>()
            .row("folder", [](const QString &path) { return QDir().mkpath(path); })
            .row("pipe that nobody writes to",
                 [](const QString &path) { return ::mkfifo(qPrintable(path), 0600) == 0; })
            .row("link to an endless device", linkTo("/dev/zero"_s))
            .row("link to itself", linkTo("Kavo_version.txt"_s))
            .row("one line without an end",
                 [](const QString &path) { return writeFile(path, QByteArray(5000, 'x')); });
    }
    void versionFileThatCannotBeReadIsNone()
    {
        const auto [put] = Rows<Putting>::current();
        QVERIFY(put(simulator("Kavo_version.txt"_s)) && publish({{7}}));
        QCOMPARE(state(7), Package::AVAILABLE);
        QCOMPARE(recordedStatus(7), -1);
    }

    void hundredThousandEmptyPackagesAreListed()
    {
        for (int number = 0; number < 100000; ++number)
            offerObject({});
        QVERIFY(refresh());
        QCOMPARE(controller().packages().size(), 100000);
        QCOMPARE(package(0), controller().packages().first());
        QCOMPARE(state(0), Package::AVAILABLE);
    }

    void hugeTextsAreListed()
    {
        const QString huge(1000000, u'x');
        QJsonArray versions;
        for (const QString &version : {huge, "1."_s.repeated(500000)})
            versions.append(QJsonObject{{"version"_s, version}});
        offerObject({{"id"_s, 7},
                     {"name"_s, QJsonObject{{"en"_s, huge}}},
                     {"type"_s, huge},
                     {"versions"_s, versions}});
        QVERIFY(refresh());
        QCOMPARE(package(7)->name(), huge);
        QCOMPARE(package(7)->versions().size(), 2);
        // Versions with numbers are newer than texts without numbers, however many numbers there
        // are.
        QVERIFY(package(7)->newestVersion().startsWith(u'1'));
    }

    void packageWithoutAnAddressIsADownloadError_data()
    {
        Rows<QJsonValue>()
            .row("missing", QJsonValue(QJsonValue::Undefined))
            .row("null", QJsonValue(QJsonValue::Null))
            .row("number", QJsonValue(3))
            .row("array", QJsonValue(QJsonArray{"http://localhost/"_s}))
            .row("empty", QJsonValue(QString()))
            .row("no address", QJsonValue("no address"_s))
            .row("unknown scheme", QJsonValue("gopher://localhost/a.zip"_s))
            .row("zero character", QJsonValue(ZeroInside))
            .row("long", QJsonValue(QString(100000, u'x')));
    }
    void packageWithoutAnAddressIsADownloadError()
    {
        const auto [link] = Rows<QJsonValue>::current();
        const QJsonObject version{{"version"_s, "1.0"_s}, {"link"_s, link}};
        offerObject({{"id"_s, 7}, {"versions"_s, QJsonArray{version}}});
        QVERIFY(publish({{8}}));
        QVERIFY(!installAndWait(7));
        QCOMPARE(state(7), Package::DOWNLOAD_ERROR);
        QVERIFY(installAndWait(8));
    }

    void negativeIdIsAnId()
    {
        QVERIFY(publish({{std::numeric_limits<int>::min()},
                         Offer{-3}.needing({"-2147483648:1.0"_s}).removing({"package--3"_s})}));
        QVERIFY(installAndWait(-3));
        QCOMPARE(recordedStatus(std::numeric_limits<int>::min()), 1);
        QCOMPARE(recordedStatus(-3), 1);
        uninstall(std::numeric_limits<int>::min());
        QCOMPARE(recordedStatus(-3), 0);
        QVERIFY(!hasFile(-3));
    }

    void packagesOfOneIdShareTheirRecord()
    {
        offer({7, "1.0"_s});
        server().serve("/other.zip"_s, archive(7).body);
        offerObject({{"id"_s, 7},
                     {"versions"_s,
                      QJsonArray{QJsonObject{
                          {"version"_s, "2.0"_s},
                          {"link"_s, server().url("/other.zip"_s)},
                          {"install"_s, QJsonObject{{"extract"_s, "second"_s}}},
                          {"uninstall"_s, QJsonObject{{"remove"_s, QJsonArray{"second"_s}}}}}}}});
        QVERIFY(refresh());
        const PackageList packages = controller().packages();
        QCOMPARE(packages.size(), 2);
        // findPackage() returns the first package with the id.
        QCOMPARE(package(7), packages.first());
        QCOMPARE(install(7), "1.0"_s);
        // Two installations at once would write the same record, so the second one is refused while
        // the first one runs.
        QString version;
        controller().install(packages.last(), version);
        QCOMPARE(packages.last()->state(), Package::AVAILABLE);
        QVERIFY(waitUntilSettled(7));
        controller().install(packages.last(), version);
        QTRY_COMPARE(packages.last()->state(), Package::INSTALLED);
        QTRY_COMPARE(recordedVersion(7), "2.0"_s);
        QVERIFY(QFile::exists(simulator("second/"_s + Engine::fileOf(7))));
        QVERIFY(hasFile(7));
        // Both packages share the record of their id, so the next list shows both as installed.
        QVERIFY(refresh());
        QCOMPARE(controller().packages().first()->state(), Package::INSTALLED);
        QCOMPARE(controller().packages().last()->state(), Package::INSTALLED);
        controller().uninstall(controller().packages().last());
        QVERIFY(!QFile::exists(simulator("second"_s)));
        QCOMPARE(recordedStatus(7), 0);
    }

    void ringOfPackagesIsInstalledAndRemoved()
    {
        for (int id = 1; id <= 5; ++id) {
            offer(Offer{id}
                      .needing({QString::number(id), QString::number(id % 5 + 1), "1:0"_s,
                                "%1:"_s.arg(id % 5 + 1)})
                      .removing({"package-%1"_s.arg(id)}));
        }
        QVERIFY(refresh());
        install(3);
        for (int id = 1; id <= 5; ++id) {
            QVERIFY(waitUntilSettled(id));
            QCOMPARE(state(id), Package::INSTALLED);
        }
        uninstall(4);
        for (int id = 1; id <= 5; ++id) {
            QCOMPARE(state(id), Package::AVAILABLE);
            QVERIFY(!hasFile(id));
        }
    }

    void manyEntriesForManyPackagesOfOneIdAreAnswered()
    {
        QStringList entries;
        for (int number = 0; number < 60000; ++number) {
            offerObject({});
            entries.append("no id"_s);
        }
        QVERIFY(publish({Offer{7}.needing(entries)}));
        QCOMPARE(controller().resolvedDependencies(package(7), QString()).size(), 0);
        QCOMPARE(controller().dependents(package(0), QString()).size(), 0);
    }

    void absurdVersionsComeBackLetterForLetter_data()
    {
        Rows<QString>()
            .row("empty", QString())
            .row("blank", " ")
            .row("word", "beta")
            .row("blanks around", " 1.0 ")
            .row("line feeds", "1.0\n2.0\r\n")
            .row("negative", "-1.0")
            .row("empty segment", "1..2")
            .row("beyond an int", "99999999999999999999.1")
            .row("exponent", "1e400")
            .row("not a number", "nan")
            .row("infinite", "Inf")
            .row("hexadecimal", "0x10")
            .row("zero character", "1.0\0.5"_s)
            .row("zero character behind a number", "1.10\0"_s)
            .row("quotes", "1'; DROP TABLE packages; --")
            .row("placeholder", ":package_id")
            .row("many segments", "1."_s.repeated(50000))
            .row("other digits", "\u0661.\u0662")
            .row("wide blank", "\u00a01.0")
            .row("rich text", "<b>1.0</b>");
    }
    void absurdVersionsComeBackLetterForLetter()
    {
        const auto [version] = Rows<QString>::current();
        QVERIFY(publish({Offer{7, version}.at("/absurd.zip"_s).removing({"package-7"_s})}));
        QVERIFY(installAndWait(7));
        for (int start = 0; start < 2; ++start) {
            QCOMPARE(state(7), Package::INSTALLED);
            QCOMPARE(installedVersion(7), version);
            QVERIFY(restart());
        }
        uninstall(7);
        QVERIFY(!hasFile(7));
    }

private:
    void makeOtherPeoplesFiles()
    {
        QVERIFY(writeFiles(simulator({}), {{"Custom Scenery/Theirs/scene.txt"_s, "their scenery"},
                                           {"Resources/plugins/Other/other.xpl"_s, "their plug-in"},
                                           {"Output/preferences.txt"_s, "their settings"},
                                           {"plain"_s, "a file"}}));
        QVERIFY(writeFiles(outside(),
                           {{"victim.txt"_s, "theirs"}, {"deep/victim.txt"_s, "theirs too"}}));
        QVERIFY(QFile::link(outside(), simulator("way out"_s)));
        QVERIFY(QFile::link("/nowhere/at/all"_s, simulator("lost"_s)));
        QVERIFY(QFile::link(".."_s, simulator("up"_s)));
    }

    /// The content of the parent of the home folder, including the simulator and outside(). Hidden
    /// entries of the home folder are left out, because they contain the program's own data.
    FileTree world()
    {
        const QFileInfo home(profile().home());
        FileTree tree = fileTree(home.path());
        for (const QString &path : tree.keys()) {
            if (path.startsWith(home.fileName() + "/."_s))
                tree.remove(path);
        }
        return tree;
    }

    QString nameOfSimulator() { return QFileInfo(simulator({}).chopped(1)).fileName(); }
    QString outside() { return profile().folder("outside"_s); }
    /// Replaces the placeholders for paths that are known only at run time.
    QString filledIn(QString entry)
    {
        return entry.replace("@OUTSIDE@"_s, QDir::cleanPath(outside()))
            .replace("@SIM@"_s, simulator({}).chopped(1))
            .replace("@NAME@"_s, nameOfSimulator());
    }
};

KAVO_TEST_MAIN(HostileCatalogueTest)
#include "HostileCatalogueTest.moc"
