#include "downloads/Download.h"
#include "tests/integration/Environment.h"
#include "tests/integration/StressPackages.h"
#include "tests/packages/EngineTest.h"
#include "tests/packages/ExtractionWitness.h"
#include "tests/support/TestMain.h"

#include <QDeadlineTimer>
#include <QRandomGenerator>
#include <QSet>
#include <QTimer>

#include <chrono>
#include <memory>
#include <sys/resource.h>

using namespace Kavo::Models;
using namespace Kavo::Testing;
using Kavo::Controllers::PackageController;

namespace {

// Sanitizers make everything many times slower.
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr int PackageCount = 150;
#else
constexpr int PackageCount = 1000;
#endif

constexpr std::chrono::minutes Patience{4};

/// Raises the limit of open files. Both sockets of every transfer are in this process, and many
/// systems allow a process only 1,024 files.
void allowManyFiles()
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

const Files OthersFiles{{"Custom/mine.txt"_s, "mine"},
                        {"package-1-mine"_s, "also mine"},
                        {"Resources/theirs/a.txt"_s, "theirs"}};

/// The first lines, few enough for a failure message.
QString listed(const QStringList &lines)
{
    return lines.mid(0, 20).join("; "_s);
}

} // namespace

/// Installs very many packages at once, in a random order. KAVO_STRESS_SEED=NUMBER repeats the
/// actions of the user. The steps of the program between them depend on the machine.
class StressTest final : public EngineTest
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        allowManyFiles();
        m_random.seed(seedFrom("KAVO_STRESS_SEED"));
        // Limits the time that turn() waits for an event.
        m_heartbeat.start(std::chrono::milliseconds(20));
    }

    void downloadsThatEndTogetherLeaveEverythingInOrder()
    {
        QVERIFY(begin());
        QVERIFY(startAllHeld());
        QVERIFY(!controller().isBusy());
        m_packages->release();
        work(PackageCount / 4);
        QVERIFY(settle());
        QCOMPARE(listed(wrongs()), QString());

        end();
        QVERIFY(begin());
        QVERIFY(isQuiet());
        QCOMPARE(listed(wrongs()), QString());
    }

    void interruptedWorkContinuesAtTheNextStart()
    {
        constexpr int Rounds = 4;
        for (int round = 0; round < Rounds; ++round) {
            QVERIFY(begin());
            for (int started = 0; started < PackageCount / 10; ++started)
                installSomething();
            work(PackageCount / 40);
            end();
            const QHash<int, Engine::Record> records = engine().records();
            QCOMPARE(listed(wrongFiles(records)), QString());
            noteInterrupted(records);
        }
        QVERIFY(begin());
        QCOMPARE(listed(wrongs()), QString());
        for (const int id : qAsConst(m_interrupted))
            install(id);
        QVERIFY(settle());
        QCOMPARE(listed(wrongs()), QString());
    }

