#include "downloads/DownloadManager.h"
#include "tests/packages/UpdateSetup.h"
#include "tests/support/Archives.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFileInfo>

using namespace Kavo::Models;
using namespace Kavo::Testing;

Q_DECLARE_METATYPE(Files)
Q_DECLARE_METATYPE(ResourceChange)

/// Downloads that find something unexpected in the cache folder, are interrupted by the end of the
/// program, have the same file name, or run in large numbers. No file of the user is lost, and a
/// later installation succeeds.
class DownloadRecoveryTest final : public QObject
{
    Q_OBJECT

    /// The change that makes the server hold back its answer, the size of the part in the cache,
    /// the content of the cached file when the program ends, and the range that the next update
    /// requests.
    using Ends = Rows<ResourceChange, int, QByteArray, QByteArray>;

private slots:
    void placeTakenInTheCacheCostsNothing_data()
    {
        const QString loss = "*addon.7z : %1 bytes were not written"_s.arg(m_size);
        const QStringList lines =
            QStringList{"Write Error : "_s + loss, "Download Error - "_s + loss} +
            sizeError(0, m_size);
        Rows<QString, Files, QStringList>()
            .row("empty folder", QString(), {}, lines)
            .row("folder with an archive", QString(),
                 {{"inner.7z"_s, archiveOf(updateFiles(2), "7z"_s)}}, lines)
            .row("link into a folder that is missing", "/no/such/folder/file", {}, lines)
            .row("link to a full device", "/dev/full", {}, lines)
            .row("link to an endless device", "/dev/zero", {}, lines);
    }
    void placeTakenInTheCacheCostsNothing()
    {
        const auto [linkTarget, inside, lines] = Rows<QString, Files, QStringList>::current();
        const LogCapture log;
        UpdateSetup setup;
        setup.serve(healthy());
        if (linkTarget.isEmpty())
            QVERIFY(writeFiles(setup.cached(), inside));
        else
            QVERIFY(QFile::link(linkTarget, setup.cached()));
        QCOMPARE(setup.wrongUpdate(Package::DOWNLOAD_ERROR, lines), QString());
        // The program deletes links, but leaves folders to the user.
        QCOMPARE(fileTree(setup.cached()), expectedTree(inside));
        QCOMPARE(QFileInfo(setup.cached()).isDir(), linkTarget.isEmpty());
        QVERIFY(!QFileInfo(setup.cached()).isSymLink());

        QDir(setup.cached()).removeRecursively();
        QVERIFY(setup.update());
        QCOMPARE(setup.wrongEnd(Package::INSTALLED), QString());
    }

    void endOfTheProgramCostsNothing_data()
    {
        const ResourceChange probe = with(&HttpResource::holdsHead, true);
        const ResourceChange body = with(&HttpResource::holdAfter, 70000);
        Ends()
            .row("before the probe is answered", probe, 0, {}, {})
            .row("before the probe is answered, with a part", probe, 1000, m_archive.left(1000),
                 "bytes=1000-")
            .row("before the transfer is answered", with(&HttpResource::holdsGet, true), 0, {}, {})
            .row("inside the body", body, 0, m_archive.left(70000), "bytes=70000-")
            .row("inside the resumed body", body, 1000, m_archive.left(71000), "bytes=71000-");
    }
    void endOfTheProgramCostsNothing()
    {
        const auto [hold, part, left, range] = Ends::current();
        LogCapture log;
        UpdateSetup setup;
        if (part > 0)
            QVERIFY(writeFile(setup.cached(), m_archive.left(part)));
        setup.serve(healthy());
        hold(setup.resource());
        setup.engine().server().forgetRequests();
        log.clear();
        setup.startUpdate();
        QVERIFY(setup.engine().server().waitForRequests(setup.resource().holdsHead ? 1 : 2));
        QTRY_VERIFY(readFile(setup.cached()) == left);
        setup.engine().stop();
        QVERIFY(log.lines().isEmpty());
        QVERIFY(readFile(setup.cached()) == left);
        QVERIFY(setup.engine().refresh());
        QCOMPARE(setup.loss(), QString());

        setup.serve(healthy());
        QVERIFY(setup.update());
        QCOMPARE(setup.wrongEnd(Package::INSTALLED), QString());
        QCOMPARE(setup.engine().server().last("GET", UpdateSetup::link()).header("Range"), range);
    }

