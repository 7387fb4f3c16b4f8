#include "tools/simulation/UpdateSimulation.h"
#include "packages/PackageEnvironment.h"
#include "tests/support/Archives.h"
#include "tests/support/TestMain.h"
#include "tests/tools/ArchiveShelf.h"
#include "tests/tools/ToolRun.h"
#include "tools/check/CatalogueCheck.h"

#include <QDir>
#include <QProcess>

#include <csignal>

using namespace Kavo::Testing;
using namespace Kavo::Tools;
using Versions = QVector<ShelvedVersion>;

namespace {

const QString Own = QStringLiteral("Resources/plugins/Piers");
const QString Plugin = Own + QStringLiteral("/64/lin.xpl");
const QString Lights = QStringLiteral("lights.txt");

/// What came of the trial of all that is on a shelf.
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
    shelved.archive = archiveOf(files, QStringLiteral("zip"));
    shelved.remove = remove;
    return shelved;
}

ShelvedVersion tarVersion(const char *number, const QVector<TarEntry> &entries)
{
    ShelvedVersion shelved = version(number, {});
    shelved.format = QStringLiteral("tar");
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
        versions.append(version(qPrintable(QStringLiteral("1.%1").arg(minor)), {{Plugin, "1"}}));
    return versions;
}

/// Runs a simulation to its end, to which a signal comes while the first version is tried.
/// `action` is what the program finds set for the signal. Returns whether it has ended.
bool signalled(QProcess &process, const ArchiveShelf &shelf, const QString &temporary, int number,
               void (*action)(int))
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TMPDIR"), temporary);
    process.setProcessEnvironment(environment);
    auto *const before = std::signal(number, action);
    process.start(QStringLiteral(KAVO_CATALOGUE),
                  {QStringLiteral("check"), shelf.catalogueFile(), QStringLiteral("--archives"),
                   shelf.folder(), QStringLiteral("--simulate")});
    const bool isStarted = process.waitForStarted(-1);
    std::signal(number, before);
    constexpr int longest = 60'000;
    return isStarted &&
           QTest::qWaitFor([&temporary] { return !fileTree(temporary).isEmpty(); }, longest) &&
           ::kill(static_cast<pid_t>(process.processId()), number) == 0 &&
           process.waitForFinished(longest);
}

QString at(const char *rule, int position, int package = 0)
{
    return QStringLiteral("update/%1 /%2/versions/%3")
        .arg(QLatin1String(rule))
        .arg(package)
        .arg(position);
}

} // namespace

/// What comes of installing every version over every older one, by real installations.
class UpdateSimulationTest final : public QObject
{
    Q_OBJECT

private slots:
    void goodUpdatesGiveNothing_data();
    void goodUpdatesGiveNothing();
    void faultsOfUpdatesAreFound_data();
    void faultsOfUpdatesAreFound();
    void everyVersionIsTriedOverEveryOlderOne();
    void whatStaysIsNamed();
    void complaintOfSevenZipIsNamed();
    void faultsOfTheMachineAreNoFindings();
    void placeWithoutRoomForFoldersIsTold();
    void commandTellsWhatItTries();
    void nothingIsWrittenElsewhere();
    void signalLeavesNothingBehind_data();
    void signalLeavesNothingBehind();
    void ignoredSignalEndsNothing();
};