private:
    void tearDown() override
    {
        end();
        m_cards.clear();
        m_notes.clear();
        m_failed.clear();
        m_interrupted.clear();
        m_witness.reset();
        m_packages.reset();
    }

    void setUp() override
    {
        m_packages = std::make_unique<StressPackages>(PackageCount);
        m_witness = std::make_unique<ExtractionWitness>(profile().folder("7z"_s));
        setExtractor(m_witness->program());
        for (int id = 1; id <= PackageCount; ++id) {
            offerObject(m_packages->object(id));
            if (const QString original = StressPackages::original(id); !original.isEmpty())
                QVERIFY(writeFile(simulator(original), StressPackages::originalContent(id)));
        }
        QVERIFY(writeFiles(simulator({}), OthersFiles));
    }

    /// Starts the engine and waits for the list of packages.
    bool begin()
    {
        start();
        connect(&controller(), &PackageController::list, this, [this] {
            --m_refreshes;
            followCards();
        });
        m_refreshes = 1;
        return refresh();
    }

    void followCards()
    {
        m_cards = controller().packages();
        for (const PackagePointer &package : qAsConst(m_cards)) {
            connect(package.data(), &Package::stateChanged, this,
                    [this, id = package->id()](Package::State state) {
                        ++m_moves;
                        if (state == Package::DOWNLOAD_ERROR || state == Package::DEPENDENCY_ERROR)
                            m_failed.insert(id);
                    });
        }
    }

    /// Destroys the engine. Queued signals may still reach the packages, which exist a little
    /// longer than the controller.
    void end()
    {
        stop();
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
        m_refreshes = 0;
    }

    /// Starts the installation of every package and waits until all archives are requested.
    bool startAllHeld()
    {
        m_packages->hold();
        for (const PackagePointer &package : qAsConst(m_cards)) {
            QString version = below(4) == 0 ? "1.0"_s : QString();
            controller().install(package, version);
        }
        const QDeadlineTimer deadline(Patience);
        const auto isUnderWay = [](const PackagePointer &package) {
            return package->state() == Package::DOWNLOADING;
        };
        while (!std::all_of(m_cards.cbegin(), m_cards.cend(), isUnderWay) && !deadline.hasExpired())
            turn();
        QSet<QString> links;
        for (const PackagePointer &package : qAsConst(m_cards))
            links.insert(controller().runningDownload(package)->getRequest()->url().path());
        while (m_packages->requestedArchives() < links.size() && !deadline.hasExpired())
            turn();
        return !deadline.hasExpired();
    }

    /// Runs the engine during this number of user actions.
    void work(int actions)
    {
        for (int action = 0; action < actions; ++action) {
            const int next = m_moves + below(8);
            while (m_moves < next && !isQuiet())
                turn();
            act();
        }
    }

    void act()
    {
        const int choice = below(20);
        if (choice < 9)
            installSomething();
        else if (choice < 15)
            uninstallSomething();
        else if (choice < 18)
            writeSettings();
        else
            refreshInPassing();
    }

    void installSomething()
    {
        const PackagePointer card = anyCard();
        QString version = QStringList{QString(), "1.0"_s, "2.0"_s}.at(below(3));
        // Some users click twice.
        const int clicks = below(3) == 0 ? 2 : 1;
        for (int click = 0; click < clicks; ++click)
            controller().install(card, version);
    }

    void uninstallSomething()
    {
        const PackagePointer card = anyCard();
        if (card->state() != Package::INSTALLED)
            return;
        controller().uninstall(card);
        if (card->state() == Package::AVAILABLE)
            m_notes.remove(card->id());
    }

    void writeSettings()
    {
        const PackagePointer card = anyCard();
        const QString name = StressPackages::settingsFile(card->id());
        if (name.isEmpty() || card->state() != Package::INSTALLED)
            return;
        const QByteArray note = "note " + QByteArray::number(below(1000000));
        QVERIFY(writeFile(simulator(name), note));
        m_notes.insert(card->id(), note);
    }

    void refreshInPassing()
    {
        ++m_refreshes;
        controller().refresh();
    }

    /// Waits for events and processes them.
    void turn() { QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents); }

    bool isQuiet()
    {
        return m_refreshes == 0 && !controller().isBusy() &&
               std::none_of(m_cards.cbegin(), m_cards.cend(),
                            [](const PackagePointer &package) { return package->isBusy(); });
    }

    void noteInterrupted(const QHash<int, Engine::Record> &records)
    {
        for (auto record = records.cbegin(); record != records.cend(); ++record) {
            if (record->status == Package::DOWNLOADING || record->status == Package::INSTALLING)
                m_interrupted.insert(record.key());
        }
    }

    bool settle()
    {
        const QDeadlineTimer deadline(Patience);
        while (!isQuiet() && !deadline.hasExpired())
            turn();
        return !deadline.hasExpired();
    }

    PackagePointer anyCard() { return m_cards.at(below(m_cards.size())); }

    int below(int limit) { return m_random.bounded(limit); }

    /// Returns everything that is wrong when no work is left.
    QStringList wrongs()
    {
        const QHash<int, Engine::Record> records = engine().records();
        QStringList wrongs = wrongStates(records) + wrongFiles(records) + strayArchives();
        if (!m_witness->sawOneAtATime())
            wrongs.append("two tasks at the same time"_s);
        return wrongs;
    }

    QStringList wrongStates(const QHash<int, Engine::Record> &records)
    {
        QStringList wrongs;
        for (const PackagePointer &package : controller().packages()) {
            const Package::State state = package->state();
            const int recorded = records.value(package->id()).status;
            // A refresh makes failed packages AVAILABLE.
            const bool agrees = state == Package::AVAILABLE ? recorded != Package::INSTALLED
                                                            : recorded == static_cast<int>(state);
            const bool settled = state == Package::AVAILABLE || state == Package::INSTALLED ||
                                 Package::isError(state);
            if (!agrees || !settled)
                wrongs.append("package %1: state %2, recorded %3"_s.arg(package->id())
                                  .arg(state)
                                  .arg(recorded));
        }
        return wrongs;
    }

    /// Compares the simulator's folder and all backups with the records.
    QStringList wrongFiles(const QHash<int, Engine::Record> &records)
    {
        const QString program = "X-Plane-x86_64"_s;
        Files wanted = OthersFiles;
        wanted.insert(program, inSimulator(program));
        Files backups;
        for (int id = 1; id <= PackageCount; ++id) {
            const Files files = expectedFiles(id, records.value(id));
            const QString original = StressPackages::original(id);
            if (!original.isEmpty())
                (files.isEmpty() ? wanted : backups)
                    .insert(original, StressPackages::originalContent(id));
            wanted.insert(files);
        }
        return differences(fileTree(simulator({})), expectedTree(wanted)) +
               differences(filesOf(fileTree(profile().backupFolder())),
                           filesOf(expectedTree(backups))) +
               differences(filesOf(fileTree(profile().preserveFolder())), {});
    }

    /// Returns the archives that should have been deleted. Those of failed and interrupted packages
    /// are kept for the next attempt.
    QStringList strayArchives()
    {
        QStringList strays = filesUnder(profile().cacheFolder());
        for (int id = 1; id <= PackageCount; ++id) {
            if (!m_interrupted.contains(id) && !m_failed.contains(id))
                continue;
            for (const QString &archive : StressPackages::archives(id))
                strays.removeAll(archive);
        }
        for (const QString &name : QStringList(strays)) {
            if (name.startsWith("packages.json"_s))
                strays.removeAll(name);
        }
        return strays;
    }

    /// The files that a package must have on the disk. If it has failed or was interrupted, all
    /// files of the previous version must be there, or none if there was no such version: a bad
    /// archive is detected before any file is changed.
    Files expectedFiles(int id, const Engine::Record &record) const
    {
        QString version = record.version;
        switch (record.status) {
        case Package::INSTALLED:
            break;
        case Package::DOWNLOADING:
        case Package::INSTALLING:
        case Package::INSTALL_ERROR:
        case Package::DOWNLOAD_ERROR:
        case Package::DEPENDENCY_ERROR: {
            const QString mark = StressPackages::mark(id);
            const QByteArray content = readFile(simulator(mark));
            for (const QString &candidate : StressPackages::versions()) {
                if (StressPackages::files(id, candidate).value(mark) == content)
                    version = candidate;
            }
            if (content.isNull())
                return {};
            break;
        }
        default:
            return {};
        }
        Files files = StressPackages::files(id, version);
        if (m_notes.contains(id))
            files.insert(StressPackages::settingsFile(id), m_notes.value(id));
        return files;
    }

    QRandomGenerator m_random;
    std::unique_ptr<StressPackages> m_packages;
    std::unique_ptr<ExtractionWitness> m_witness;
    QTimer m_heartbeat;
    PackageList m_cards;           ///< the packages that the window would show
    QMap<int, QByteArray> m_notes; ///< contents of the user's settings files, by package id
    QSet<int> m_failed;            ///< ids of packages that may have kept an archive for a retry
    QSet<int> m_interrupted;       ///< ids of packages in progress when the engine ended
    int m_moves = 0;
    int m_refreshes = 0;
};

KAVO_TEST_MAIN(StressTest)
#include "StressTest.moc"
