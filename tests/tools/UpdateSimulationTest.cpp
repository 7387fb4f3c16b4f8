#include "tools/simulation/UpdateSimulation.h"
#include "packages/PackageEnvironment.h"
#include "tests/support/Archives.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"
#include "tests/tools/ArchiveShelf.h"
#include "tests/tools/ToolRun.h"
#include "tools/ExitStatus.h"
#include "tools/check/CatalogueCheck.h"

#include <QDir>
#include <QProcess>

#include <csignal>

using namespace Kavo::Testing;
using namespace Kavo::Tools;
using Versions = QVector<ShelvedVersion>;

namespace {

const QString Own = "Resources/plugins/Piers"_s;
const QString Plugin = Own + "/64/lin.xpl"_s;
const QString Lights = "lights.txt"_s;

/// The result of a simulation with all versions of a shelf.
struct Trial
{
    CheckReport report;
    int installations = 0;
    int updates = 0;
    QStringList untried;

    QStringList messages(Rule rule) const
    {
        QStringList messages;
        for (const Finding &finding : report.findings()) {
            if (finding.rule == rule)
                messages.append(finding.message);
        }
        return messages;
    }
};

Trial tried(const ArchiveShelf &shelf,
            const QString &extractor = Kavo::PackageEnvironment::standard().extractor)
{
    Trial trial;
    const ArchiveFolder folder(shelf.folder());
    trial.report =
        checkCatalogue(shelf.catalogue(), [&](const QByteArray &document,
                                              const CatalogueView &catalogue, Findings &findings) {
            UpdateSimulation simulation(document, catalogue, folder, extractor, findings);
            trial.installations = simulation.installations();
            trial.updates = simulation.updates();
            simulation.run();
            trial.untried = simulation.untried();
        });
    return trial;
}

ShelvedVersion version(const char *number, const Files &files, const QStringList &remove = {Own})
{
    ShelvedVersion shelved;
    shelved.version = QString::fromLatin1(number);
    shelved.archive = archiveOf(files, "zip"_s);
    shelved.remove = remove;
    return shelved;
}

ShelvedVersion tarVersion(const char *number, const QVector<TarEntry> &entries)
{
    ShelvedVersion shelved = version(number, {});
    shelved.format = "tar"_s;
    shelved.archive = tarOf(entries);
    return shelved;
}

ShelvedVersion backingUp(ShelvedVersion shelved)
{
    shelved.backup = QStringList{Lights};
    return shelved;
}

/// A version whose last file cannot be unpacked.
ShelvedVersion damaged(const char *number)
{
    ShelvedVersion shelved = version(number, {});
    shelved.archive = damagedArchiveOf({{Plugin, "code"}});
    return shelved;
}

Versions versionsOf(int count)
{
    Versions versions;
    for (int minor = 0; minor < count; ++minor)
        versions.append(version(qPrintable("1.%1"_s.arg(minor)), {{Plugin, "1"}}));
    return versions;
}

/// Starts a simulation and sends it a signal as soon as there are files in its temporary folder,
/// while it tries the first version. `action` is the disposition of the signal that the program
/// inherits, SIG_DFL or SIG_IGN. Returns whether the program has ended in time.
bool signalled(QProcess &process, const ArchiveShelf &shelf, const QString &temporary, int number,
               void (*action)(int))
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("TMPDIR"_s, temporary);
    process.setProcessEnvironment(environment);
    auto *const before = std::signal(number, action);
    process.start(QStringLiteral(KAVO_CATALOGUE), {"check"_s, shelf.catalogueFile(), "--archives"_s,
                                                   shelf.folder(), "--simulate"_s});
    const bool isStarted = process.waitForStarted(-1);
    std::signal(number, before);
    constexpr int longest = 60'000;
    return isStarted &&
           QTest::qWaitFor([&temporary] { return !fileTree(temporary).isEmpty(); }, longest) &&
           ::kill(static_cast<pid_t>(process.processId()), number) == 0 &&
           process.waitForFinished(longest);
}