    void cutArchivesOfOneNameRecover_data()
    {
        Rows<QVector<int>>()
            .row("in the same order", {1, 2})
            .row("in the other order", {2, 1})
            .row("only the first", {1})
            .row("only the second", {2});
    }
    void cutArchivesOfOneNameRecover()
    {
        const auto [order] = Rows<QVector<int>>::current();
        const LogCapture log;
        Engine engine;
        for (const int id : {1, 2}) {
            engine.offer(Offer{id}
                             .bringing({{Engine::fileOf(id), noise(quint32(id))}})
                             .at("/%1/data.7z"_s.arg(id)));
            engine.server().resource("/%1/data.7z"_s.arg(id)).cutAfter = 50000 * id;
        }
        QVERIFY(engine.refresh());
        for (const int id : {1, 2})
            engine.install(id);
        for (const int id : {1, 2}) {
            QVERIFY(engine.waitForState(id, Package::DOWNLOAD_ERROR));
            engine.server().resource("/%1/data.7z"_s.arg(id)).cutAfter.reset();
        }
        QCOMPARE(QFileInfo(engine.cached("data.7z"_s)).size(), 50000);
        engine.stop();
        QVERIFY(engine.refresh());
        for (const int id : order)
            engine.install(id);
        for (const int id : order) {
            QVERIFY(engine.waitUntilSettled(id));
            const HttpRequest get = engine.server().last("GET", "/%1/data.7z"_s.arg(id));
            QCOMPARE(get.header("Range"),
                     QByteArray("bytes=" + QByteArray::number(50000 * id) + '-'));
            QCOMPARE(engine.state(id), Package::INSTALLED);
            QVERIFY(readFile(engine.simulator(Engine::fileOf(id))) == noise(quint32(id)));
        }
    }

    /// The archives of two versions have the same name: the partial file of one must not be resumed
    /// for the other.
    void halfOfTheVersionBeforeCostsNothing()
    {
        const LogCapture log;
        Engine engine;
        for (const int version : {1, 2}) {
            engine.offer(Offer{7, "%1.0"_s.arg(version)}
                             .bringing({{Engine::fileOf(7), noise(quint32(version))}})
                             .at("/%1.0/addon.zip"_s.arg(version)));
        }
        engine.server().resource("/1.0/addon.zip"_s).cutAfter = 50000;
        QVERIFY(engine.refresh());
        engine.install(7, "1.0"_s);
        QVERIFY(engine.waitForState(7, Package::DOWNLOAD_ERROR));
        QCOMPARE(QFileInfo(engine.cached("addon.zip"_s)).size(), 50000);
        engine.stop();
        QVERIFY(engine.refresh());
        QVERIFY(engine.installAndWait(7, "2.0"_s));
        QVERIFY(readFile(engine.simulator(Engine::fileOf(7))) == noise(2));
    }

    /// An archive that cannot be written is not installed, so the previous version stays.
    void fullDiskCostsNothing()
    {
        const LogCapture log;
        UpdateSetup setup;
        setup.serve(healthy());
        QVERIFY(QFile::link("/dev/full"_s, setup.cached()));
        QVERIFY(setup.update());
        QCOMPARE(setup.wrongEnd(Package::DOWNLOAD_ERROR), QString());
        QVERIFY(setup.restart());
        QVERIFY(setup.update());
        QCOMPARE(setup.wrongEnd(Package::INSTALLED), QString());
    }

    void twoHundredTransfersRecover()
    {
        constexpr int Count = 200;
        constexpr int SizeOfAll = 3000;
        constexpr int Patience = 60000; // in milliseconds, for each package
        const auto hasFault = [](int id) { return id % 2 == 0; };
        const LogCapture log;
        Engine engine;
        for (int id = 1; id <= Count; ++id) {
            engine.offer(Offer{id}.bringing({{Engine::fileOf(id), noise(quint32(id), SizeOfAll)}}));
            if (hasFault(id))
                engine.archive(id).cutAfter = id;
        }
        QVERIFY(engine.refresh());
        for (int id = 1; id <= Count; ++id)
            engine.install(id);
        // Transfers share connections, so a cut transfer may break another one without a fault.
        for (int id = 1; id <= Count; ++id) {
            const PackagePointer package = engine.package(id);
            QTRY_VERIFY_WITH_TIMEOUT(!package->isBusy(), Patience);
            QVERIFY(package->state() == Package::DOWNLOAD_ERROR ||
                    (package->state() == Package::INSTALLED && !hasFault(id)));
        }
        for (int id = 1; id <= Count; ++id) {
            const QString url = engine.server().url("/package-%1-1.0.zip"_s.arg(id));
            QTRY_VERIFY(engine.downloads()->find(url).isNull());
            engine.archive(id).cutAfter.reset();
            if (engine.state(id) != Package::INSTALLED)
                engine.install(id);
        }
        Files expected{{"X-Plane-x86_64"_s, readFile(engine.simulator("X-Plane-x86_64"_s))}};
        for (int id = 1; id <= Count; ++id) {
            QTRY_COMPARE_WITH_TIMEOUT(engine.state(id), Package::INSTALLED, Patience);
            expected.insert(Engine::fileOf(id), noise(quint32(id), SizeOfAll));
        }
        QTRY_VERIFY(!engine.controller().isBusy());
        for (int id = 1; id <= Count; ++id)
            QCOMPARE(engine.recordedStatus(id), 1);
        QCOMPARE(fileTree(engine.simulator({})), expectedTree(expected));
    }

private:
    HttpResource healthy() const
    {
        HttpResource resource;
        resource.body = m_archive;
        return resource;
    }

    const QByteArray m_archive = archiveOf(updateFiles(), "7z"_s);
    const int m_size = m_archive.size();
};

KAVO_TEST_MAIN(DownloadRecoveryTest)
#include "DownloadRecoveryTest.moc"
