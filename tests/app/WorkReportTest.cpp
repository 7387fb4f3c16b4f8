#include "app/WorkReport.h"
#include "downloads/DownloadManager.h"
#include "tests/app/PrivateBus.h"
#include "tests/app/ProgramRun.h"
#include "tests/app/StandInDesktop.h"
#include "tests/app/StoredSettings.h"
#include "tests/packages/Engine.h"
#include "tests/packages/GatedExtractor.h"
#include "tests/support/Literals.h"
#include "tests/support/RunUntil.h"
#include "tests/support/TestMain.h"

#include <QLocalServer>
#include <QLocalSocket>
#include <QScopeGuard>
#include <QSettings>
#include <QUrl>

#include <algorithm>
#include <csignal>
#include <memory>

using namespace Kavo::Testing;
using Kavo::WorkReport;
using Kavo::Models::Package;

namespace {

constexpr int Patience = 30000; ///< in milliseconds
const QString Program = QStringLiteral(KAVO_DESKTOP_ID);

} // namespace

/// What the desktop is told of installations, by way of a bus of the test's own.
class WorkReportTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase() { m_bus.reset(); }
    void init();
    void cleanup();

    void sumIsOnTheIcon();
    void sizeThatNobodyHasToldIsGuessed_data();
    void sizeThatNobodyHasToldIsGuessed();
    void moreThanWasToldIsNoMoreThanAll();
    void endOfOneIsShownWhileTheOtherStandsStill();
    void sumNeverGoesBack();
    void iconIsClearedAtTheEndOfTheProgram();
    void fewAreTold();
    void endOfSeveralIsNotified();
    void failedOnesAreNamed();
    void aFewFailedOnesAreAllListed();
    void nameOfAFailedOneStaysOnItsLine();
    void whatHasEndedCountsNoMore();
    void endOfOneIsNotNotified();
    void nothingIsNotifiedInFrontOfTheUser();
    void nothingHappensWithoutABus_data();
    void nothingHappensWithoutABus();
    void busOfTheUserNeedsNoAddress();

private:
    /// Packages of these ids with archives of so many bytes.
    void offer(const QVector<int> &ids, int size = 1000);
    /// A package whose archive the server does not have.
    void offerFailing(int id, const QString &name);
    void start();
    /// Runs the program itself until it has installed packages 1 and 2, and ends it.
    void installWithTheProgram();
    const QVector<StandInDesktop::Entry> &entries() const { return m_desktop->entries(); }
    bool waitUntilCleared();
    /// What waits to be told is told before this ends, whose timer begins later.
    bool waitForThePause();
    HttpResource &archive(int id);

    std::unique_ptr<PrivateBus> m_bus;
    std::unique_ptr<StandInDesktop> m_desktop;
    std::unique_ptr<Engine> m_engine;
    std::unique_ptr<WorkReport> m_report;
};

/// The library looks once in the life of a process where its bus is.
void WorkReportTest::initTestCase()
{
    m_bus = std::make_unique<PrivateBus>();
    QVERIFY(m_bus->isReady());
}

void WorkReportTest::init()
{
    QGuiApplication::setDesktopFileName(Program);
    m_desktop = std::make_unique<StandInDesktop>(m_bus->address());
    QVERIFY(m_desktop->isReady());
    m_engine = std::make_unique<Engine>();
}

void WorkReportTest::cleanup()
{
    m_report.reset();
    m_engine.reset();
    m_desktop.reset();
}

void WorkReportTest::offer(const QVector<int> &ids, int size)
{
    for (const int id : ids) {
        Offer offer{id};
        offer.files = {{Engine::fileOf(id), HttpResource::generated(id * 1000, size)}};
        m_engine->offer(offer);
    }
    m_engine->serveCatalogue();
}

void WorkReportTest::offerFailing(int id, const QString &name)
{
    m_engine->offerObject(
        {{"id"_s, id},
         {"name"_s, QJsonObject{{"en"_s, name}}},
         {"versions"_s,
          QJsonArray{QJsonObject{{"version"_s, "1.0"_s},
                                 {"link"_s, m_engine->server().url("/gone-%1.zip"_s.arg(id))}}}}});
}

HttpResource &WorkReportTest::archive(int id)
{
    return m_engine->server().resource("/package-%1-1.0.zip"_s.arg(id));
}

void WorkReportTest::start()
{
    QVERIFY(m_engine->refresh());
    m_report = std::make_unique<WorkReport>(m_engine->controller().installer());
}

void WorkReportTest::installWithTheProgram()
{
    offer({1, 2});
    settle(m_engine->profile());
    ProgramRun program(QStringLiteral(KAVO_ORDERED_PROGRAM),
                       {m_engine->server().url(QString()), "/usr/bin/7z"_s, "Download"_s});
    program.start();
    QVERIFY(runUntil(
        [this] { return m_engine->recordedStatus(1) == 1 && m_engine->recordedStatus(2) == 1; },
        Patience));
    program.send(SIGTERM);
    QVERIFY(program.endsWith(0));
}