void UpdateSimulationTest::goodUpdatesGiveNothing_data()
{
    QTest::addColumn<Versions>("versions");

    const Files old{{Plugin, "1"}, {Own + QStringLiteral("/old.txt"), "old"}};
    const Files fresh{{Plugin, "2"}, {Own + QStringLiteral("/new.txt"), "new"}};
    QTest::newRow("one version") << Versions{version("1.0", old)};
    QTest::newRow("own folder") << Versions{version("2.0", fresh), version("1.0", old)};
    QTest::newRow("whatever order") << Versions{version("1.0", old), version("2.0", fresh)};
    QTest::newRow("the rule of the newer version names what the older one brought")
        << Versions{version("2.0", {{Plugin, "2"}}, {QStringLiteral("Old"), Own}),
                    version("1.0", {{QStringLiteral("Old/a"), "1"}}, {QStringLiteral("Old")})};
    QTest::newRow("both bring what no rule names")
        << Versions{version("2.0", {{QStringLiteral("a"), "2"}}, {}),
                    version("1.0", {{QStringLiteral("a"), "1"}}, {})};
    ShelvedVersion keeping = version("2.0", fresh);
    keeping.preserve = QStringList{Own + QStringLiteral("/old.txt")};
    QTest::newRow("kept file") << Versions{keeping, version("1.0", old)};
    const Files lit{{Plugin, "1"}, {Lights, "add-on's"}};
    QTest::newRow("original, in both") << Versions{backingUp(version("2.0", lit, {Own, Lights})),
                                                   backingUp(version("1.0", lit, {Own, Lights}))};
    QTest::newRow("original that the newer version gives back")
        << Versions{backingUp(version("2.0", {{Plugin, "2"}}, {Own, Lights})),
                    backingUp(version("1.0", lit, {Own, Lights}))};
    QTest::newRow("original that only the newer version replaces")
        << Versions{backingUp(version("2.0", lit, {Own, Lights})), version("1.0", old)};
    QTest::newRow("backup of a folder")
        << Versions{backingUp(version("1.0", {{Lights + QStringLiteral("/a"), "1"}}, {Lights}))};
    ShelvedVersion below = version("1.0", {{Lights + QStringLiteral("/a"), "1"}}, {Lights});
    below.backup = QStringList{Lights + QStringLiteral("/a")};
    QTest::newRow("original in a folder") << Versions{below};
    QTest::newRow("links") << Versions{
        tarVersion("2.0", {{TarEntry::FILE, Own.toUtf8() + "/a", "2"},
                           {TarEntry::LINK, Own.toUtf8() + "/b", "a"}}),
        tarVersion("1.0", {{TarEntry::LINK, Own.toUtf8() + "/a", "b"},
                           {TarEntry::FILE, Own.toUtf8() + "/b", "1"}})};
    ShelvedVersion extracted = version("2.0", {{QStringLiteral("64/lin.xpl"), "2"}});
    extracted.extract = Own;
    QTest::newRow("unpacked into a folder") << Versions{extracted, version("1.0", old)};
    ShelvedVersion needing = version("2.0", fresh);
    needing.keys = {{QStringLiteral("depends"), QJsonArray{QStringLiteral("77:1.0")}}};
    QTest::newRow("dependencies do not matter") << Versions{needing, version("1.0", old)};
    QTest::newRow("equal numbers are no update")
        << Versions{version("1.0", fresh, {QStringLiteral("x")}), version("1.0-b", old)};
    ShelvedVersion refused = version("2.0", fresh);
    refused.keys = {{QStringLiteral("size"), 1}};
    QTest::newRow("what a look at the archive has found") << Versions{refused, version("1.0", old)};
    QTest::newRow("empty archive") << Versions{version("2.0", {}, {}), version("1.0", {}, {})};
}

void UpdateSimulationTest::goodUpdatesGiveNothing()
{
    QFETCH(Versions, versions);
    const Trial trial = tried(ArchiveShelf(versions));
    QVERIFY2(trial.untried.isEmpty(), qPrintable(trial.untried.join(QLatin1Char('\n'))));
    QCOMPARE(trial.installations, versions.size());
    QCOMPARE(archiveFindings(trial.report), QStringList());
}

