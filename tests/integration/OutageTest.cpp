#include "downloads/DownloadManager.h"
#include "tests/integration/Environment.h"
#include "tests/packages/EngineTest.h"
#include "tests/packages/UpdateSetup.h"
#include "tests/support/Archives.h"
#include "tests/support/LogCapture.h"
#include "tests/support/RunUntil.h"
#include "tests/support/TestMain.h"

#include <QFileInfo>
#include <QTest>

#include <cstdio>
#include <random>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

constexpr int AddOns = 5;
constexpr int Versions = 3;
constexpr int ArchiveBytes = 200000;
/// The largest number of attempts after the fault is repaired.
constexpr int Tries = 2;

/// What goes wrong during one download.
enum class Outage {
    UNAVAILABLE, ///< status 503, for the GET and sometimes also for the HEAD
    RANGE,       ///< status 416 for a request for the missing part
    CUT,         ///< the connection is closed in mid-body
    RESET,       ///< the connection is reset in mid-body
    STALLED,     ///< the body pauses until the server closes its connections
    REPLACED,    ///< like STALLED, and then the archive is replaced under the same name
    RENAMED,     ///< the archive and its link in the catalogue get another name
    PROGRAM_END, ///< the program ends in mid-body
};
constexpr int Outages = int(Outage::PROGRAM_END) + 1;

const char *nameOf(Outage outage)
{
    switch (outage) {
    case Outage::UNAVAILABLE:
        return "503";
    case Outage::RANGE:
        return "416";
    case Outage::CUT:
        return "cut";
    case Outage::RESET:
        return "reset";
    case Outage::STALLED:
        return "stalled, then cut";
    case Outage::REPLACED:
        return "replaced in mid-download";
    case Outage::RENAMED:
        return "renamed";
    case Outage::PROGRAM_END:
        return "end of the program";
    }
    return "";
}

QString versionText(int number)
{
    return "%1.0"_s.arg(number);
}

QString folderOf(int id)
{
    return "Custom Scenery/add-on %1/"_s.arg(id);
}

QString settingsOf(int id)
{
    return folderOf(id) + "settings.ini"_s;
}

QString originalOf(int id)
{
    return "Resources/bitmaps/picture %1.png"_s.arg(id);
}

} // namespace

/// Updates and downgrades five add-ons, each time with an outage. Each add-on preserves a file of
/// the user and replaces a file of the simulator. After every attempt, all files in the simulator
/// must belong to the version that is shown, and nothing else may have changed.
///
/// KAVO_UPDATES sets the number of updates. KAVO_SEED repeats the choices of a run.
class OutageTest final : public EngineTest
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_seed = seedFrom("KAVO_SEED");
        m_random.seed(m_seed);
        std::printf("%d updates\n", numberFrom("KAVO_UPDATES", 20));
    }

    void everyFileIsOfTheVersionShown()
    {
        QVERIFY(installAll());
        QCOMPARE(wrong(true), QString());
        const int updates = numberFrom("KAVO_UPDATES", 20);
        for (int number = 0; number < updates; ++number) {
            const QString fault = update();
            QVERIFY2(
                fault.isEmpty(),
                qPrintable("%1 (update %2, seed %3)"_s.arg(fault).arg(number + 1).arg(m_seed)));
            m_log.clear();
        }
        QVERIFY(startAgain());
        for (int id = 1; id <= AddOns; ++id)
            uninstall(id);
        Files left = m_others;
        left.unite(m_originals);
        QCOMPARE(differences(fileTree(simulator({})), expectedTree(left)), QStringList());
    }

    void cleanupTestCase()
    {
        std::printf("\n%-26s updates\n", "outage");
        for (auto outage = m_outages.cbegin(); outage != m_outages.cend(); ++outage)
            std::printf("%-26s %7d\n", nameOf(outage.key()), outage.value());
        std::printf("second tries %d, restarts %d\n\n", m_secondTries, m_restarts);
        std::fflush(stdout);
    }