/// Runs a simulation that creates its temporary files in `temporary`.
ToolRun simulated(const ArchiveShelf &shelf, const QString &temporary,
                  const QString &working = QString())
{
    const QByteArray before = qgetenv("TMPDIR");
    qputenv("TMPDIR", QFile::encodeName(temporary));
    const auto restore = qScopeGuard(
        [&before] { before.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", before); });
    return ToolRun(
        {"check"_s, shelf.catalogueFile(), "--archives"_s, shelf.folder(), "--simulate"_s},
        working);
}

QString at(const char *rule, int position, int package = 0)
{
    return "update/%1 /%2/versions/%3"_s.arg(QLatin1String(rule)).arg(package).arg(position);
}

} // namespace

/// Tests the simulation, which installs every version alone and over every older one.
class UpdateSimulationTest final : public QObject
{
    Q_OBJECT

private slots:
    void goodUpdatesGiveNothing_data()
    {
        Rows<Versions> rows;
        const Files old{{Plugin, "1"}, {Own + "/old.txt"_s, "old"}};
        const Files fresh{{Plugin, "2"}, {Own + "/new.txt"_s, "new"}};
        rows.row("one version", {version("1.0", old)});
        rows.row("own folder", {version("2.0", fresh), version("1.0", old)});
        rows.row("whatever order", {version("1.0", old), version("2.0", fresh)});
        rows.row("the rule of the newer version names what the older one brought",
                 {version("2.0", {{Plugin, "2"}}, {"Old"_s, Own}),
                  version("1.0", {{"Old/a"_s, "1"}}, {"Old"_s})});
        rows.row("both bring what no rule names",
                 {version("2.0", {{"a"_s, "2"}}, {}), version("1.0", {{"a"_s, "1"}}, {})});
        ShelvedVersion keeping = version("2.0", fresh);
        keeping.preserve = QStringList{Own + "/old.txt"_s};
        rows.row("kept file", {keeping, version("1.0", old)});
        const Files lit{{Plugin, "1"}, {Lights, "add-on's"}};
        rows.row("original, in both", {backingUp(version("2.0", lit, {Own, Lights})),
                                       backingUp(version("1.0", lit, {Own, Lights}))});
        rows.row("original that the newer version gives back",
                 {backingUp(version("2.0", {{Plugin, "2"}}, {Own, Lights})),
                  backingUp(version("1.0", lit, {Own, Lights}))});
        rows.row("original that only the newer version replaces",
                 {backingUp(version("2.0", lit, {Own, Lights})), version("1.0", old)});
        rows.row("backup of a folder",
                 {backingUp(version("1.0", {{Lights + "/a"_s, "1"}}, {Lights}))});
        ShelvedVersion below = version("1.0", {{Lights + "/a"_s, "1"}}, {Lights});
        below.backup = QStringList{Lights + "/a"_s};
        rows.row("original in a folder", {below});
        rows.row("links", {tarVersion("2.0", {{TarEntry::FILE, Own.toUtf8() + "/a", "2"},
                                              {TarEntry::LINK, Own.toUtf8() + "/b", "a"}}),
                           tarVersion("1.0", {{TarEntry::LINK, Own.toUtf8() + "/a", "b"},
                                              {TarEntry::FILE, Own.toUtf8() + "/b", "1"}})});
        ShelvedVersion extracted = version("2.0", {{"64/lin.xpl"_s, "2"}});
        extracted.extract = Own;
        rows.row("unpacked into a folder", {extracted, version("1.0", old)});
        ShelvedVersion needing = version("2.0", fresh);
        needing.keys = {{"depends"_s, QJsonArray{"77:1.0"_s}}};
        rows.row("dependencies do not matter", {needing, version("1.0", old)});
        rows.row("equal numbers are no update",
                 {version("1.0", fresh, {"x"_s}), version("1.0-b", old)});
        ShelvedVersion refused = version("2.0", fresh);
        refused.keys = {{"size"_s, 1}};
        rows.row("what a look at the archive has found", {refused, version("1.0", old)});
        rows.row("empty archive", {version("2.0", {}, {}), version("1.0", {}, {})});
    }

    void goodUpdatesGiveNothing()
    {
        const auto [versions] = Rows<Versions>::current();
        const Trial trial = tried(ArchiveShelf(versions));
        QVERIFY2(trial.untried.isEmpty(), qPrintable(trial.untried.join(QLatin1Char('\n'))));
        QCOMPARE(trial.installations, versions.size());
        QCOMPARE(archiveFindings(trial.report), QStringList());
    }

    void faultsOfUpdatesAreFound_data()
    {
        Rows<Versions, QStringList> rows;
        const Files old{{Plugin, "1"}, {"Old/a"_s, "old"}};
        const Files fresh{{Plugin, "2"}};
        const QStringList both{Own, "Old"_s};
        rows.row("file that the newer version does not remove",
                 {version("2.0", fresh), version("1.0", old, both)}, {at("left-over", 0)});
        rows.row("rules that remove nothing",
                 {version("1.0", {{Own + "/old"_s, "1"}}, {}), version("2.0", fresh, {})},
                 {at("left-over", 1)});
        rows.row("link",
                 {version("2.0", fresh), tarVersion("1.0", {{TarEntry::LINK, "link", "nowhere"}})},
                 {at("left-over", 0)});
        rows.row(
            "link to a folder that is there",
            {version("2.0", fresh), tarVersion("1.0", {{TarEntry::FILE, Plugin.toUtf8(), "1"},
                                                       {TarEntry::LINK, "link", Own.toUtf8()}})},
            {at("left-over", 0)});
        rows.row("over two older ones",
                 {version("3.0", fresh), version("2.0", old, both), version("1.0", old, both)},
                 {at("left-over", 0), at("left-over", 0)});
        const Files lit{{Plugin, "1"}, {Lights, "add-on's"}};
        rows.row("file in the place of an original",
                 {version("2.0", fresh), backingUp(version("1.0", lit, {Own, Lights}))},
                 {at("left-over", 0)});
        rows.row("link through which the newer version is unpacked",
                 {version("2.0", {{"door/a"_s, "2"}}, {}),
                  tarVersion("1.0",
                             {{TarEntry::FILE, "room/b", "1"}, {TarEntry::LINK, "door", "room"}})},
                 {at("left-over", 0), at("lacks-file", 0)});
        rows.row("newer version that cannot be installed",
                 {damaged("2.0"), version("1.0", old, both)},
                 {"installation/fails /0/versions/0"_s});
        rows.row("older version that cannot be installed", {version("2.0", fresh), damaged("1.0")},
                 {"installation/fails /0/versions/1"_s});
        rows.row("folder in the place of a file",
                 {version("2.0", {{"a"_s, "2"}}, {}), version("1.0", {{"a/b"_s, "1"}}, {})},
                 {at("fails", 0)});
        rows.row("file in the place of a folder",
                 {version("2.0", {{"a/b"_s, "2"}}, {}), version("1.0", {{"a"_s, "1"}}, {})},
                 {at("fails", 0)});
        rows.row("file in the place of a folder of the simulator",
                 {version("1.0", {{"Aircraft"_s, "x"}}, {})},
                 {"installation/fails /0/versions/0"_s});
        rows.row("folder in the place of a file of the simulator",
                 {version("2.0", {{Lights + "/a"_s, "2"}}, {Own}),
                  backingUp(version("1.0", lit, {Own, Lights}))},
                 {"installation/fails /0/versions/0"_s});
        ShelvedVersion other = version("1.0", old, both);
        ShelvedVersion otherNew = version("2.0", fresh);
        other.package = 6;
        otherNew.package = 6;
        rows.row("second package", {version("1.0", old, both), otherNew, other},
                 {at("left-over", 0, 1)});
    }

    void faultsOfUpdatesAreFound()
    {
        const auto [versions, findings] = Rows<Versions, QStringList>::current();
        const Trial trial = tried(ArchiveShelf(versions));
        QVERIFY2(trial.untried.isEmpty(), qPrintable(trial.untried.join(QLatin1Char('\n'))));
        QCOMPARE(archiveFindings(trial.report), findings);
    }

    /// Each version has a file with another name, which no rule removes.
    void everyVersionIsTriedOverEveryOlderOne()
    {
        Versions versions;
        for (const char *number : {"1.10", "1.2", "1.9", "1.1"})
            versions.append(version(number, {{QString::fromLatin1(number), number}}, {}));
        const Trial trial = tried(ArchiveShelf(versions));
        QCOMPARE(trial.installations, 4);
        QCOMPARE(trial.updates, 6);
        QCOMPARE(archiveFindings(trial.report),
                 QStringList({at("left-over", 0), at("left-over", 0), at("left-over", 0),
                              at("left-over", 1), at("left-over", 2), at("left-over", 2)}));
        // Each message names one file only, because each update is tried in a new simulator.
        QStringList messages = trial.messages(Rule::UPDATE_LEFT_OVER);
        messages.sort();
        const auto stays = [](const char *number) -> QString {
            return R"(Of "%1" there stays "%1".)"_s.arg(QLatin1String(number));
        };
        QCOMPARE(messages, QStringList({stays("1.1"), stays("1.1"), stays("1.1"), stays("1.2"),
                                        stays("1.2"), stays("1.9")}));
    }

    void remainingFilesAreNamed()
    {
        Files files;
        for (char name = 'a'; name <= 'z'; ++name)
            files.insert(QString(QLatin1Char(name)), "1");
        const Trial trial =
            tried(ArchiveShelf({version("2.0", {{Plugin, "2"}}), version("1.0", files)}));
        QCOMPARE(trial.messages(Rule::UPDATE_LEFT_OVER),
                 QStringList{"Of \"1.0\" there stays \"a\" and 25 more."_s});
    }

    void errorOfSevenZipIsNamed()
    {
        const Trial trial =
            tried(ArchiveShelf({damaged("2.0"), version("1.0", {{"Aircraft"_s, "x"}}, {})}));
        const QStringList messages = trial.messages(Rule::INSTALLATION_FAILS);
        QCOMPARE(messages.size(), 2);
        QVERIFY2(messages.first().contains("~damaged"_s), qPrintable(messages.first()));
        QVERIFY2(messages.last().contains("Aircraft"_s), qPrintable(messages.last()));
        for (const QString &message : messages)
            QVERIFY2(!message.contains(QDir::tempPath()), qPrintable(message));
    }

    void faultsOfTheMachineAreNoFindings()
    {
        const ArchiveShelf shelf(
            {version("2.0", {{Plugin, "2"}}), version("1.0", {{Plugin, "1"}})});
        const Trial trial = tried(shelf, "/no/such/7z"_s);
        QCOMPARE(archiveFindings(trial.report), QStringList());
        QCOMPARE(trial.untried.size(), 2);
        QVERIFY(trial.untried.first().contains("version \"2.0\" could not be tried: "_s));
    }

    /// A file is in the place of the folder for temporary files.
    void unusableTemporaryFolderIsReported()
    {
        const ScratchProfile profile;
        const ArchiveShelf shelf({version("1.0", {{Plugin, "1"}})});
        const QString nowhere = profile.folder("tmp"_s) + "file"_s;
        QVERIFY(writeFile(nowhere, "x"));
        const ToolRun run = simulated(shelf, nowhere);
        QCOMPARE(run.status(), NOT_READ);
        QVERIFY2(run.complaints().contains("no simulator could be made"),
                 run.complaints().constData());
        QCOMPARE(readFile(nowhere), QByteArray("x"));
    }

    void commandReportsWhatItTries()
    {
        const ArchiveShelf shelf(
            {version("2.0", {{Plugin, "2"}}), version("1.0", {{Plugin, "1"}, {"a"_s, "a"}})});
        const QStringList arguments{"check"_s, shelf.catalogueFile(), "--archives"_s,
                                    shelf.folder()};
        const ToolRun without(arguments);
        QVERIFY(!without.output().contains("update/left-over"));
        QCOMPARE(without.complaints(), QByteArray());
        const ToolRun run(arguments + QStringList("--simulate"_s));
        QCOMPARE(run.status(), CLEAN);
        // The log of the engine is not printed.
        QCOMPARE(run.complaints(),
                 QByteArray("kavo-catalogue: trying 2 installations and 1 update\n"));
        QVERIFY2(run.output().contains("warning: update/left-over: Of \"1.0\" there stays \"a\"."),
                 run.output().constData());
    }

    void nothingIsWrittenElsewhere()
    {
        const ScratchProfile profile;
        const ArchiveShelf shelf(
            {backingUp(version("2.0", {{Plugin, "2"}, {Lights, "2"}}, {Own, Lights})),
             backingUp(version("1.0", {{Plugin, "1"}, {Lights, "1"}}, {Own, Lights})),
             tarVersion("0.9", {{TarEntry::FILE, "../../evil", "x"}}),
             tarVersion("0.8", {{TarEntry::LINK, "a", "/tmp"}, {TarEntry::FILE, "a/evil", "x"}}),
             damaged("0.7")});
        const QString temporary = profile.folder("tmp"_s);
        const auto archives = fileTree(shelf.folder());
        const auto home = fileTree(profile.home());
        const auto simulator = fileTree(profile.simulatorFolder());
        const ToolRun run = simulated(shelf, temporary, profile.folder("working"_s));
        QCOMPARE(run.status(), ERRORS);
        QVERIFY(run.output().contains("installation/fails"));
        QCOMPARE(fileTree(temporary), FileTree());
        QCOMPARE(fileTree(profile.folder("working"_s)), FileTree());
        QCOMPARE(fileTree(shelf.folder()), archives);
        QCOMPARE(fileTree(profile.home()), home);
        QCOMPARE(fileTree(profile.simulatorFolder()), simulator);
        QCOMPARE(readFile(shelf.catalogueFile()), shelf.catalogue());
    }

    void signalLeavesNothingBehind_data()
    {
        Rows<int>().row("SIGINT", SIGINT).row("SIGTERM", SIGTERM).row("SIGHUP", SIGHUP);
    }

    void signalLeavesNothingBehind()
    {
        const auto [number] = Rows<int>::current();
        const ScratchProfile profile;
        const QString temporary = profile.folder("tmp"_s);
        const ArchiveShelf shelf(versionsOf(40));
        QProcess process;
        QVERIFY(signalled(process, shelf, temporary, number, SIG_DFL));
        QCOMPARE(process.exitStatus(), QProcess::CrashExit);
        QCOMPARE(process.exitCode(), number);
        QCOMPARE(process.readAllStandardOutput(), QByteArray());
        QCOMPARE(fileTree(temporary), FileTree());
    }

    void ignoredSignalEndsNothing()
    {
        const ScratchProfile profile;
        const QString temporary = profile.folder("tmp"_s);
        Versions versions;
        for (const char *number : {"1.0", "1.1", "1.2", "1.3"})
            versions.append(version(number, {{QString::fromLatin1(number), "x"}}, {}));
        const ArchiveShelf shelf(versions);
        QProcess process;
        QVERIFY(signalled(process, shelf, temporary, SIGHUP, SIG_IGN));
        QCOMPARE(process.readAllStandardOutput().count(": update/left-over: "), 6);
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 0);
        QCOMPARE(fileTree(temporary), FileTree());
    }
};

KAVO_TEST_MAIN(UpdateSimulationTest)
#include "UpdateSimulationTest.moc"
