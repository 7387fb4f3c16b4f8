#include "app/WorkReport.h"
#include "tests/app/PrivateBus.h"
#include "tests/app/ProgramRun.h"
#include "tests/app/StandInDesktop.h"
#include "tests/packages/Engine.h"
#include "tests/packages/GatedExtractor.h"
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
    void sumNeverGoesBack();
    void iconIsClearedAtTheEndOfTheProgram();
    void fewAreTold();
    void endOfSeveralIsNotified();
    void failedOnesAreNamed();
    void endOfOneIsNotNotified();
    void nothingIsNotifiedInFrontOfTheUser();
    void nothingHappensWithoutABus_data();
    void nothingHappensWithoutABus();

private:
    /// Packages of these ids with archives of so many bytes.
    void offer(const QVector<int> &ids, int size = 1000);
    void start();
    const QVector<StandInDesktop::Entry> &entries() const { return m_desktop->entries(); }
    bool waitUntilCleared();
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

HttpResource &WorkReportTest::archive(int id)
{
    return m_engine->server().resource(QStringLiteral("/package-%1-1.0.zip").arg(id));
}

void WorkReportTest::start()
{
    QVERIFY(m_engine->refresh());
    m_report = std::make_unique<WorkReport>(m_engine->controller().installer());
}

bool WorkReportTest::waitUntilCleared()
{
    return runUntil([this] { return !entries().isEmpty() && !entries().last().isVisible(); },
                    Patience);
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
    QCOMPARE(entries().last().program, QStringLiteral("application://%1.desktop").arg(Program));
    QVERIFY(entries().last().isVisible());
    QCOMPARE(entries().last().properties.value(QStringLiteral("count")).userType(),
             static_cast<int>(QMetaType::LongLong));
    // The whole of one and the half of the other.
    m_engine->server().release(QStringLiteral("/package-1-1.0.zip"));
    QVERIFY(m_engine->waitForState(1, Kavo::Models::Package::INSTALLED));
    const auto isLater = [this] {
        return entries().last().count() == 1 && qAbs(entries().last().progress() - 0.725) < 0.01;
    };
    QVERIFY(runUntil(isLater, Patience));
    m_engine->server().release(QStringLiteral("/package-2-1.0.zip"));
    QVERIFY(waitUntilCleared());
    QCOMPARE(entries().last().count(), 0);
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
    m_engine->server().serveGenerated(QStringLiteral("/package-1-1.0.zip"), 64 * 1024 * 1024);
    int announced = 0;
    start();
    connect(m_engine->package(1).data(), &Kavo::Models::Package::downloadedSize, this,
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
    QCOMPARE(notification.program, QStringLiteral("Kavo Suite"));
    QCOMPARE(notification.title, QStringLiteral("Installations have ended"));
    QCOMPARE(notification.text, QStringLiteral("Installed : 2"));
    QCOMPARE(notification.hints.value(QStringLiteral("desktop-entry")).toString(), Program);
    QSettings entry(QStringLiteral(KAVO_PACKAGING_FOLDER "/%1.desktop").arg(Program),
                    QSettings::IniFormat);
    QCOMPARE(notification.icon, entry.value(QStringLiteral("Desktop Entry/Icon")).toString());
    QCOMPARE(notification.program, entry.value(QStringLiteral("Desktop Entry/Name")).toString());
}

void WorkReportTest::failedOnesAreNamed()
{
    offer({1});
    for (int id = 2; id < 9; ++id) {
        m_engine->offerObject(
            {{QStringLiteral("id"), id},
             {QStringLiteral("name"),
              QJsonObject{{QStringLiteral("en"), QStringLiteral("<b>%1</b> & more").arg(id)}}},
             {QStringLiteral("versions"),
              QJsonArray{QJsonObject{{QStringLiteral("version"), QStringLiteral("1.0")},
                                     {QStringLiteral("link"),
                                      m_engine->server().url(QStringLiteral("/gone.zip"))}}}}});
    }
    m_engine->serveCatalogue();
    start();
    for (int id = 1; id < 9; ++id)
        m_engine->install(id);
    QVERIFY(runUntil([this] { return !m_desktop->notifications().isEmpty(); }, Patience));
    QVERIFY(waitUntilCleared());
    QCOMPARE(m_desktop->notifications().size(), 1);
    const QStringList lines = m_desktop->notifications().first().text.split(QLatin1Char('\n'));
    QCOMPARE(lines.size(), 3);
    QCOMPARE(lines.at(0), QStringLiteral("Installed : 1"));
    QVERIFY2(lines.at(1).startsWith(QStringLiteral("Failed : ")), qPrintable(lines.at(1)));
    QCOMPARE(lines.at(1).count(QStringLiteral("&lt;/b&gt; &amp; more")), 5);
    QVERIFY(!lines.at(1).contains(QLatin1Char('<')));
    QCOMPARE(lines.at(2), QStringLiteral("Not listed : 2"));
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
        const QString socket = m_engine->profile().folder(QStringLiteral("bus")) + QLatin1Char('s');
        QVERIFY(odd.listen(socket));
        connect(&odd, &QLocalServer::newConnection, this, [&odd, refuses] {
            QLocalSocket *connection = odd.nextPendingConnection();
            if (refuses)
                connection->abort();
        });
        address = "unix:path=" + QUrl::toPercentEncoding(socket, "/");
    }
    qputenv("DBUS_SESSION_BUS_ADDRESS", address);
    offer({1, 2});
    {
        QSettings settings(m_engine->profile().settingsFile(), QSettings::IniFormat);
        settings.setValue(QStringLiteral("Installation"), m_engine->profile().simulatorFolder());
    }
    ProgramRun program(QStringLiteral(KAVO_ORDERED_PROGRAM),
                       {m_engine->server().url(QString()), QStringLiteral("/usr/bin/7z"),
                        QStringLiteral("Download")});
    program.start();
    QVERIFY(runUntil(
        [this] { return m_engine->recordedStatus(1) == 1 && m_engine->recordedStatus(2) == 1; },
        Patience));
    program.send(SIGTERM);
    QVERIFY(program.endsWith(0));
    QVERIFY(entries().isEmpty());
}

KAVO_TEST_MAIN(WorkReportTest)
#include "WorkReportTest.moc"
