#include "downloads/DownloadManager.h"
#include "tests/packages/Engine.h"
#include "tests/packages/GatedExtractor.h"
#include "tests/support/RunUntil.h"
#include "tests/support/TestMain.h"

#include <QAbstractEventDispatcher>
#include <QDeadlineTimer>
#include <QJsonArray>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <memory>

using namespace Kavo::Models;
using namespace Kavo::Testing;
using Kavo::Controllers::PackageController;

/// What happens between two turns of a refresh of many packages.
class RefreshInTurnsTest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_engine = std::make_unique<Engine>(); }
    void cleanup() { m_engine.reset(); }

    void eventLoopGoesOnMeanwhile();
    void nothingIsOnOfferBeforeTheEnd();
    void refreshesMeanwhile();
    void fileThatIsReplacedMeanwhile();
    void malformedEndIsFoundAtTheEnd();
    void resetMeanwhile();
    void endOfTheProgramMeanwhile();
    void installationThatEndsMeanwhile();
    void installationThatFailsMeanwhile();
    void installationThatBeginsMeanwhile();
    void removalMeanwhile();
    void removalAfterwardsThroughAFormerObject();
    void installationAfterwardsThroughAFormerObject();
    void versionFilesOfManyPackages();
    void versionFileOfAPackageThatIsInstalledMeanwhile();
    void versionFileThatComesAfterACleanUp();
    void cleanUpOfManyPackages();
    void copiesStayWhileAnInstallationRuns();
    void cleanUpEndsWhenAnInstallationBegins();
    void copiesOfWhatWorkNeedsStay();
    void formerPackagesAreLetGo();
    void nothingGoesOnAfterwards();

private:
    static constexpr int Many = 1000;

    /// A version without an archive, which none of these tests asks for.
    void offerVersion(int id, const QString &version, const QJsonObject &install);
    /// Packages that make a refresh long.
    void offerMany(int count = Many);
    /// Orders a refresh and returns when its file is there and has not been taken in yet.
    bool beginRefresh();
    bool isUnderWay() const { return m_list->isEmpty(); }
    bool waitForList()
    {
        return runUntil([this] { return !m_list->isEmpty(); }, 30000);
    }
    /// Delivers what is posted from the installing thread, without another turn of the refresh.
    static bool waitWithoutTurns(const std::function<bool()> &condition);
    /// Path of the file that a user keeps in the folder of a package.
    static QString keptFile(int id) { return QStringLiteral("plugins/%1/kept.ini").arg(id); }
    QString copyOf(int id) const { return m_engine->profile().preserveFolder() + keptFile(id); }
    /// Offers a package with a file that is kept, and has it there without a record.
    bool putWithKeptFile(int id, const QByteArray &content);

    std::unique_ptr<Engine> m_engine;
    std::unique_ptr<QSignalSpy> m_list;
};

void RefreshInTurnsTest::offerVersion(int id, const QString &version, const QJsonObject &install)
{
    const QJsonObject object{{QStringLiteral("version"), version},
                             {QStringLiteral("install"), install}};
    m_engine->offerObject(
        {{QStringLiteral("id"), id}, {QStringLiteral("versions"), QJsonArray{object}}});
}

void RefreshInTurnsTest::offerMany(int count)
{
    QJsonArray versions;
    for (int number = 0; number < 4; ++number) {
        const QString version = QStringLiteral("1.%1").arg(number);
        versions.append(QJsonObject{{QStringLiteral("version"), version},
                                    {QStringLiteral("depends"), QJsonArray{QStringLiteral("7")}}});
    }
    for (int id = 1000; id < 1000 + count; ++id)
        m_engine->offerObject({{QStringLiteral("id"), id}, {QStringLiteral("versions"), versions}});
}