void UpdateSimulationTest::faultsOfUpdatesAreFound_data()
{
    QTest::addColumn<Versions>("versions");
    QTest::addColumn<QStringList>("findings");

    const Files old{{Plugin, "1"}, {QStringLiteral("Old/a"), "old"}};
    const Files fresh{{Plugin, "2"}};
    const QStringList both{Own, QStringLiteral("Old")};
    QTest::newRow("file that the newer version does not remove")
        << Versions{version("2.0", fresh), version("1.0", old, both)}
        << QStringList{at("left-over", 0)};
    QTest::newRow("rules that remove nothing")
        << Versions{version("1.0", {{Own + QStringLiteral("/old"), "1"}}, {}),
                    version("2.0", fresh, {})}
        << QStringList{at("left-over", 1)};
    QTest::newRow("link") << Versions{version("2.0", fresh),
                                      tarVersion("1.0", {{TarEntry::LINK, "link", "nowhere"}})}
                          << QStringList{at("left-over", 0)};
    QTest::newRow("link to a folder that is there")
        << Versions{version("2.0", fresh),
                    tarVersion("1.0", {{TarEntry::FILE, Plugin.toUtf8(), "1"},
                                       {TarEntry::LINK, "link", Own.toUtf8()}})}
        << QStringList{at("left-over", 0)};
    QTest::newRow("over two older ones")
        << Versions{version("3.0", fresh), version("2.0", old, both), version("1.0", old, both)}
        << QStringList{at("left-over", 0), at("left-over", 0)};
    const Files lit{{Plugin, "1"}, {Lights, "add-on's"}};
    QTest::newRow("file in the place of an original")
        << Versions{version("2.0", fresh), backingUp(version("1.0", lit, {Own, Lights}))}
        << QStringList{at("left-over", 0)};
    QTest::newRow("link through which the newer version is unpacked")
        << Versions{version("2.0", {{QStringLiteral("door/a"), "2"}}, {}),
                    tarVersion("1.0",
                               {{TarEntry::FILE, "room/b", "1"}, {TarEntry::LINK, "door", "room"}})}
        << QStringList{at("left-over", 0), at("lacks-file", 0)};
    QTest::newRow("newer version that cannot be installed")
        << Versions{damaged("2.0"), version("1.0", old, both)}
        << QStringList{QStringLiteral("installation/fails /0/versions/0")};
    QTest::newRow("older version that cannot be installed")
        << Versions{version("2.0", fresh), damaged("1.0")}
        << QStringList{QStringLiteral("installation/fails /0/versions/1")};
    QTest::newRow("folder in the place of a file")
        << Versions{version("2.0", {{QStringLiteral("a"), "2"}}, {}),
                    version("1.0", {{QStringLiteral("a/b"), "1"}}, {})}
        << QStringList{at("fails", 0)};
    QTest::newRow("file in the place of a folder")
        << Versions{version("2.0", {{QStringLiteral("a/b"), "2"}}, {}),
                    version("1.0", {{QStringLiteral("a"), "1"}}, {})}
        << QStringList{at("fails", 0)};
    QTest::newRow("file in the place of a folder of the simulator")
        << Versions{version("1.0", {{QStringLiteral("Aircraft"), "x"}}, {})}
        << QStringList{QStringLiteral("installation/fails /0/versions/0")};
    QTest::newRow("folder in the place of a file of the simulator")
        << Versions{version("2.0", {{Lights + QStringLiteral("/a"), "2"}}, {Own}),
                    backingUp(version("1.0", lit, {Own, Lights}))}
        << QStringList{QStringLiteral("installation/fails /0/versions/0")};
    ShelvedVersion other = version("1.0", old, both);
    ShelvedVersion otherNew = version("2.0", fresh);
    other.package = 6;
    otherNew.package = 6;
    QTest::newRow("second package") << Versions{version("1.0", old, both), otherNew, other}
                                    << QStringList{at("left-over", 0, 1)};
}

void UpdateSimulationTest::faultsOfUpdatesAreFound()
{
    QFETCH(Versions, versions);
    QFETCH(QStringList, findings);
    const Trial trial = tried(ArchiveShelf(versions));
    QVERIFY2(trial.untried.isEmpty(), qPrintable(trial.untried.join(QLatin1Char('\n'))));
    QCOMPARE(archiveFindings(trial.report), findings);
}