bool WorkReportTest::waitUntilCleared()
{
    return runUntil([this] { return !entries().isEmpty() && !entries().last().isVisible(); },
                    Patience);
}

bool WorkReportTest::waitForThePause()
{
    QTimer later;
    later.setSingleShot(true);
    later.start(2 * 250);
    return runUntil([&later] { return !later.isActive(); }, Patience);
}

void WorkReportTest::sumIsOnTheIcon()
{
    offer({1, 2}, 1000000);
    for (const int id : {1, 2})
        archive(id).holdAfter = archive(id).size() / 2;
    start();
    m_engine->install(1);
    m_engine->install(2);
    const auto isHalf = [this] {
        return !entries().isEmpty() && entries().last().count() == 2 &&
               qAbs(entries().last().progress() - 0.45) < 0.01;
    };
    QVERIFY(runUntil(isHalf, Patience));
    QCOMPARE(entries().last().program, "application://%1.desktop"_s.arg(Program));
    QVERIFY(entries().last().isVisible());
    QCOMPARE(entries().last().properties.value("count"_s).userType(),
             static_cast<int>(QMetaType::LongLong));
    // The whole of one and the half of the other.
    m_engine->server().release("/package-1-1.0.zip"_s);
    QVERIFY(m_engine->waitForState(1, Package::INSTALLED));
    const auto isLater = [this] {
        return entries().last().count() == 1 && qAbs(entries().last().progress() - 0.725) < 0.01;
    };
    QVERIFY(runUntil(isLater, Patience));
    m_engine->server().release("/package-2-1.0.zip"_s);
    QVERIFY(waitUntilCleared());
    QCOMPARE(entries().last().count(), 0);
}

void WorkReportTest::sizeThatNobodyHasToldIsGuessed_data()
{
    QTest::addColumn<QJsonObject>("told");
    QTest::addColumn<double>("size");
    QTest::newRow("not told") << QJsonObject{} << 1024.0 * 1024;
    QTest::newRow("told by the catalogue") << QJsonObject{{"size"_s, 9000000}} << 9000000.0;
}

void WorkReportTest::sizeThatNobodyHasToldIsGuessed()
{
    QFETCH(QJsonObject, told);
    QFETCH(double, size);
    constexpr qint64 Known = 2000000;
    Offer second{2};
    second.more = told;
    m_engine->offer(second);
    offer({1});
    m_engine->server().serveGenerated("/package-1-1.0.zip"_s, Known).holdAfter = Known / 2;
    // Not even its size comes.
    archive(2).holdsHead = true;
    start();
    m_engine->install(1);
    m_engine->install(2);
    QVERIFY(runUntil(
        [this] {
            return m_engine->controller().progress(m_engine->package(1)).received == Known / 2;
        },
        Patience));
    QVERIFY(waitForThePause());
    const double sum = 0.45 * Known / (Known + size);
    QVERIFY(runUntil([&] { return qAbs(entries().last().progress() - sum) < 0.01; }, Patience));
    QCOMPARE(entries().last().count(), 2);
}

void WorkReportTest::moreThanWasToldIsNoMoreThanAll()
{
    constexpr qint64 Size = 8 * 1024 * 1024;
    offer({1});
    HttpResource &large = m_engine->server().serveGenerated("/package-1-1.0.zip"_s, Size);
    large.headWithoutLength = true;
    large.getWithoutLength = true;
    large.holdAfter = Size / 2;
    start();
    m_engine->install(1);
    QVERIFY(runUntil(
        [this] {
            return m_engine->controller().progress(m_engine->package(1)).received > Size / 4;
        },
        Patience));
    QVERIFY(waitForThePause());
    QVERIFY(runUntil([this] { return entries().last().progress() > 0.8; }, Patience));
    for (const auto &entry : entries())
        QVERIFY2(entry.progress() < 0.91, qPrintable(QString::number(entry.progress())));
}

void WorkReportTest::endOfOneIsShownWhileTheOtherStandsStill()
{
    const GatedExtractor gate(m_engine->profile().folder("tools"_s));
    m_engine->setExtractor(gate.program());
    offer({1, 2});
    archive(2).holdAfter = 10;
    start();
    m_engine->install(1);
    m_engine->install(2);
    QVERIFY(gate.waitUntilReached());
    QVERIFY(runUntil(
        [this] { return m_engine->controller().progress(m_engine->package(2)).received == 10; },
        Patience));
    QVERIFY(waitForThePause());
    QVERIFY(runUntil([this] { return entries().last().count() == 2; }, Patience));
    gate.open();
    QVERIFY(runUntil([this] { return entries().last().count() == 1; }, Patience));
}

