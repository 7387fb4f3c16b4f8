#include "tests/packages/EngineTest.h"
#include "tests/support/TestMain.h"
#include "tests/support/WithoutRights.h"

#include <QDir>
#include <QTest>

#include <algorithm>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

const QString Lights = "shared/lights.txt"_s;

QStringList sorted(QStringList paths)
{
    std::sort(paths.begin(), paths.end());
    return paths;
}

} // namespace

/// Checks that a removal reports exactly the files that it could not delete or restore.
class RemovalFaultsTest final : public EngineTest
{
    Q_OBJECT

private slots:
    void completeRemovalReportsNothing()
    {
        QVERIFY(writeFile(simulator(Lights), "original"));
        QVERIFY(writeFile(simulator("Resources/plugins/a.xpl"_s), "other's"));
        // A missing entry, some refused entries, and one that occurs twice.
        QVERIFY(installed(Offer{7}
                              .bringing({{Lights, "package's"}, {"package-7/deep/a.txt"_s, "a"}})
                              .backingUp({Lights})
                              .removing({"package-7"_s, Lights, Lights, "../outside"_s,
                                         "never/there"_s, "Resources/plugins"_s})));
        const Removal removal = uninstall(7);
        QVERIFY(removal.faults.remaining.isEmpty());
        QVERIFY(removal.faults.notReturned.isEmpty());
        QCOMPARE(inSimulator(Lights), "original");
    }

    void remainingFilesOfAllPackagesAreReported()
    {
        QVERIFY(installed(Offer{1}
                              .bringing({{"one/a.txt"_s, "a"}, {"single/b.txt"_s, "b"}})
                              .removing({"one"_s, "single/b.txt"_s})));
        QVERIFY(installed(Offer{2}
                              .needing({"1"_s})
                              .bringing({{"two/locked/c.txt"_s, "c"},
                                         {"two/locked/d\nd.txt"_s, "d"},
                                         {"two/open/e.txt"_s, "e"}})
                              .removing({"two"_s})));
        const Removal removal = removeWithLocked(1, {"single"_s, "two/locked"_s});
        QCOMPARE(sorted(removal.faults.remaining.paths()),
                 (QStringList{simulator("single/b.txt"_s), simulator("two/locked/c.txt"_s),
                              simulator("two/locked/d\nd.txt"_s)}));
        QVERIFY(removal.faults.notReturned.isEmpty());
        QVERIFY(!QFile::exists(simulator("one"_s)));
        QVERIFY(!QFile::exists(simulator("two/open"_s)));
        for (const int id : {1, 2}) {
            QCOMPARE(state(id), Package::AVAILABLE);
            QCOMPARE(recordedStatus(id), 0);
        }
    }

    void fileInAnUnreadableFolderIsReported()
    {
        const QString file = "closed/a.txt"_s;
        QVERIFY(installed(Offer{7}.bringing({{file, "a"}}).removing({file})));
        const Removal removal = removeWithLocked(7, {"closed"_s}, 0000);
        QCOMPARE(removal.faults.remaining.paths(), QStringList(simulator(file)));
        QVERIFY(QFile::exists(simulator(file)));
    }

    void backupWhosePlaceIsTakenIsReported()
    {
        QVERIFY(writeFile(simulator(Lights), "original"));
        // The removal rule does not name the file that has replaced the original.
        QVERIFY(installed(Offer{7}.bringing({{Lights, "package's"}}).backingUp({Lights})));
        QVERIFY(writeFile(simulator(Lights), "edited"));
        const Removal removal = uninstall(7);
        QVERIFY(removal.faults.remaining.isEmpty());
        QCOMPARE(removal.faults.notReturned.paths(), QStringList(backedUp(Lights)));
        QCOMPARE(readFile(backedUp(Lights)), "original");
        QCOMPARE(inSimulator(Lights), "edited");
    }

    void backupThatCannotBeCopiedIsReported()
    {
        QVERIFY(writeFile(simulator(Lights), "original"));
        QVERIFY(installed(
            Offer{7}.bringing({{Lights, "package's"}}).backingUp({Lights}).removing({Lights})));
        QVERIFY(QFile::remove(simulator(Lights)));
        const Removal removal = removeWithLocked(7, {"shared"_s});
        QVERIFY(removal.faults.remaining.isEmpty());
        QCOMPARE(removal.faults.notReturned.paths(), QStringList(backedUp(Lights)));
        QCOMPARE(readFile(backedUp(Lights)), "original");
    }

private:
    bool installed(const Offer &offer) { return publish({offer}) && installAndWait(offer.id); }

    /// Removes the package without root's rights, while these folders of the simulator have the
    /// given mode. By default nothing in them can be deleted.
    Removal removeWithLocked(int id, const QStringList &folders, mode_t mode = 0555)
    {
        letEverybodyWrite(QFileInfo(profile().home()).path());
        for (const QString &folder : folders)
            setMode(simulator(folder), mode);
        Removal removal;
        {
            const WithoutRights withoutRights;
            removal = uninstall(id);
        }
        for (const QString &folder : folders)
            setMode(simulator(folder), 0755);
        return removal;
    }
};

KAVO_TEST_MAIN(RemovalFaultsTest)
#include "RemovalFaultsTest.moc"