/// Each version has a file of its own that no rule removes.
void UpdateSimulationTest::everyVersionIsTriedOverEveryOlderOne()
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
    // What an update has left is not there when the next one is tried.
    QStringList messages = trial.messages(Rule::UPDATE_LEFT_OVER);
    messages.sort();
    const auto stays = [](const char *number) -> QString {
        return QStringLiteral("Of \"%1\" there stays \"%1\".").arg(QLatin1String(number));
    };
    QCOMPARE(messages, QStringList({stays("1.1"), stays("1.1"), stays("1.1"), stays("1.2"),
                                    stays("1.2"), stays("1.9")}));
}

void UpdateSimulationTest::whatStaysIsNamed()
{
    Files files;
    for (char name = 'a'; name <= 'z'; ++name)
        files.insert(QString(QLatin1Char(name)), "1");
    const Trial trial =
        tried(ArchiveShelf({version("2.0", {{Plugin, "2"}}), version("1.0", files)}));
    QCOMPARE(trial.messages(Rule::UPDATE_LEFT_OVER),
             QStringList{QStringLiteral("Of \"1.0\" there stays \"a\" and 25 more.")});
}

void UpdateSimulationTest::complaintOfSevenZipIsNamed()
{
    const Trial trial = tried(
        ArchiveShelf({damaged("2.0"), version("1.0", {{QStringLiteral("Aircraft"), "x"}}, {})}));
    const QStringList messages = trial.messages(Rule::INSTALLATION_FAILS);
    QCOMPARE(messages.size(), 2);
    QVERIFY2(messages.first().contains(QLatin1String("~damaged")), qPrintable(messages.first()));
    QVERIFY2(messages.last().contains(QLatin1String("Aircraft")), qPrintable(messages.last()));
    for (const QString &message : messages)
        QVERIFY2(!message.contains(QDir::tempPath()), qPrintable(message));
}

void UpdateSimulationTest::faultsOfTheMachineAreNoFindings()
{
    const ArchiveShelf shelf({version("2.0", {{Plugin, "2"}}), version("1.0", {{Plugin, "1"}})});
    const Trial trial = tried(shelf, QStringLiteral("/no/such/7z"));
    QCOMPARE(archiveFindings(trial.report), QStringList());
    QCOMPARE(trial.untried.size(), 2);
    QVERIFY(trial.untried.first().contains(QLatin1String("version \"2.0\" could not be tried: ")));
}

/// The folder for temporary files is none.
void UpdateSimulationTest::placeWithoutRoomForFoldersIsTold()
{
    const ScratchProfile profile;
    const ArchiveShelf shelf({version("1.0", {{Plugin, "1"}})});
    const QString nowhere = profile.folder(QStringLiteral("tmp")) + QStringLiteral("file");
    QVERIFY(writeFile(nowhere, "x"));
    const QByteArray before = qgetenv("TMPDIR");
    qputenv("TMPDIR", QFile::encodeName(nowhere));
    const ToolRun run({QStringLiteral("check"), shelf.catalogueFile(), QStringLiteral("--archives"),
                       shelf.folder(), QStringLiteral("--simulate")});
    qputenv("TMPDIR", before);
    if (before.isNull())
        qunsetenv("TMPDIR");
    QCOMPARE(run.status(), 3);
    QVERIFY2(run.complaints().contains("no simulator could be made"), run.complaints().constData());
    QCOMPARE(readFile(nowhere), QByteArray("x"));
}

void UpdateSimulationTest::commandTellsWhatItTries()
{
    const ArchiveShelf shelf({version("2.0", {{Plugin, "2"}}),
                              version("1.0", {{Plugin, "1"}, {QStringLiteral("a"), "a"}})});
    const QStringList arguments{QStringLiteral("check"), shelf.catalogueFile(),
                                QStringLiteral("--archives"), shelf.folder()};
    const ToolRun without(arguments);
    QVERIFY(!without.output().contains("update/left-over"));
    QCOMPARE(without.complaints(), QByteArray());
    const ToolRun run(arguments + QStringList(QStringLiteral("--simulate")));
    QCOMPARE(run.status(), 0);
    // The log of the engine is not for the terminal.
    QCOMPARE(run.complaints(), QByteArray("kavo-catalogue: trying 2 installations and 1 update\n"));
    QVERIFY2(run.output().contains("warning: update/left-over: Of \"1.0\" there stays \"a\"."),
             run.output().constData());
}

