#include "core/Settings.h"
#include "tests/packages/Engine.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFile>
#include <QScopeGuard>
#include <QTest>

#include <memory>
#include <sched.h>
#include <sys/mount.h>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

const QString Kept = QStringLiteral("plugin/settings.ini");
const QString Replaced = QStringLiteral("lights.txt");

/// More than the small disk holds.
const QByteArray Original(200 * 1024, 'o');
const QByteArray Written(200 * 1024, 'w');

enum Fault { FULL, READ_ONLY, NO_FOLDER };

} // namespace

Q_DECLARE_METATYPE(Fault)

/// A copy of the user's file that cannot be made: the installation fails before it touches
/// anything, whether it is the first one or an update.
class CopyFaultsTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup() { m_engine.reset(); }

    void nothingIsTouchedWithoutACopy_data();
    void nothingIsTouchedWithoutACopy();

private:
    /// Lets the folder fail until the guard goes.
    static bool fail(Fault fault, const QByteArray &folder);
    static void mend(Fault fault, const QByteArray &folder);
    QString simulator(const QString &path) const { return m_engine->simulator(path); }
    /// The files of the folders for copies, marks included.
    QStringList copies() const
    {
        return filesUnder(m_engine->profile().preserveFolder()) +
               filesUnder(m_engine->profile().backupFolder());
    }

    bool m_mounts = false;
    std::unique_ptr<Engine> m_engine;
};

void CopyFaultsTest::initTestCase()
{
    // Mounts in a namespace of our own end with this process, however it ends. Threads that exist
    // already would not see them, so this comes before the first task.
    m_mounts = ::unshare(CLONE_NEWNS) == 0 &&
               ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

void CopyFaultsTest::init()
{
    m_engine = std::make_unique<Engine>();
    // Only the second version replaces a file, so that an update has to make both copies as well.
    for (const char *version : {"1.0", "2.0"}) {
        const bool isUpdate = QByteArray(version) == "2.0";
        Offer offer{7, QLatin1String(version)};
        offer.files = {{QStringLiteral("plugin/plugin.xpl"), version}};
        offer.preserve = QStringList{Kept};
        offer.remove = QStringList{QStringLiteral("plugin")};
        if (isUpdate) {
            offer.files.insert(Replaced, "the add-on's");
            offer.backup = QStringList{Replaced};
            offer.remove.append(Replaced);
        }
        m_engine->offer(offer);
    }
    QVERIFY(writeFile(simulator(Replaced), Original));
    QVERIFY(m_engine->refresh());
}

bool CopyFaultsTest::fail(Fault fault, const QByteArray &folder)
{
    switch (fault) {
    case FULL:
        return ::mount("none", folder.constData(), "tmpfs", 0, "size=64k") == 0;
    case READ_ONLY:
        return ::mount(folder.constData(), folder.constData(), nullptr, MS_BIND, nullptr) == 0 &&
               ::mount(folder.constData(), folder.constData(), nullptr,
                       MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) == 0;
    case NO_FOLDER:
        return QDir(QFile::decodeName(folder)).removeRecursively() &&
               writeFile(QFile::decodeName(folder).chopped(1), "in the way");
    }
    return false;
}

void CopyFaultsTest::mend(Fault fault, const QByteArray &folder)
{
    if (fault == NO_FOLDER)
        QFile::remove(QFile::decodeName(folder).chopped(1));
    else
        ::umount2(folder.constData(), MNT_DETACH);
}

void CopyFaultsTest::nothingIsTouchedWithoutACopy_data()
{
    QTest::addColumn<Fault>("fault");
    QTest::addColumn<bool>("ofBackups");
    QTest::addColumn<bool>("isUpdate");
    const auto add = [](const char *name, Fault fault) {
        const QString text = QString::fromLatin1(name);
        QTest::newRow(qPrintable(QStringLiteral("kept, ") + text)) << fault << false << false;
        QTest::newRow(qPrintable(QStringLiteral("backed up, ") + text)) << fault << true << false;
        QTest::newRow(qPrintable(QStringLiteral("kept, update, ") + text))
            << fault << false << true;
        QTest::newRow(qPrintable(QStringLiteral("backed up, update, ") + text))
            << fault << true << true;
    };
    add("full disk", FULL);
    add("read-only disk", READ_ONLY);
    add("a file in the folder's place", NO_FOLDER);
}

void CopyFaultsTest::nothingIsTouchedWithoutACopy()
{
    QFETCH(Fault, fault);
    QFETCH(bool, ofBackups);
    QFETCH(bool, isUpdate);
    if (!m_mounts && fault != NO_FOLDER)
        QSKIP("Only a superuser can mount such a disk");
    if (isUpdate)
        QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    QVERIFY(writeFile(simulator(Kept), Written));
    const auto before = fileTree(simulator({}));
    const QByteArray folder = QFile::encodeName(ofBackups ? m_engine->profile().backupFolder()
                                                          : m_engine->profile().preserveFolder());
    {
        QVERIFY(fail(fault, folder));
        const auto mended = qScopeGuard([&] { mend(fault, folder); });
        const LogCapture log;
        m_engine->install(7, QStringLiteral("2.0"));
        QVERIFY(m_engine->waitUntilSettled(7));
        QCOMPARE(log.count(QStringLiteral("Copy failed : ")) +
                     log.count(QStringLiteral("Skipping path : ")),
                 1);
        QCOMPARE(log.count(QStringLiteral("Extract")), 0);
        QCOMPARE(fileTree(simulator({})), before);
        QCOMPARE(copies(), QStringList());
    }
    QVERIFY(writeFile(simulator(Kept), "written later"));
    QVERIFY(writeFile(simulator(Replaced), "another original"));
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("2.0")));
    QCOMPARE(readFile(simulator(Kept)), QByteArray("written later"));
    QCOMPARE(readFile(simulator(Replaced)), QByteArray("the add-on's"));
    m_engine->controller().uninstall(m_engine->package(7));
    QCOMPARE(readFile(simulator(Replaced)), QByteArray("another original"));
}

KAVO_TEST_MAIN(CopyFaultsTest)
#include "CopyFaultsTest.moc"
