#include "app/WorkReport.h"
#include "downloads/DownloadManager.h"
#include "tests/app/PrivateBus.h"
#include "tests/app/ProgramRun.h"
#include "tests/app/StandInDesktop.h"
#include "tests/app/StoredSettings.h"
#include "tests/packages/EngineTest.h"
#include "tests/packages/GatedExtractor.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
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

const QString Program = QStringLiteral(KAVO_DESKTOP_ID);

} // namespace

/// Tests what the program reports to the desktop about installations, on a private bus.
class WorkReportTest final : public EngineTest
{
    Q_OBJECT

private slots:
    /// The bus is started once, because the library looks up its address once per process.
    void initTestCase()
    {
        m_bus = std::make_unique<PrivateBus>();
        QVERIFY(m_bus->isReady());
    }

    void cleanupTestCase() { m_bus.reset(); }

    void progressIsOnTheIcon()
    {
        offer({1, 2}, 1000000);
        for (const int id : {1, 2})
            archive(id).holdAfter = archive(id).size() / 2;
        start({1, 2});
        const auto isHalf = [this] {
            return !entries().isEmpty() && entries().last().count() == 2 &&
                   qAbs(entries().last().progress() - 0.45) < 0.01;
        };
        QVERIFY(runUntil(isHalf));
        QCOMPARE(entries().last().program, "application://%1.desktop"_s.arg(Program));
        QVERIFY(entries().last().isVisible());
        QCOMPARE(entries().last().properties.value("count"_s).userType(),
                 static_cast<int>(QMetaType::LongLong));
        // One package is installed, and half of the other archive is downloaded.
        release(1);
        QVERIFY(waitForState(1, Package::INSTALLED));
        const auto isLater = [this] {
            return entries().last().count() == 1 &&
                   qAbs(entries().last().progress() - 0.725) < 0.01;
        };
        QVERIFY(runUntil(isLater));
        release(2);
        QVERIFY(waitUntilCleared());
        QCOMPARE(entries().last().count(), 0);
    }

    void unknownSizeIsEstimated_data()
    {
        Rows<QJsonObject, double>()
            .row("unknown", QJsonObject{}, 1024.0 * 1024)
            .row("from the catalogue", QJsonObject{{"size"_s, 9000000}}, 9000000.0);
    }

    void unknownSizeIsEstimated()
    {
        const auto [told, size] = Rows<QJsonObject, double>::current();
        constexpr qint64 Known = 2000000;
        EngineTest::offer(Offer{2}.with(told));
        offer({1});
        server().serveGenerated("/package-1-1.0.zip"_s, Known).holdAfter = Known / 2;
        // The server does not even send the size.
        archive(2).holdsHead = true;
        start({1, 2});
        QVERIFY(
            runUntil([this] { return controller().progress(package(1)).received == Known / 2; }));
        QVERIFY(waitForThePause());
        const double sum = 0.45 * Known / (Known + size);
        QVERIFY(runUntil([&] { return qAbs(entries().last().progress() - sum) < 0.01; }));
        QCOMPARE(entries().last().count(), 2);
    }

    void progressIsLimitedWithoutASize()
    {
        constexpr qint64 Size = 8 * 1024 * 1024;
        offer({1});
        HttpResource &large = server().serveGenerated("/package-1-1.0.zip"_s, Size);
        large.headWithoutLength = true;
        large.getWithoutLength = true;
        large.holdAfter = Size / 2;
        start({1});
        QVERIFY(runUntil([this] { return controller().progress(package(1)).received > Size / 4; }));
        QVERIFY(waitForThePause());
        QVERIFY(runUntil([this] { return entries().last().progress() > 0.8; }));
        for (const auto &entry : entries())
            QVERIFY2(entry.progress() < 0.91, qPrintable(QString::number(entry.progress())));
    }

    void endOfOneIsShownWhileTheOtherPauses()
    {
        const GatedExtractor gate(profile().folder("tools"_s));
        setExtractor(gate.program());
        offer({1, 2});
        archive(2).holdAfter = 10;
        start({1, 2});
        QVERIFY(gate.waitUntilReached());
        QVERIFY(runUntil([this] { return controller().progress(package(2)).received == 10; }));
        QVERIFY(waitForThePause());
        QVERIFY(runUntil([this] { return entries().last().count() == 2; }));
        gate.open();
        QVERIFY(runUntil([this] { return entries().last().count() == 1; }));
    }

    void progressNeverDecreases()
    {
        offer({1, 2, 3}, 300000);
        start({1, 2, 3});
        QVERIFY(waitUntilCleared());
        double before = 0;
        for (const auto &entry : entries()) {
            if (entry.isVisible()) {
                QVERIFY(entry.progress() >= before && entry.progress() <= 1);
                before = entry.progress();
            }
        }
    }