bool RefreshInTurnsTest::beginRefresh()
{
    m_engine->serveCatalogue();
    const QString url = m_engine->server().url(QStringLiteral("/packages.json"));
    m_list = std::make_unique<QSignalSpy>(&m_engine->controller(), &PackageController::list);
    m_engine->controller().refresh();
    return runUntil([this, &url] { return m_engine->downloads()->find(url).isNull(); }, 30000) &&
           isUnderWay();
}

bool RefreshInTurnsTest::waitWithoutTurns(const std::function<bool()> &condition)
{
    const QDeadlineTimer deadline(30000);
    while (!condition() && !deadline.hasExpired()) {
        QCoreApplication::sendPostedEvents();
        QThread::yieldCurrentThread();
    }
    return condition();
}

bool RefreshInTurnsTest::putWithKeptFile(int id, const QByteArray &content)
{
    const QString folder = QStringLiteral("plugins/%1/").arg(id);
    offerVersion(id, QStringLiteral("1.0"),
                 {{QStringLiteral("extract"), folder},
                  {QStringLiteral("preserve"), QJsonArray{keptFile(id)}}});
    return writeFile(m_engine->simulator(folder + QStringLiteral("Kavo_version.txt")),
                     "a\nb\n1.0\n") &&
           writeFile(m_engine->simulator(keptFile(id)), content);
}

void RefreshInTurnsTest::eventLoopGoesOnMeanwhile()
{
    // So many that no machine takes them in in two turns.
    constexpr int Packages = 6 * Many;
    offerMany(Packages);
    QVERIFY(m_engine->refresh());
    QVERIFY(beginRefresh());
    int turns = 0;
    QTimer other;
    connect(&other, &QTimer::timeout, this, [&turns] { ++turns; });
    other.start();
    QVERIFY(waitForList());
    QVERIFY(turns > 2);
    QCOMPARE(m_engine->controller().packages().size(), Packages);
}

void RefreshInTurnsTest::nothingIsOnOfferBeforeTheEnd()
{
    m_engine->offer({7});
    offerMany();
    m_engine->start();
    QVERIFY(beginRefresh());
    bool isShownEarly = false;
    QTimer look;
    connect(&look, &QTimer::timeout, this, [this, &isShownEarly] {
        if (m_list->isEmpty() && !m_engine->controller().packages().isEmpty())
            isShownEarly = true;
    });
    QSignalSpy updated(&m_engine->controller(), &PackageController::update);
    connect(&m_engine->controller(), &PackageController::update, this,
            [this] { QCOMPARE(m_engine->controller().packages().size(), Many + 1); });
    look.start();
    QVERIFY(waitForList());
    QVERIFY(!isShownEarly);
    QCOMPARE(updated.count(), 1);
}

/// Each is taken in to its end, in the order in which they came.
void RefreshInTurnsTest::refreshesMeanwhile()
{
    offerMany();
    m_engine->start();
    QVERIFY(beginRefresh());
    QList<int> sizes;
    connect(&m_engine->controller(), &PackageController::update, this,
            [this, &sizes] { sizes.append(m_engine->controller().packages().size()); });
    const QString url = m_engine->server().url(QStringLiteral("/packages.json"));
    for (const int id : {7, 8}) {
        m_engine->offer({id});
        m_engine->serveCatalogue();
        m_engine->controller().refresh();
        // The turns are timers, and the file comes without any.
        const QDeadlineTimer deadline(30000);
        while (m_engine->downloads()->find(url) && !deadline.hasExpired())
            QCoreApplication::processEvents(QEventLoop::X11ExcludeTimers);
        QVERIFY(m_engine->downloads()->find(url).isNull());
        QVERIFY(isUnderWay());
    }
    QVERIFY(m_engine->controller().packages().isEmpty());
    QVERIFY(runUntil([this] { return m_list->count() == 3; }, 30000));
    QCOMPARE(sizes, QList<int>({Many, Many + 1, Many + 2}));
    QVERIFY(m_engine->package(7));
    QVERIFY(m_engine->package(8));
}