void WorkReportTest::sumNeverGoesBack()
{
    offer({1, 2, 3}, 300000);
    start();
    for (const int id : {1, 2, 3})
        m_engine->install(id);
    QVERIFY(waitUntilCleared());
    double before = 0;
    for (const auto &entry : entries()) {
        if (entry.isVisible()) {
            QVERIFY(entry.progress() >= before && entry.progress() <= 1);
            before = entry.progress();
        }
    }
}

void WorkReportTest::iconIsClearedAtTheEndOfTheProgram()
{
    offer({1}, 100000);
    archive(1).holdAfter = 1000;
    start();
    m_engine->install(1);
    QVERIFY(runUntil([this] { return !entries().isEmpty(); }, Patience));
    m_report.reset();
    QVERIFY(waitUntilCleared());
}

void WorkReportTest::fewAreTold()
{
    // Every few kilobytes are announced by the download.
    offer({1}, 1);
    m_engine->server().serveGenerated("/package-1-1.0.zip"_s, 64 * 1024 * 1024);
    int announced = 0;
    start();
    connect(m_engine->package(1).data(), &Package::downloadedSize, this,
            [&announced] { ++announced; });
    QElapsedTimer clock;
    clock.start();
    m_engine->install(1);
    QVERIFY(waitUntilCleared());
    QVERIFY(announced > 50);
    QVERIFY2(entries().size() <= clock.elapsed() / 250 + 3,
             qPrintable(QString::number(entries().size())));
}

void WorkReportTest::endOfSeveralIsNotified()
{
    offer({1, 2});
    start();
    m_engine->install(1);
    m_engine->install(2);
    QVERIFY(runUntil([this] { return !m_desktop->notifications().isEmpty(); }, Patience));
    QVERIFY(waitUntilCleared());
    QCOMPARE(m_desktop->notifications().size(), 1);
    const auto &notification = m_desktop->notifications().first();
    QCOMPARE(notification.program, "Kavo Suite"_s);
    QCOMPARE(notification.title, "Installations have ended"_s);
    QCOMPARE(notification.text, "Installed : 2"_s);
    // It takes the place of no other program's, asks nothing and goes when the desktop thinks fit.
    QCOMPARE(notification.replaces, 0U);
    QCOMPARE(notification.actions, QStringList());
    QCOMPARE(notification.timeout, -1);
    QCOMPARE(notification.hints.value("desktop-entry"_s).toString(), Program);
    QSettings entry(QStringLiteral(KAVO_PACKAGING_FOLDER "/%1.desktop").arg(Program),
                    QSettings::IniFormat);
    QCOMPARE(notification.icon, entry.value("Desktop Entry/Icon"_s).toString());
    QCOMPARE(notification.program, entry.value("Desktop Entry/Name"_s).toString());
}

void WorkReportTest::failedOnesAreNamed()
{
    offer({1});
    for (int id = 2; id < 9; ++id)
        offerFailing(id, "<b>%1</b> & more"_s.arg(id));
    m_engine->serveCatalogue();
    start();
    for (int id = 1; id < 9; ++id)
        m_engine->install(id);
    QVERIFY(runUntil([this] { return !m_desktop->notifications().isEmpty(); }, Patience));
    QVERIFY(waitUntilCleared());
    QCOMPARE(m_desktop->notifications().size(), 1);
    const QStringList lines = m_desktop->notifications().first().text.split(QLatin1Char('\n'));
    QCOMPARE(lines.size(), 3);
    QCOMPARE(lines.at(0), "Installed : 1"_s);
    QVERIFY2(lines.at(1).startsWith("Failed : "_s), qPrintable(lines.at(1)));
    QCOMPARE(lines.at(1).count("&lt;/b&gt; &amp; more"_s), 5);
    QVERIFY(!lines.at(1).contains(QLatin1Char('<')));
    QCOMPARE(lines.at(2), "Not listed : 2"_s);
}

void WorkReportTest::aFewFailedOnesAreAllListed()
{
    for (int id = 1; id <= 5; ++id)
        offerFailing(id, "name-%1"_s.arg(id));
    m_engine->serveCatalogue();
    start();
    for (int id = 1; id <= 5; ++id)
        m_engine->install(id);
    QVERIFY(runUntil([this] { return !m_desktop->notifications().isEmpty(); }, Patience));
    const QStringList lines = m_desktop->notifications().first().text.split(QLatin1Char('\n'));
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines.at(0), "Installed : 0"_s);
    QCOMPARE(lines.at(1).count("name-"_s), 5);
}