    void iconIsClearedAtTheEndOfTheProgram()
    {
        offer({1}, 100000);
        archive(1).holdAfter = 1000;
        start({1});
        QVERIFY(runUntil([this] { return !entries().isEmpty(); }));
        m_report.reset();
        QVERIFY(waitUntilCleared());
    }

    void reportsAreRateLimited()
    {
        // The download reports its progress every few kilobytes.
        offer({1}, 1);
        server().serveGenerated("/package-1-1.0.zip"_s, 64 * 1024 * 1024);
        int announced = 0;
        start({});
        connect(package(1).data(), &Package::downloadedSize, this, [&announced] { ++announced; });
        QElapsedTimer clock;
        clock.start();
        install(1);
        QVERIFY(waitUntilCleared());
        QVERIFY(announced > 50);
        QVERIFY2(entries().size() <= clock.elapsed() / 250 + 3,
                 qPrintable(QString::number(entries().size())));
    }

    void endOfSeveralIsNotified()
    {
        offer({1, 2});
        start({1, 2});
        QVERIFY(waitForNotification());
        QVERIFY(waitUntilCleared());
        QCOMPARE(m_desktop->notifications().size(), 1);
        const auto &notification = m_desktop->notifications().first();
        QCOMPARE(notification.program, "Kavo Suite"_s);
        QCOMPARE(notification.title, "Installations have ended"_s);
        QCOMPARE(notification.text, "Installed : 2"_s);
        // It replaces no other notification and has no buttons. The desktop decides when it
        // disappears.
        QCOMPARE(notification.replaces, 0U);
        QCOMPARE(notification.actions, QStringList());
        QCOMPARE(notification.timeout, -1);
        QCOMPARE(notification.hints.value("desktop-entry"_s).toString(), Program);
        QSettings entry(QStringLiteral(KAVO_PACKAGING_FOLDER "/%1.desktop").arg(Program),
                        QSettings::IniFormat);
        QCOMPARE(notification.icon, entry.value("Desktop Entry/Icon"_s).toString());
        QCOMPARE(notification.program, entry.value("Desktop Entry/Name"_s).toString());
    }