/// The file is the server's at the moment when it came, whatever becomes of it.
void RefreshInTurnsTest::fileThatIsReplacedMeanwhile()
{
    offerMany();
    m_engine->start();
    QVERIFY(beginRefresh());
    QVERIFY(writeFile(m_engine->cached(QStringLiteral("packages.json")), "[]"));
    QVERIFY(waitForList());
    QCOMPARE(m_engine->controller().packages().size(), Many);
}

void RefreshInTurnsTest::malformedEndIsFoundAtTheEnd()
{
    offerMany();
    m_engine->serveCatalogue();
    m_engine->server().resource(QStringLiteral("/packages.json")).body.chop(3);
    QVERIFY(m_engine->refreshAsServed());
    QVERIFY(m_engine->controller().packages().isEmpty());
    // Nor is one of those that came before the end known.
    QVERIFY(m_engine->package(1000).isNull());
    m_engine->serveCatalogue();
    QVERIFY(m_engine->refreshAsServed());
    QCOMPARE(m_engine->controller().packages().size(), Many);
    QCOMPARE(m_engine->package(1000)->id(), 1000);
}

void RefreshInTurnsTest::resetMeanwhile()
{
    m_engine->offer({7});
    offerMany();
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    QVERIFY(beginRefresh());
    m_engine->controller().reset();
    QVERIFY(waitForList());
    QCOMPARE(m_engine->controller().packages().size(), Many + 1);
    QCOMPARE(m_engine->package(7)->state(), Package::AVAILABLE);
    QVERIFY(!QFile::exists(m_engine->profile().dataFolder() + QStringLiteral("packages.db")));
}

void RefreshInTurnsTest::endOfTheProgramMeanwhile()
{
    m_engine->offer({7});
    offerMany();
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    for (int turns = 0; turns < 20; turns += 4) {
        QVERIFY(beginRefresh());
        for (int turn = 0; turn < turns; ++turn)
            QCoreApplication::processEvents();
        m_engine->stop();
        m_list.reset();
        QCOMPARE(m_engine->recordedStatus(7), 1);
        m_engine->start();
    }
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(7)->state(), Package::INSTALLED);
}

void RefreshInTurnsTest::installationThatEndsMeanwhile()
{
    const GatedExtractor extractor(m_engine->profile().folder(QStringLiteral("tools")));
    m_engine->setExtractor(extractor.program());
    m_engine->offer({7});
    offerMany();
    QVERIFY(m_engine->refresh());
    const PackagePointer working = m_engine->package(7);
    m_engine->install(7);
    QVERIFY(extractor.waitUntilReached());
    QVERIFY(beginRefresh());
    extractor.open();
    QVERIFY(waitWithoutTurns([this] { return !m_engine->controller().isBusy(); }));
    QCOMPARE(working->state(), Package::INSTALLED);
    QVERIFY(isUnderWay());
    QVERIFY(waitForList());
    QVERIFY(m_engine->package(7) != working);
    QCOMPARE(m_engine->package(7)->state(), Package::INSTALLED);
    QVERIFY(!m_engine->package(7)->isUpdateAvailable());
    QCOMPARE(m_engine->wholeVersion(7), QStringLiteral("1.0"));
    QCOMPARE(m_engine->recordedStatus(7), 1);
}