void WorkReportTest::nameOfAFailedOneStaysOnItsLine()
{
    offer({1});
    offerFailing(2, "first\nsecond"_s);
    m_engine->serveCatalogue();
    start();
    m_engine->install(1);
    m_engine->install(2);
    QVERIFY(runUntil([this] { return !m_desktop->notifications().isEmpty(); }, Patience));
    QCOMPARE(m_desktop->notifications().first().text, "Installed : 1\nFailed : first?second"_s);
}

void WorkReportTest::whatHasEndedCountsNoMore()
{
    offer({1, 2, 3}, 1000000);
    archive(1).holdsGet = true;
    offerFailing(4, "gone"_s);
    start();
    m_engine->install(1);
    m_engine->install(4);
    QVERIFY(m_engine->waitForState(4, Package::DOWNLOAD_ERROR));
    const QString link = m_engine->server().url("/package-1-1.0.zip"_s);
    const auto download = m_engine->downloads()->find(link);
    QVERIFY(download);
    // There is news at the very end, and the pause has just begun.
    connect(m_engine->package(1).data(), &Package::stateChanged, this,
            [download](Package::State state) {
                if (state == Package::INSTALLED) {
                    download->setCurrentSize(400);
                    download->setCurrentSize(401);
                }
            });
    m_engine->server().release("/package-1-1.0.zip"_s);
    QVERIFY(waitUntilCleared());
    QTRY_COMPARE(m_desktop->notifications().size(), 1);
    const int cleared = entries().size();
    QVERIFY(waitForThePause());
    // As a transfer does that goes on after its package's end.
    download->setCurrentSize(500);

    for (const int id : {2, 3})
        archive(id).holdAfter = 1000;
    m_engine->install(2);
    m_engine->install(3);
    QVERIFY(runUntil([this, cleared] { return entries().size() > cleared; }, Patience));
    QCOMPARE(entries().at(cleared).count(), 1);
    QVERIFY(entries().at(cleared).progress() < 0.1);
    for (const int id : {2, 3})
        m_engine->server().release("/package-%1-1.0.zip"_s.arg(id));
    QTRY_COMPARE_WITH_TIMEOUT(m_desktop->notifications().size(), 2, Patience);
    QCOMPARE(m_desktop->notifications().last().text, "Installed : 2"_s);
}

void WorkReportTest::endOfOneIsNotNotified()
{
    offer({1, 2});
    start();
    // One after the other are not several.
    for (const int id : {1, 2}) {
        QVERIFY(m_engine->installAndWait(id));
        QVERIFY(waitUntilCleared());
    }
    QVERIFY(m_desktop->notifications().isEmpty());
}

void WorkReportTest::nothingIsNotifiedInFrontOfTheUser()
{
    offer({1, 2});
    start();
    QWidget window;
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    m_engine->install(1);
    m_engine->install(2);
    QVERIFY(waitUntilCleared());
    QVERIFY(m_desktop->notifications().isEmpty());
}

void WorkReportTest::nothingHappensWithoutABus_data()
{
    QTest::addColumn<QByteArray>("address");
    QTest::newRow("none") << QByteArray();
    QTest::newRow("nobody there") << QByteArray("unix:path=/nowhere/at/all");
    QTest::newRow("nonsense") << QByteArray("nonsense");
    QTest::newRow("one that would have to be started") << QByteArray("autolaunch:");
    QTest::newRow("one that takes nobody") << QByteArray("refusing");
    QTest::newRow("one that says nothing") << QByteArray("silent");
}

void WorkReportTest::nothingHappensWithoutABus()
{
    QFETCH(QByteArray, address);
    const QByteArray before = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    const auto restore = qScopeGuard([&before] { qputenv("DBUS_SESSION_BUS_ADDRESS", before); });
    QLocalServer odd;
    const bool refuses = address == "refusing";
    if (refuses || address == "silent") {
        const QString socket = m_engine->profile().folder("bus"_s) + QLatin1Char('s');
        QVERIFY(odd.listen(socket));
        connect(&odd, &QLocalServer::newConnection, this, [&odd, refuses] {
            QLocalSocket *connection = odd.nextPendingConnection();
            if (refuses)
                connection->abort();
        });
        address = "unix:path=" + QUrl::toPercentEncoding(socket, "/");
    }
    qputenv("DBUS_SESSION_BUS_ADDRESS", address);
    installWithTheProgram();
    QVERIFY(entries().isEmpty());
}

void WorkReportTest::busOfTheUserNeedsNoAddress()
{
    const QByteArray address = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    const QByteArray folder = qgetenv("XDG_RUNTIME_DIR");
    const auto restore = qScopeGuard([&] {
        qputenv("DBUS_SESSION_BUS_ADDRESS", address);
        qputenv("XDG_RUNTIME_DIR", folder);
    });
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_bus->folder()));
    installWithTheProgram();
    QVERIFY(waitUntilCleared());
}

KAVO_TEST_MAIN(WorkReportTest)
#include "WorkReportTest.moc"