private:
    void setUp() override
    {
        for (int id = 1; id <= AddOns; ++id) {
            m_originals.insert(originalOf(id), newContent());
            for (int version = 1; version <= Versions; ++version)
                offerVersion(id, version);
        }
        QVERIFY(writeFiles(simulator({}), {{"Custom Scenery/mine/apt.dat"_s, newContent()},
                                           {"Resources/bitmaps/other.png"_s, newContent()},
                                           {"Output/preferences/a.prf"_s, newContent()}}));
        m_others = readFiles(simulator({}));
        QVERIFY(writeFiles(simulator({}), m_originals));
    }

    void offerVersion(int id, int version)
    {
        const QString link = "/%1/add-on-%2.zip"_s.arg(version).arg(id);
        offer(Offer{id, versionText(version)}
                  .at(link)
                  .bringing({{"placeholder"_s, ""}})
                  .keeping({settingsOf(id)})
                  .backingUp({originalOf(id)})
                  .removing({folderOf(id), originalOf(id)}));
        m_links.insert({id, version}, link);
        rebuild(id, version);
    }

    /// Replaces the archive by another one of the same name.
    void rebuild(int id, int version)
    {
        const Files files{
            {folderOf(id) + "big.dat"_s, noise(static_cast<quint32>(m_random()), ArchiveBytes)},
            {folderOf(id) + "only in "_s + versionText(version), newContent()},
            {originalOf(id), newContent()}};
        m_files.insert({id, version}, files);
        HttpResource &served = resource(id, version);
        served.body = archiveOf(files, "zip"_s);
        served.lastModified = served.lastModified.addSecs(60);
    }

    /// Gives the archive another name, on the server and in the catalogue.
    void rename(int id, int version)
    {
        const QString before = m_links.value({id, version});
        const QString after = "/%1/new%2/add-on-%3.zip"_s.arg(version).arg(below(1000000)).arg(id);
        const HttpResource moved = server().resource(before);
        server().serve(after, {}) = moved;
        server().removeResource(before);
        m_links.insert({id, version}, after);
        catalogue().body.replace(server().url(before).toUtf8(), server().url(after).toUtf8());
    }

    bool installAll()
    {
        bool installs = refresh();
        for (int id = 1; id <= AddOns && installs; ++id) {
            installs = installAndWait(id, versionText(1));
            m_installed.insert(id, 1);
            fly(id);
        }
        return installs;
    }

    /// Runs one update with an outage. Returns what is wrong.
    QString update()
    {
        const int id = 1 + below(AddOns);
        int version = anotherVersion(id);
        const auto outage = static_cast<Outage>(below(Outages));
        QString course = "add-on %1 from %2 to %3, %4"_s.arg(id)
                             .arg(m_installed.value(id))
                             .arg(version)
                             .arg(QLatin1String(nameOf(outage)));
        ++m_outages[outage];
        if (below(2) == 0)
            fly(id);
        QString fault = tryWith(outage, id, version);
        heal(id, version);
        // Sometimes the user chooses another version after a failure.
        if (m_installed.value(id) != version && below(3) == 0)
            version = anotherVersion(id);
        int tries = 0;
        while (fault.isEmpty() && m_installed.value(id) != version) {
            if (tries++ == Tries)
                return course + ": does not recover"_s;
            if (below(2) == 0 && !startAgain())
                return course + ": the package list cannot be loaded"_s;
            fault = tryOnce(id, version);
        }
        m_secondTries += tries == Tries ? 1 : 0;
        if (fault.isEmpty() && below(3) == 0)
            fault = startAgain() ? wrong(true) : "the package list cannot be loaded"_s;
        return fault.isEmpty() ? fault : course + ": "_s + fault;
    }

    QString tryWith(Outage outage, int id, int version)
    {
        HttpResource &served = resource(id, version);
        const qint64 part = below(served.body.size());
        switch (outage) {
        case Outage::UNAVAILABLE:
            served.getStatus = HttpStatus::SERVICE_UNAVAILABLE;
            served.failsOnlyGet = below(2) == 0;
            return tryOnce(id, version);
        case Outage::RANGE: {
            // A range is requested only when a part has arrived.
            served.cutAfter = part;
            const QString fault = tryOnce(id, version);
            heal(id, version);
            served.refusesRange = true;
            return fault.isEmpty() && m_installed.value(id) != version ? tryOnce(id, version)
                                                                       : fault;
        }
        case Outage::CUT:
            served.cutAfter = part;
            return tryOnce(id, version);
        case Outage::RESET:
            served.resetAfter = part;
            return tryOnce(id, version);
        case Outage::RENAMED: {
            rename(id, version);
            const QString fault = tryOnce(id, version);
            return fault.isEmpty() && !refreshAsServed() ? "the package list cannot be loaded"_s
                                                         : fault;
        }
        case Outage::STALLED:
        case Outage::REPLACED:
        case Outage::PROGRAM_END:
            served.holdAfter = part;
            return stall(outage, id, version);
        }
        return QString();
    }

    /// Runs one attempt to its end. Returns what is wrong.
    QString tryOnce(int id, int version)
    {
        install(id, versionText(version));
        if (!waitUntilSettled(id))
            return "does not end"_s;
        noteShown(id, version);
        return wrong(false);
    }

    /// Starts the update, waits until the body pauses, and continues with the outage.
    QString stall(Outage outage, int id, int version)
    {
        const qint64 part = *resource(id, version).holdAfter;
        const QString link = m_links.value({id, version});
        server().forgetRequests();
        install(id, versionText(version));
        const auto download = downloads().find(server().url(link));
        const QString file = download ? download->getPath() : QString();
        const qint64 before = QFileInfo(file).size();
        // The transfer either resumes the existing part or starts over.
        const auto standsStill = [&] {
            const qint64 present = QFileInfo(file).size();
            return !package(id)->isBusy() || (!server().last("GET", link).path.isEmpty() &&
                                              (present == part || present == before + part));
        };
        if (!runUntil(standsStill, engine().patience()))
            return "neither ends nor pauses"_s;
        if (outage == Outage::PROGRAM_END) {
            if (!startAgain())
                return "the package list cannot be loaded"_s;
            noteShown(id, version);
            return wrong(true);
        }
        server().setRefusing(true);
        const bool ends = waitUntilSettled(id);
        server().setRefusing(false);
        if (!ends)
            return "does not end"_s;
        noteShown(id, version);
        const QString fault = wrong(false);
        if (outage == Outage::REPLACED && m_installed.value(id) != version)
            rebuild(id, version);
        return fault;
    }

    /// Records the new version if it is installed. An outage may be too late to prevent that.
    void noteShown(int id, int version)
    {
        if (installedVersion(id) == versionText(version))
            m_installed.insert(id, version);
    }

    void heal(int id, int version)
    {
        HttpResource &served = resource(id, version);
        HttpResource healthy;
        healthy.body = served.body;
        healthy.lastModified = served.lastModified;
        served = healthy;
    }

    /// Starts the program again. The catalogue on the server is not changed.
    bool startAgain()
    {
        ++m_restarts;
        stop();
        return refreshAsServed();
    }

    /// Simulates a flight: the user's file, which the add-on preserves, gets new content.
    void fly(int id)
    {
        m_settings.insert(id, newContent());
        writeFile(simulator(settingsOf(id)), m_settings.value(id));
    }

    /// Returns what is wrong with a card, the simulator or the backups; empty if nothing is.
    QString wrong(bool hasRestarted)
    {
        Files wanted = m_others;
        for (int id = 1; id <= AddOns; ++id) {
            const QString fault = wrongCard(id, hasRestarted);
            if (!fault.isEmpty())
                return fault;
            wanted.insert(m_files.value({id, m_installed.value(id)}));
            wanted.insert(settingsOf(id), m_settings.value(id));
        }
        const auto copies = [](const QString &folder) { return filesOf(fileTree(folder)); };
        return (differences(fileTree(simulator({})), expectedTree(wanted)) +
                differences(copies(profile().backupFolder()), filesOf(expectedTree(m_originals))) +
                differences(copies(profile().preserveFolder()), {}))
            .join("; "_s);
    }

    /// A card shows the installed version. After a failed download it shows the failure instead,
    /// until the next refresh.
    QString wrongCard(int id, bool hasRestarted)
    {
        const QString shown = installedVersion(id);
        if (shown == versionText(m_installed.value(id)) ||
            (state(id) == Package::DOWNLOAD_ERROR && !hasRestarted))
            return QString();
        return R"(add-on %1 shows "%2" in the state %3)"_s.arg(id).arg(shown).arg(state(id));
    }

    HttpResource &resource(int id, int version)
    {
        return server().resource(m_links.value({id, version}));
    }
    int below(int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(m_random); }
    /// A version that is not installed.
    int anotherVersion(int id)
    {
        return 1 + (m_installed.value(id) + below(Versions - 1)) % Versions;
    }
    QByteArray newContent() { return noise(static_cast<quint32>(m_random()), 2000); }

    using Version = QPair<int, int>; ///< id of an add-on and number of its version

    quint32 m_seed = 0;
    std::mt19937 m_random;
    LogCapture m_log;
    QMap<Version, QString> m_links;
    QMap<Version, Files> m_files; ///< relative to the simulator's folder
    Files m_others;               ///< must never change
    Files m_originals;            ///< files of the simulator that add-ons replace
    QMap<int, QByteArray> m_settings;
    QMap<int, int> m_installed;
    QMap<Outage, int> m_outages;
    int m_secondTries = 0;
    int m_restarts = 0;
};

KAVO_TEST_MAIN(OutageTest)
#include "OutageTest.moc"