void RefreshInTurnsTest::installationThatFailsMeanwhile()
{
    m_engine->offer({7});
    m_engine->offer({7, QStringLiteral("2.0")});
    offerMany();
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    HttpResource &archive = m_engine->server().resource(QStringLiteral("/package-7-2.0.zip"));
    archive.holdAfter = 10;
    archive.resetAfter = 20;
    const PackagePointer working = m_engine->package(7);
    m_engine->install(7, QStringLiteral("2.0"));
    QVERIFY(m_engine->waitForState(7, Package::DOWNLOADING));
    QVERIFY(beginRefresh());
    m_engine->server().release(QStringLiteral("/package-7-2.0.zip"));
    QVERIFY(runUntil([&working] { return working->state() == Package::DOWNLOAD_ERROR; }, 30000));
    QVERIFY(waitForList());
    // Nothing of the version before has gone. Where the failure came after the records, it shows.
    const Package::State state = m_engine->package(7)->state();
    QVERIFY(state == Package::INSTALLED || state == Package::DOWNLOAD_ERROR);
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(7)->state(), Package::INSTALLED);
    QVERIFY(m_engine->package(7)->isUpdateAvailable());
    QCOMPARE(m_engine->wholeVersion(7), QStringLiteral("1.0"));
}

void RefreshInTurnsTest::installationThatBeginsMeanwhile()
{
    m_engine->offer({7});
    offerMany();
    QVERIFY(m_engine->refresh());
    const PackagePointer before = m_engine->package(7);
    m_engine->server().resource(QStringLiteral("/package-7-1.0.zip")).holdsGet = true;
    QVERIFY(beginRefresh());
    QString version;
    m_engine->controller().install(before, version);
    QVERIFY(waitForList());
    QVERIFY(m_engine->package(7) != before);
    QVERIFY(m_engine->package(7)->isBusy());
    m_engine->server().release(QStringLiteral("/package-7-1.0.zip"));
    QVERIFY(m_engine->waitForState(7, Package::INSTALLED));
    QVERIFY(m_engine->waitUntilSettled(7));
}

void RefreshInTurnsTest::removalMeanwhile()
{
    m_engine->offer({7});
    offerMany();
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    const PackagePointer before = m_engine->package(7);
    QVERIFY(beginRefresh());
    m_engine->controller().uninstall(before);
    QCOMPARE(before->state(), Package::AVAILABLE);
    QVERIFY(isUnderWay());
    QVERIFY(waitForList());
    QVERIFY(m_engine->package(7) != before);
    QCOMPARE(m_engine->package(7)->state(), Package::AVAILABLE);
}

void RefreshInTurnsTest::removalAfterwardsThroughAFormerObject()
{
    m_engine->offer({7});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    const PackagePointer before = m_engine->package(7);
    m_engine->offer({7, QStringLiteral("2.0")});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->package(7)->isUpdateAvailable());
    m_engine->controller().uninstall(before);
    QCOMPARE(m_engine->package(7)->state(), Package::AVAILABLE);
    QVERIFY(!m_engine->package(7)->isUpdateAvailable());
}

void RefreshInTurnsTest::installationAfterwardsThroughAFormerObject()
{
    m_engine->offer({7});
    QVERIFY(m_engine->refresh());
    const PackagePointer before = m_engine->package(7);
    QVERIFY(m_engine->refresh());
    QString version;
    m_engine->controller().install(before, version);
    QVERIFY(m_engine->package(7)->isBusy());
    QVERIFY(m_engine->waitForState(7, Package::INSTALLED));
    QVERIFY(m_engine->waitUntilSettled(7));
    QCOMPARE(before->state(), Package::INSTALLED);
}

void RefreshInTurnsTest::versionFilesOfManyPackages()
{
    constexpr int Count = 250;
    for (int id = 1; id <= Count; ++id) {
        const QString folder = QStringLiteral("plugins/%1").arg(id);
        offerVersion(id, QStringLiteral("2.0"), {{QStringLiteral("extract"), folder}});
        if (id % 3 == 0)
            QVERIFY(writeFile(m_engine->simulator(folder + QStringLiteral("/Kavo_version.txt")),
                              id % 2 == 0 ? "a\nb\n2.0\n" : "a\nb\n1.5\n"));
    }
    QVERIFY(m_engine->refresh());
    for (int id = 1; id <= Count; ++id) {
        const bool isInstalled = id % 3 == 0;
        QCOMPARE(m_engine->package(id)->state(),
                 isInstalled ? Package::INSTALLED : Package::AVAILABLE);
        QCOMPARE(m_engine->package(id)->isUpdateAvailable(), isInstalled && id % 2 != 0);
        QCOMPARE(m_engine->recordedStatus(id), isInstalled ? 1 : -1);
    }
}

