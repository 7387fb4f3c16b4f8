#include "tests/packages/EngineTest.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

#include <functional>
#include <limits>
#include <sys/stat.h>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

QString zeroInside()
{
    return QString(QLatin1String("a\0b", 3));
}

QString longName()
{
    return QString(5000, QLatin1Char('x'));
}

QString deepPath()
{
    return "x/"_s.repeated(2500) + "x"_s;
}

/// A version file with this version.
QByteArray versionFile(const char *version)
{
    return QByteArray("Kavo\nPackage\n") + version + '\n';
}

/// Replaces a file by something else.
using Putting = std::function<bool(const QString &)>;

} // namespace

Q_DECLARE_METATYPE(Putting)

/// Catalogues that are hostile, on purpose or by accident, must do no harm.
class HostileCatalogueTest final : public EngineTest
{
    Q_OBJECT

private slots:
    void pathsOfRulesTouchNothingOfOthers_data()
    {
        QTest::addColumn<QString>("entry");
        QTest::addColumn<bool>("skipped");
        const auto skipped = [](const char *name, const QString &entry) {
            QTest::newRow(name) << entry << true;
        };
        skipped("empty", QString());
        skipped("the simulator", "."_s);
        skipped("the simulator by way of a child", "Output/.."_s);
        skipped("the simulator by its name", "../@NAME@"_s);
        skipped("the simulator by its path", "@SIM@"_s);
        skipped("parent", ".."_s);
        skipped("two up", "../.."_s);
        skipped("out by way of a child", "Output/../.."_s);
        skipped("absolute", "@OUTSIDE@/victim.txt"_s);
        skipped("absolute with doubled separators", "//@OUTSIDE@//deep"_s);
        skipped("the simulator by way of a link", "up/@NAME@"_s);
        skipped("through a link and up", "way out/../.."_s);
        skipped("up and through a link", "../@NAME@/way out/victim.txt"_s);
        skipped("through a link to nowhere", "lost/file"_s);
        skipped("zero character", zeroInside());
        // These paths stay inside the folder and name nothing that exists.
        const auto harmless = [](const char *name, const QString &entry) {
            QTest::newRow(name) << entry << false;
        };
        harmless("blanks", "   "_s);
        harmless("backslashes", R"(Output\..\..\outside)"_s);
        harmless("long name", longName());
        harmless("deep path", deepPath());
        harmless("file where a folder is expected", "plain/inside"_s);
        harmless("colon in front", "./:outside"_s);
        harmless("byte order mark before an absolute path", "./\ufeff@OUTSIDE@/victim.txt"_s);
        harmless("looks like an option", "-rf"_s);
        harmless("stars", "*"_s);
        harmless("home", "~"_s);
    }
    void pathsOfRulesTouchNothingOfOthers()
    {
        QFETCH(QString, entry);
        QFETCH(bool, skipped);
        entry = filledIn(entry);
        makeOtherPeoplesFiles();
        // Before the other removal rule, which must still be applied.
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
        // An installation applies each of the three rules once, and the removal at the end applies
        // one more.
        QCOMPARE(log.lines().count("Skipping path : "_s + entry), skipped ? 7 : 0);
        QCOMPARE(fileTree(profile().preserveFolder()), FileTree());
        QCOMPARE(fileTree(profile().backupFolder()), FileTree());
    }

