#include "tests/packages/Engine.h"
#include "tests/support/TestMain.h"
#include "tests/support/WithoutRights.h"

#include <QDir>
#include <QTest>

#include <algorithm>
#include <memory>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

const QString Lights = QStringLiteral("shared/lights.txt");

QStringList sorted(QStringList paths)
{
    std::sort(paths.begin(), paths.end());
    return paths;
}

} // namespace

/// Removals on a disk that does not give everything away: what stays is told, and nothing else is.
class RemovalFaultsTest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_engine = std::make_unique<Engine>(); }
    void cleanup();

    void whatGoesIsNotTold();
    void whatStaysIsToldOfAllPackages();
    void whatCannotBeLookedAtIsTold();
    void backupWhosePlaceIsTakenIsTold();
    void backupThatCannotBeCopiedIsTold();

private:
    bool install(const Offer &offer);
    /// Removes the package as a user who may not change the folders of these paths.
    Removal removeWithLocked(int id, const QStringList &folders, mode_t mode = 0555);

    std::unique_ptr<Engine> m_engine;
};

void RemovalFaultsTest::cleanup()
{
    m_engine.reset();
}

bool RemovalFaultsTest::install(const Offer &offer)
{
    m_engine->offer(offer);
    return m_engine->refresh() && m_engine->installAndWait(offer.id);
}

Removal RemovalFaultsTest::removeWithLocked(int id, const QStringList &folders, mode_t mode)
{
    letEverybodyWrite(QFileInfo(m_engine->profile().home()).path());
    for (const QString &folder : folders)
        setMode(m_engine->simulator(folder), mode);
    Removal removal;
    {
        const WithoutRights withoutRights;
        removal = m_engine->controller().uninstall(m_engine->package(id));
    }
    for (const QString &folder : folders)
        setMode(m_engine->simulator(folder), 0755);
    return removal;
}

void RemovalFaultsTest::whatGoesIsNotTold()
{
    QVERIFY(writeFile(m_engine->simulator(Lights), "original"));
    Offer offer{7};
    offer.files = {{Lights, "package's"}, {QStringLiteral("package-7/deep/a.txt"), "a"}};
    offer.backup = QStringList{Lights};
    // An entry that is not there, one that is refused, and one that is there twice.
    offer.remove = QStringList{QStringLiteral("package-7"),
                               Lights,
                               Lights,
                               QStringLiteral("../outside"),
                               QStringLiteral("never/there"),
                               QStringLiteral("Resources/plugins")};
    QVERIFY(writeFile(m_engine->simulator(QStringLiteral("Resources/plugins/a.xpl")), "other's"));
    QVERIFY(install(offer));
    const Removal removal = m_engine->controller().uninstall(m_engine->package(7));
    QVERIFY(removal.faults.remaining.isEmpty());
    QVERIFY(removal.faults.notReturned.isEmpty());
    QCOMPARE(readFile(m_engine->simulator(Lights)), QByteArray("original"));
}

void RemovalFaultsTest::whatStaysIsToldOfAllPackages()
{
    Offer needed{1};
    needed.files = {{QStringLiteral("one/a.txt"), "a"}, {QStringLiteral("single/b.txt"), "b"}};
    needed.remove = QStringList{QStringLiteral("one"), QStringLiteral("single/b.txt")};
    Offer needing{2};
    needing.depends = QStringList{QStringLiteral("1")};
    needing.files = {{QStringLiteral("two/locked/c.txt"), "c"},
                     {QStringLiteral("two/locked/d\nd.txt"), "d"},
                     {QStringLiteral("two/open/e.txt"), "e"}};
    needing.remove = QStringList{QStringLiteral("two")};
    QVERIFY(install(needed));
    QVERIFY(install(needing));
    const Removal removal =
        removeWithLocked(1, {QStringLiteral("single"), QStringLiteral("two/locked")});
    QCOMPARE(sorted(removal.faults.remaining.paths()),
             (QStringList{m_engine->simulator(QStringLiteral("single/b.txt")),
                          m_engine->simulator(QStringLiteral("two/locked/c.txt")),
                          m_engine->simulator(QStringLiteral("two/locked/d\nd.txt"))}));
    QVERIFY(removal.faults.notReturned.isEmpty());
    QVERIFY(!QFile::exists(m_engine->simulator(QStringLiteral("one"))));
    QVERIFY(!QFile::exists(m_engine->simulator(QStringLiteral("two/open"))));
    for (const int id : {1, 2}) {
        QCOMPARE(m_engine->package(id)->state(), Package::AVAILABLE);
        QCOMPARE(m_engine->recordedStatus(id), 0);
    }
}

void RemovalFaultsTest::whatCannotBeLookedAtIsTold()
{
    Offer offer{7};
    offer.files = {{QStringLiteral("closed/a.txt"), "a"}};
    offer.remove = QStringList{QStringLiteral("closed/a.txt")};
    QVERIFY(install(offer));
    const Removal removal = removeWithLocked(7, {QStringLiteral("closed")}, 0000);
    QCOMPARE(removal.faults.remaining.paths(),
             QStringList{m_engine->simulator(QStringLiteral("closed/a.txt"))});
    QVERIFY(QFile::exists(m_engine->simulator(QStringLiteral("closed/a.txt"))));
}

void RemovalFaultsTest::backupWhosePlaceIsTakenIsTold()
{
    QVERIFY(writeFile(m_engine->simulator(Lights), "original"));
    Offer offer{7};
    offer.files = {{Lights, "package's"}};
    // The rule forgets to remove what stands in the place of the original.
    offer.backup = QStringList{Lights};
    QVERIFY(install(offer));
    QVERIFY(writeFile(m_engine->simulator(Lights), "edited"));
    const Removal removal = m_engine->controller().uninstall(m_engine->package(7));
    const QString backup = m_engine->profile().backupFolder() + Lights;
    QVERIFY(removal.faults.remaining.isEmpty());
    QCOMPARE(removal.faults.notReturned.paths(), QStringList{backup});
    QCOMPARE(readFile(backup), QByteArray("original"));
    QCOMPARE(readFile(m_engine->simulator(Lights)), QByteArray("edited"));
}

void RemovalFaultsTest::backupThatCannotBeCopiedIsTold()
{
    QVERIFY(writeFile(m_engine->simulator(Lights), "original"));
    Offer offer{7};
    offer.files = {{Lights, "package's"}};
    offer.backup = offer.remove = QStringList{Lights};
    QVERIFY(install(offer));
    QVERIFY(QFile::remove(m_engine->simulator(Lights)));
    const Removal removal = removeWithLocked(7, {QStringLiteral("shared")});
    const QString backup = m_engine->profile().backupFolder() + Lights;
    QVERIFY(removal.faults.remaining.isEmpty());
    QCOMPARE(removal.faults.notReturned.paths(), QStringList{backup});
    QCOMPARE(readFile(backup), QByteArray("original"));
}

KAVO_TEST_MAIN(RemovalFaultsTest)
#include "RemovalFaultsTest.moc"