/// What work records counts more than a version file that was read before.
void RefreshInTurnsTest::versionFileOfAPackageThatIsInstalledMeanwhile()
{
    Offer offer{7, QStringLiteral("2.0")};
    offer.extract = QStringLiteral("plugins/seven");
    m_engine->offer(offer);
    offerMany();
    QVERIFY(m_engine->refresh());
    const PackagePointer before = m_engine->package(7);
    QVERIFY(writeFile(m_engine->simulator(QStringLiteral("plugins/seven/Kavo_version.txt")),
                      "a\nb\n1.5\n"));
    m_engine->server().resource(QStringLiteral("/package-7-2.0.zip")).holdsGet = true;
    m_engine->install(7);
    QVERIFY(m_engine->waitForState(7, Package::DOWNLOADING));
    QVERIFY(beginRefresh());
    QVERIFY(waitForList());
    QCOMPARE(m_engine->package(7)->state(), Package::DOWNLOADING);
    QCOMPARE(m_engine->recordedVersion(7), QStringLiteral("2.0"));
    m_engine->server().release(QStringLiteral("/package-7-2.0.zip"));
    QVERIFY(m_engine->waitForState(7, Package::INSTALLED));
    QVERIFY(m_engine->waitUntilSettled(7));
}

void RefreshInTurnsTest::versionFileThatComesAfterACleanUp()
{
    QVERIFY(putWithKeptFile(7, "mine"));
    QVERIFY(writeFile(copyOf(7), "mine"));
    offerVersion(8, QStringLiteral("1.0"),
                 {{QStringLiteral("extract"), QStringLiteral("plugins/8")}});
    QVERIFY(m_engine->refresh());
    QVERIFY(!QFile::exists(copyOf(7)));
    QCOMPARE(m_engine->package(8)->state(), Package::AVAILABLE);
    QVERIFY(writeFile(m_engine->simulator(QStringLiteral("plugins/8/Kavo_version.txt")),
                      "a\nb\n1.0\n"));
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(8)->state(), Package::INSTALLED);
}

/// Copies that a sudden end has left are gone when the list is there.
void RefreshInTurnsTest::cleanUpOfManyPackages()
{
    constexpr int Count = 400;
    for (int id = 1; id <= Count; ++id) {
        QVERIFY(putWithKeptFile(id, "mine"));
        QVERIFY(writeFile(copyOf(id), id % 2 == 0 ? QByteArray("mine") : QByteArray("another")));
    }
    QVERIFY(m_engine->refresh());
    for (int id = 1; id <= Count; ++id)
        QCOMPARE(QFile::exists(copyOf(id)), id % 2 != 0);
}

/// It may be about to replace the very files that equal their copies now.
void RefreshInTurnsTest::copiesStayWhileAnInstallationRuns()
{
    const GatedExtractor extractor(m_engine->profile().folder(QStringLiteral("tools")));
    m_engine->setExtractor(extractor.program());
    m_engine->offer({7});
    QVERIFY(putWithKeptFile(8, "mine"));
    QVERIFY(m_engine->refresh());
    QVERIFY(writeFile(copyOf(8), "mine"));
    m_engine->install(7);
    QVERIFY(extractor.waitUntilReached());
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->controller().isBusy());
    QVERIFY(QFile::exists(copyOf(8)));
    extractor.open();
    QVERIFY(m_engine->waitUntilSettled(7));
    QVERIFY(m_engine->refresh());
    QVERIFY(!QFile::exists(copyOf(8)));
}