    void extractFolderStaysInside_data()
    {
        QTest::addColumn<QString>("extract");
        QTest::addColumn<QString>("folder");
        QTest::addColumn<bool>("skipped");
        const auto accepted = [](const char *name, const QString &extract, const QString &folder) {
            QTest::newRow(name) << extract << folder << false;
        };
        const auto refused = [](const char *name, const QString &extract) {
            QTest::newRow(name) << extract << QString() << true;
        };
        const auto failing = [](const char *name, const QString &extract) {
            QTest::newRow(name) << extract << QString() << false;
        };
        accepted("empty", QString(), "./"_s);
        accepted("dot", "./"_s, "./"_s);
        accepted("the simulator by way of a child", "a/.."_s, "./"_s);
        accepted("folders that are yet to be made", "Custom Scenery/New/Field"_s,
                 "Custom Scenery/New/Field/"_s);
        accepted("blanks", "   "_s, "   /"_s);
        accepted("backslashes", R"(a\..\..\b)"_s, R"(a\..\..\b/)"_s);
        accepted("colon in front once clean", "./:a"_s, ":a/"_s);
        accepted("colon in front", ":/a"_s, ":/a/"_s);
        accepted("byte order mark before an absolute path", "./\ufeff@OUTSIDE@"_s,
                 QChar(0xfeff) + "@OUTSIDE@/"_s);
        accepted("looks like an option", "-y"_s, "-y/"_s);
        accepted("looks like a list of files", "@a"_s, "@a/"_s);
        accepted("home", "~"_s, "~/"_s);
        refused("parent", ".."_s);
        refused("two up", "../.."_s);
        refused("out by way of a child", "a/../.."_s);
        refused("the simulator by its name", "../@NAME@"_s);
        refused("the simulator by its path", "@SIM@"_s);
        refused("absolute", "@OUTSIDE@"_s);
        refused("zero character", zeroInside());
        failing("long name", longName());
        failing("stars", "*/a*b"_s);
        failing("deep path", deepPath());
        failing("file where a folder is expected", "plain"_s);
        failing("folder below a file", "plain/folder"_s);
        failing("link to nowhere", "lost"_s);
    }
    void extractFolderStaysInside()
    {
        QFETCH(QString, extract);
        QFETCH(QString, folder);
        QFETCH(bool, skipped);
        extract = filledIn(extract);
        folder = filledIn(folder);
        makeOtherPeoplesFiles();
        const bool installs = !folder.isEmpty();
        const QString unpacked = QDir::cleanPath(folder + Engine::fileOf(7));
        // A leading byte order mark would be lost in the file.
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
            if (path.endsWith(QLatin1Char('/')) && !before.contains(path))
                after.remove(path);
        }
        QCOMPARE(differences(after, before), QStringList());
    }

    void versionFileIsLookedForInsideOnly_data()
    {
        QTest::addColumn<int>("id");
        QTest::addColumn<QString>("extract");
        QTest::addColumn<QString>("version");
        const auto row = [](const char *name, const QString &extract, const char *version,
                            int id = 7) {
            QTest::newRow(name) << id << extract << QString::fromLatin1(version);
        };
        row("empty: the simulator's own folder", QString(), "3.1");
        row("dot", "."_s, "3.1");
        row("the simulator by way of a child", "a/.."_s, "3.1");
        row("the shared library", "."_s, "3.2", 1);
        // A link in the simulator's folder counts as the user's.
        row("through a link", "way out"_s, "9.1");
        row("parent", ".."_s, "");
        row("out by way of a child", "a/../.."_s, "");
        row("out and back", "../outside"_s, "");
        row("absolute", "@OUTSIDE@"_s, "");
        row("absolute, inside", "@SIM@"_s, "");
        row("parent, the shared library", "../outside"_s, "", 1);
        row("zero character", zeroInside(), "");
        row("long name", longName(), "");
        row("deep path", deepPath(), "");
        row("blanks", "  "_s, "");
        row("backslashes", R"(..\outside)"_s, "");
        row("file where a folder is expected", "plain"_s, "");
        row("link to nowhere", "lost"_s, "");
    }
    void versionFileIsLookedForInsideOnly()
    {
        QFETCH(int, id);
        QFETCH(QString, extract);
        QFETCH(QString, version);
        makeOtherPeoplesFiles();
        const QString name = "Kavo_version.txt"_s;
        const QString libraryName = "lib/Kavo_Library/Kavo_version.txt"_s;
        const QString above = QFileInfo(simulator({}).chopped(1)).path() + QLatin1Char('/');
        QVERIFY(writeFiles(simulator({}),
                           {{name, versionFile("3.1")}, {libraryName, versionFile("3.2")}}));
        QVERIFY(
            writeFiles(outside(), {{name, versionFile("9.1")}, {libraryName, versionFile("9.2")}}));
        QVERIFY(writeFiles(above, {{name, versionFile("9.3")}, {libraryName, versionFile("9.4")}}));
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
        const QString huge(1000000, QLatin1Char('x'));
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
        // Numbers come before texts without numbers, however many there are.
        QVERIFY(package(7)->newestVersion().startsWith(QLatin1Char('1')));
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
            .row("zero character", QJsonValue(zeroInside()))
            .row("long", QJsonValue(QString(100000, QLatin1Char('x'))));
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
        // The first package with an id is the one that counts.
        QCOMPARE(package(7), packages.first());
        QCOMPARE(install(7), "1.0"_s);
        // Two installations at once would write the same record, so the second one waits for the
        // first.
        QString version;
        controller().install(packages.last(), version);
        QCOMPARE(packages.last()->state(), Package::AVAILABLE);
        QVERIFY(waitUntilSettled(7));
        controller().install(packages.last(), version);
        QTRY_COMPARE(packages.last()->state(), Package::INSTALLED);
        QTRY_COMPARE(recordedVersion(7), "2.0"_s);
        QVERIFY(QFile::exists(simulator("second/"_s + Engine::fileOf(7))));
        QVERIFY(hasFile(7));
        // The record belongs to the id, so the next list shows both as installed.
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
            .row("zero character", QString(QLatin1String("1.0\0.5", 6)))
            .row("zero character behind a number", QString(QLatin1String("1.10\0", 5)))
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

    /// The content of the home folder, with the simulator, and of its parent, without the program's
    /// own data.
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
    /// A placeholder for folders that are known only when the test runs.
    QString filledIn(QString entry)
    {
        return entry.replace("@OUTSIDE@"_s, QDir::cleanPath(outside()))
            .replace("@SIM@"_s, simulator({}).chopped(1))
            .replace("@NAME@"_s, nameOfSimulator());
    }
};

KAVO_TEST_MAIN(HostileCatalogueTest)
#include "HostileCatalogueTest.moc"