void UpdateSimulationTest::nothingIsWrittenElsewhere()
{
    const ScratchProfile profile;
    const ArchiveShelf shelf(
        {backingUp(version("2.0", {{Plugin, "2"}, {Lights, "2"}}, {Own, Lights})),
         backingUp(version("1.0", {{Plugin, "1"}, {Lights, "1"}}, {Own, Lights})),
         tarVersion("0.9", {{TarEntry::FILE, "../../evil", "x"}}),
         tarVersion("0.8", {{TarEntry::LINK, "a", "/tmp"}, {TarEntry::FILE, "a/evil", "x"}}),
         damaged("0.7")});
    const QString temporary = profile.folder(QStringLiteral("tmp"));
    const QByteArray before = qgetenv("TMPDIR");
    const auto archives = fileTree(shelf.folder());
    const auto home = fileTree(profile.home());
    const auto simulator = fileTree(profile.simulatorFolder());
    qputenv("TMPDIR", QFile::encodeName(temporary));
    const ToolRun run({QStringLiteral("check"), shelf.catalogueFile(), QStringLiteral("--archives"),
                       shelf.folder(), QStringLiteral("--simulate")},
                      profile.folder(QStringLiteral("working")));
    qputenv("TMPDIR", before);
    if (before.isNull())
        qunsetenv("TMPDIR");
    QCOMPARE(run.status(), 2);
    QVERIFY(run.output().contains("installation/fails"));
    QCOMPARE(fileTree(temporary), (QMap<QString, QString>()));
    QCOMPARE(fileTree(profile.folder(QStringLiteral("working"))), (QMap<QString, QString>()));
    QCOMPARE(fileTree(shelf.folder()), archives);
    QCOMPARE(fileTree(profile.home()), home);
    QCOMPARE(fileTree(profile.simulatorFolder()), simulator);
    QCOMPARE(readFile(shelf.catalogueFile()), shelf.catalogue());
}

void UpdateSimulationTest::signalLeavesNothingBehind_data()
{
    QTest::addColumn<int>("number");

    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGHUP") << SIGHUP;
}

/// Comes while the first of many versions is tried.
void UpdateSimulationTest::signalLeavesNothingBehind()
{
    QFETCH(int, number);
    const ScratchProfile profile;
    const QString temporary = profile.folder(QStringLiteral("tmp"));
    const ArchiveShelf shelf(versionsOf(40));
    QProcess process;
    QVERIFY(signalled(process, shelf, temporary, number, SIG_DFL));
    QCOMPARE(process.exitStatus(), QProcess::CrashExit);
    QCOMPARE(process.exitCode(), number);
    QCOMPARE(process.readAllStandardOutput(), QByteArray());
    QCOMPARE(fileTree(temporary), (QMap<QString, QString>()));
}

void UpdateSimulationTest::ignoredSignalEndsNothing()
{
    const ScratchProfile profile;
    const QString temporary = profile.folder(QStringLiteral("tmp"));
    Versions versions;
    for (const char *number : {"1.0", "1.1", "1.2", "1.3"})
        versions.append(version(number, {{QString::fromLatin1(number), "x"}}, {}));
    const ArchiveShelf shelf(versions);
    QProcess process;
    QVERIFY(signalled(process, shelf, temporary, SIGHUP, SIG_IGN));
    QCOMPARE(process.readAllStandardOutput().count(": update/left-over: "), 6);
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
    QCOMPARE(fileTree(temporary), (QMap<QString, QString>()));
}

KAVO_TEST_MAIN(UpdateSimulationTest)
#include "UpdateSimulationTest.moc"