    void failedPackagesAreNamed()
    {
        offer({1});
        for (int id = 2; id < 9; ++id)
            offerFailing(id, "<b>%1</b> & more"_s.arg(id));
        serveCatalogue();
        start({1, 2, 3, 4, 5, 6, 7, 8});
        QVERIFY(waitForNotification());
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

    void fewFailedPackagesAreAllListed()
    {
        for (int id = 1; id <= 5; ++id)
            offerFailing(id, "name-%1"_s.arg(id));
        serveCatalogue();
        start({1, 2, 3, 4, 5});
        QVERIFY(waitForNotification());
        const QStringList lines = m_desktop->notifications().first().text.split(QLatin1Char('\n'));
        QCOMPARE(lines.size(), 2);
        QCOMPARE(lines.at(0), "Installed : 0"_s);
        QCOMPARE(lines.at(1).count("name-"_s), 5);
    }

    void nameOfAFailedPackageIsOneLine()
    {
        offer({1});
        offerFailing(2, "first\nsecond"_s);
        serveCatalogue();
        start({1, 2});
        QVERIFY(waitForNotification());
        QCOMPARE(m_desktop->notifications().first().text, "Installed : 1\nFailed : first?second"_s);
    }

    void endedWorkDoesNotCount()
    {
        offer({1, 2, 3}, 1000000);
        archive(1).holdsGet = true;
        offerFailing(4, "gone"_s);
        start({1, 4});
        QVERIFY(waitForState(4, Package::DOWNLOAD_ERROR));
        const QString link = server().url("/package-1-1.0.zip"_s);
        const auto download = downloads().find(link);
        QVERIFY(download);
        // The size changes at the very end, when the pause between two reports has just begun.
        connect(package(1).data(), &Package::stateChanged, this, [download](Package::State state) {
            if (state == Package::INSTALLED) {
                download->setCurrentSize(400);
                download->setCurrentSize(401);
            }
        });
        release(1);
        QVERIFY(waitUntilCleared());
        QTRY_COMPARE(m_desktop->notifications().size(), 1);
        const int cleared = entries().size();
        QVERIFY(waitForThePause());
        // A transfer may continue after its package has ended.
        download->setCurrentSize(500);

        for (const int id : {2, 3})
            archive(id).holdAfter = 1000;
        install(2);
        install(3);
        QVERIFY(runUntil([this, cleared] { return entries().size() > cleared; }));
        QCOMPARE(entries().at(cleared).count(), 1);
        QVERIFY(entries().at(cleared).progress() < 0.1);
        for (const int id : {2, 3})
            release(id);
        QTRY_COMPARE_WITH_TIMEOUT(m_desktop->notifications().size(), 2, 30000);
        QCOMPARE(m_desktop->notifications().last().text, "Installed : 2"_s);
    }

    void endOfOneIsNotNotified()
    {
        offer({1, 2});
        start({});
        // Installations that do not overlap do not count as several.
        for (const int id : {1, 2}) {
            QVERIFY(installAndWait(id));
            QVERIFY(waitUntilCleared());
        }
        QVERIFY(m_desktop->notifications().isEmpty());
    }

    void activeWindowPreventsNotifications()
    {
        offer({1, 2});
        start({});
        QWidget window;
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        install(1);
        install(2);
        QVERIFY(waitUntilCleared());
        QVERIFY(m_desktop->notifications().isEmpty());
    }

    void programWorksWithoutABus_data()
    {
        Rows<QByteArray>()
            .row("none", "")
            .row("no bus at the address", "unix:path=/nowhere/at/all")
            .row("nonsense", "nonsense")
            .row("to be started automatically", "autolaunch:")
            .row("refuses connections", "refusing")
            .row("never answers", "silent");
    }

    void programWorksWithoutABus()
    {
        const auto [address] = Rows<QByteArray>::current();
        const QByteArray before = qgetenv("DBUS_SESSION_BUS_ADDRESS");
        const auto restore =
            qScopeGuard([&before] { qputenv("DBUS_SESSION_BUS_ADDRESS", before); });
        QLocalServer odd;
        const bool refuses = address == "refusing";
        if (refuses || address == "silent") {
            const QString socket = profile().folder("bus"_s) + "s"_s;
            QVERIFY(odd.listen(socket));
            connect(&odd, &QLocalServer::newConnection, this, [&odd, refuses] {
                QLocalSocket *connection = odd.nextPendingConnection();
                if (refuses)
                    connection->abort();
            });
            qputenv("DBUS_SESSION_BUS_ADDRESS",
                    "unix:path=" + QUrl::toPercentEncoding(socket, "/"));
        } else {
            qputenv("DBUS_SESSION_BUS_ADDRESS", address);
        }
        installWithTheProgram();
        QVERIFY(entries().isEmpty());
    }

    void busOfTheUserNeedsNoAddress()
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

private:
    void setUp() override
    {
        QGuiApplication::setDesktopFileName(Program);
        m_desktop = std::make_unique<StandInDesktop>(m_bus->address());
        QVERIFY(m_desktop->isReady());
    }
    void tearDown() override
    {
        m_report.reset();
        m_desktop.reset();
    }
    /// Offers packages of these ids with archives of this size.
    void offer(const QVector<int> &ids, int size = 1000)
    {
        for (const int id : ids) {
            const QByteArray content = HttpResource::generated(id * 1000, size);
            EngineTest::offer(Offer{id}.bringing({{Engine::fileOf(id), content}}));
        }
        serveCatalogue();
    }
    /// Offers a package whose archive the server does not have.
    void offerFailing(int id, const QString &name)
    {
        offerObject({{"id"_s, id},
                     {"name"_s, QJsonObject{{"en"_s, name}}},
                     {"versions"_s, QJsonArray{QJsonObject{
                                        {"version"_s, "1.0"_s},
                                        {"link"_s, server().url("/gone-%1.zip"_s.arg(id))}}}}});
    }
    /// Starts the engine with a report, and the installation of these packages.
    void start(const QVector<int> &ids)
    {
        QVERIFY(refresh());
        m_report = std::make_unique<WorkReport>(controller().installer());
        for (const int id : ids)
            install(id);
    }
    /// Runs the program itself until it has installed packages 1 and 2, and ends it.
    void installWithTheProgram()
    {
        offer({1, 2});
        settle(profile());
        ProgramRun program(QStringLiteral(KAVO_ORDERED_PROGRAM),
                           {server().url(QString()), "/usr/bin/7z"_s, "Download"_s});
        program.start();
        QVERIFY(runUntil([this] { return recordedStatus(1) == 1 && recordedStatus(2) == 1; }));
        program.send(SIGTERM);
        QVERIFY(program.endsWith(0));
    }
    const QVector<StandInDesktop::Entry> &entries() const { return m_desktop->entries(); }
    bool waitForNotification()
    {
        return runUntil([this] { return !m_desktop->notifications().isEmpty(); });
    }
    bool waitUntilCleared()
    {
        return runUntil([this] { return !entries().isEmpty() && !entries().last().isVisible(); });
    }
    /// Pending reports are sent before this ends, because its timer starts later.
    bool waitForThePause()
    {
        QTimer later;
        later.setSingleShot(true);
        later.start(2 * 250);
        return runUntil([&later] { return !later.isActive(); });
    }

    std::unique_ptr<PrivateBus> m_bus;
    std::unique_ptr<StandInDesktop> m_desktop;
    std::unique_ptr<WorkReport> m_report;
};

KAVO_TEST_MAIN(WorkReportTest)
#include "WorkReportTest.moc"