void RefreshInTurnsTest::cleanUpEndsWhenAnInstallationBegins()
{
    // More than can be compared in one turn.
    constexpr int Count = 100;
    constexpr qint64 Large = 4 * 1024 * 1024;
    const GatedExtractor extractor(m_engine->profile().folder(QStringLiteral("tools")));
    m_engine->setExtractor(extractor.program());
    m_engine->offer({7});
    for (int id = 1001; id <= 1000 + Count; ++id)
        QVERIFY(putWithKeptFile(id, "mine"));
    QVERIFY(m_engine->refresh());
    m_engine->controller().holdInstallations(true);
    m_engine->install(7);
    QVERIFY(m_engine->waitForState(7, Package::INSTALLING));
    for (int id = 1001; id <= 1000 + Count; ++id) {
        for (const QString &path : {m_engine->simulator(keptFile(id)), copyOf(id)}) {
            QVERIFY(writeFile(path, QByteArray()));
            QVERIFY(QFile::resize(path, Large));
        }
    }
    const auto copies = [this] {
        int count = 0;
        for (int id = 1001; id <= 1000 + Count; ++id)
            count += QFile::exists(copyOf(id)) ? 1 : 0;
        return count;
    };
    QVERIFY(beginRefresh());
    QVERIFY(runUntil([&copies] { return copies() < Count; }, 30000));
    QVERIFY(isUnderWay());
    QVERIFY(m_engine->controller().packages().isEmpty());
    m_engine->controller().holdInstallations(false);
    QVERIFY(m_engine->controller().isBusy());
    const int left = copies();
    QVERIFY(left > 0);
    QVERIFY(waitForList());
    QCOMPARE(copies(), left);
    QVERIFY(m_engine->controller().isBusy());
    extractor.open();
    QVERIFY(m_engine->waitUntilSettled(7));
}

void RefreshInTurnsTest::copiesOfWhatWorkNeedsStay()
{
    Offer dependant{7};
    dependant.depends = QStringList{QStringLiteral("8")};
    m_engine->offer(dependant);
    for (const int id : {8, 9})
        QVERIFY(putWithKeptFile(id, "mine"));
    QVERIFY(m_engine->refresh());
    for (const int id : {8, 9})
        QVERIFY(writeFile(copyOf(id), "mine"));
    m_engine->server().resource(QStringLiteral("/package-7-1.0.zip")).holdsGet = true;
    m_engine->install(7);
    QVERIFY(m_engine->waitForState(7, Package::DOWNLOADING));
    QVERIFY(m_engine->refresh());
    QVERIFY(QFile::exists(copyOf(8)));
    QVERIFY(!QFile::exists(copyOf(9)));
    m_engine->server().release(QStringLiteral("/package-7-1.0.zip"));
    QVERIFY(m_engine->waitForState(7, Package::INSTALLED));
    QVERIFY(m_engine->waitUntilSettled(7));
    QVERIFY(m_engine->refresh());
    QVERIFY(!QFile::exists(copyOf(8)));
}

void RefreshInTurnsTest::formerPackagesAreLetGo()
{
    offerMany();
    QVERIFY(m_engine->refresh());
    const QWeakPointer<Package> first = m_engine->package(1000);
    const QWeakPointer<Package> last = m_engine->package(1000 + Many - 1);
    QVERIFY(m_engine->refresh());
    QVERIFY(runUntil([&] { return first.isNull() && last.isNull(); }, 30000));
}

/// A program that waits for its user takes no time of the processor.
void RefreshInTurnsTest::nothingGoesOnAfterwards()
{
    offerMany();
    QVERIFY(m_engine->refresh());
    const QDeadlineTimer deadline(30000);
    bool isAtRest = false;
    while (!isAtRest && !deadline.hasExpired())
        isAtRest = !QAbstractEventDispatcher::instance()->processEvents(QEventLoop::AllEvents);
    QVERIFY(isAtRest);
}

KAVO_TEST_MAIN(RefreshInTurnsTest)
#include "RefreshInTurnsTest.moc"
