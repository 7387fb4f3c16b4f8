#include "core/Settings.h"
#include "tests/packages/EngineTest.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFile>
#include <QScopeGuard>

#include <sched.h>
#include <sys/mount.h>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

const QString Kept = "plugin/settings.ini"_s;
const QString Replaced = "lights.txt"_s;

// Each is larger than the disk of the test.
const QByteArray Original(200 * 1024, 'o');
const QByteArray Written(200 * 1024, 'w');

enum Fault { FULL, READ_ONLY, NO_FOLDER };

using Cases = Rows<Fault, bool, bool>;

} // namespace

Q_DECLARE_METATYPE(Fault)

/// Installations and updates during which a file of the user cannot be copied. They must fail
/// before they change anything.
class CopyFaultsTest final : public EngineTest
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // Mounts in a private namespace vanish with this process, however it ends. Threads that
        // already exist would not see them, so this must precede the first background task.
        m_mounts = ::unshare(CLONE_NEWNS) == 0 &&
                   ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    }

    void nothingIsTouchedWithoutACopy_data()
    {
        Cases rows;
        const auto add = [&rows](const QByteArray &name, Fault fault) {
            rows.row("kept, " + name, fault, false, false)
                .row("backed up, " + name, fault, true, false)
                .row("kept, update, " + name, fault, false, true)
                .row("backed up, update, " + name, fault, true, true);
        };
        add("full disk", FULL);
        add("read-only disk", READ_ONLY);
        add("a file in the folder's place", NO_FOLDER);
    }
    void nothingIsTouchedWithoutACopy()
    {
        const auto [fault, ofBackups, isUpdate] = Cases::current();
        if (!m_mounts && fault != NO_FOLDER)
            QSKIP("Only a superuser can mount such a disk");
        if (isUpdate)
            QVERIFY(installAndWait(7, "1.0"_s));
        QVERIFY(writeFile(simulator(Kept), Written));
        const auto before = fileTree(simulator({}));
        const QByteArray folder =
            QFile::encodeName(ofBackups ? profile().backupFolder() : profile().preserveFolder());
        {
            QVERIFY(fail(fault, folder));
            const auto mended = qScopeGuard([fault = fault, &folder] { mend(fault, folder); });
            const LogCapture log;
            install(7, "2.0"_s);
            QVERIFY(waitUntilSettled(7));
            QCOMPARE(log.count("Copy failed : "_s) + log.count("Skipping path : "_s), 1);
            QCOMPARE(log.count("Extract"_s), 0);
            QCOMPARE(fileTree(simulator({})), before);
            QCOMPARE(copies(), QStringList());
        }
        QVERIFY(writeFile(simulator(Kept), "written later"));
        QVERIFY(writeFile(simulator(Replaced), "another original"));
        QVERIFY(refresh() && installAndWait(7, "2.0"_s));
        QCOMPARE(inSimulator(Kept), "written later");
        QCOMPARE(inSimulator(Replaced), "the add-on's");
        uninstall(7);
        QCOMPARE(inSimulator(Replaced), "another original");
    }

private:
    void setUp() override
    {
        // Only version 2.0 replaces a file, so an update to it makes the same two copies as a first
        // installation: of the settings and of the replaced file.
        const Offer first = Offer{7}
                                .bringing({{"plugin/plugin.xpl"_s, "1.0"}})
                                .keeping({Kept})
                                .removing({"plugin"_s});
        Offer second = first.bringing({{"plugin/plugin.xpl"_s, "2.0"}, {Replaced, "the add-on's"}})
                           .backingUp({Replaced})
                           .removing({"plugin"_s, Replaced});
        second.version = "2.0"_s;
        QVERIFY(writeFile(simulator(Replaced), Original) && publish({first, second}));
    }

    /// Makes it impossible to copy files to the folder, until mend(). Returns whether it succeeded.
    static bool fail(Fault fault, const QByteArray &folder)
    {
        const char *path = folder.constData();
        switch (fault) {
        case FULL:
            return ::mount("none", path, "tmpfs", 0, "size=64k") == 0;
        case READ_ONLY:
            return ::mount(path, path, nullptr, MS_BIND, nullptr) == 0 &&
                   ::mount(path, path, nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) == 0;
        case NO_FOLDER:
            return QDir(QFile::decodeName(folder)).removeRecursively() &&
                   writeFile(QFile::decodeName(folder).chopped(1), "in the way");
        }
        return false;
    }

    static void mend(Fault fault, const QByteArray &folder)
    {
        if (fault == NO_FOLDER)
            QFile::remove(QFile::decodeName(folder).chopped(1));
        else
            ::umount2(folder.constData(), MNT_DETACH);
    }

    /// All files in the preserve and backup folders, including hidden marks of copies.
    QStringList copies() const
    {
        return filesUnder(profile().preserveFolder()) + filesUnder(profile().backupFolder());
    }

    bool m_mounts = false;
};

KAVO_TEST_MAIN(CopyFaultsTest)
#include "CopyFaultsTest.moc"
