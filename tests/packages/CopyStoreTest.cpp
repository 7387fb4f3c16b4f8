#include "packages/installation/CopyStore.h"

#include "tests/support/Archives.h"
#include "tests/support/ScratchProfile.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <memory>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

const QString Entry = QStringLiteral("Resources/lights.txt");

} // namespace

class CopyStoreTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_profile.reset(); }

    void copyStandsInItsPlaceAndGoesWithoutATrace();
    void strangersAreNotSeenAndComeBackToTheirOwners();
    void kindsMayShareAFolder();
    void strangerThatCannotMakeRoomStays();
    void copyWithoutAMarkIsOwn();
    void halfAMarkIsNone();
    void renamedSimulatorKeepsItsCopies();
    void deletedSimulatorLeavesItsCopiesToNobody();
    void copyThatIsTheFileItselfIsNone();
    void folderThatHoldsTheSimulatorHasMarkedCopiesOnly();
    void copyIsBroughtInFromAFormerFolder();
    void copyThatCannotBeBroughtInIsUsedWhereItIs();
    void nothingIsOverwrittenByACopyThatIsBroughtIn();
    void copyInTwoPlacesIsGivenUpInBoth();
    void copyThatIsSetAsideIsFoundByPeopleOnly();
    void everyCopyOfAnEntryIsSetAside();
    void copyThatCannotBeSetAsideStays();
    void marksAreNoCopies();
    void markWithoutACopyGoes();

private:
    CopyStore store(const QString &simulator, CopyStore::Kind kind = CopyStore::Kind::ORIGINAL,
                    const QStringList &former = {}) const
    {
        return CopyStore(kind, {simulator, m_copies, former});
    }
    /// Has a simulator with a file that is copied by its store.
    QString simulatorWithCopy(const QString &name, const QByteArray &content);
    QByteArray copy(const CopyStore &store) const { return readFile(store.find(Entry)); }

    std::unique_ptr<ScratchProfile> m_profile;
    QString m_copies;
};

void CopyStoreTest::init()
{
    m_profile = std::make_unique<ScratchProfile>();
    m_copies = m_profile->folder(QStringLiteral("copies"));
}

QString CopyStoreTest::simulatorWithCopy(const QString &name, const QByteArray &content)
{
    const QString simulator = m_profile->folder(name);
    if (!writeFile(simulator + Entry, content) || !store(simulator).add(Entry, simulator + Entry))
        qFatal("The copy cannot be made");
    return simulator;
}

void CopyStoreTest::copyStandsInItsPlaceAndGoesWithoutATrace()
{
    const QString simulator = simulatorWithCopy(QStringLiteral("11"), "eleven");
    QCOMPARE(readFile(m_copies + Entry), QByteArray("eleven"));
    QCOMPARE(store(simulator).find(Entry), m_copies + Entry);
    store(simulator).giveUp(Entry);
    QCOMPARE(filesUnder(m_copies), QStringList());
}

void CopyStoreTest::strangersAreNotSeenAndComeBackToTheirOwners()
{
    const QString eleven = simulatorWithCopy(QStringLiteral("11"), "eleven");
    QCOMPARE(store(m_profile->folder(QStringLiteral("12"))).find(Entry), QString());
    const QString twelve = simulatorWithCopy(QStringLiteral("12"), "twelve");
    for (int round = 0; round < 2; ++round) {
        for (const auto &simulator : {eleven, twelve}) {
            const QByteArray content = simulator == eleven ? "eleven" : "twelve";
            QCOMPARE(store(simulator).find(Entry), m_copies + Entry);
            QCOMPARE(readFile(m_copies + Entry), content);
        }
    }
    store(twelve).giveUp(Entry);
    QCOMPARE(copy(store(eleven)), QByteArray("eleven"));
    store(eleven).giveUp(Entry);
    QCOMPARE(filesUnder(m_copies), QStringList());
}

void CopyStoreTest::kindsMayShareAFolder()
{
    const QString simulator = simulatorWithCopy(QStringLiteral("11"), "original");
    const CopyStore kept = store(simulator, CopyStore::Kind::KEPT);
    QCOMPARE(kept.find(Entry), QString());
    QVERIFY(writeFile(simulator + Entry, "kept"));
    QVERIFY(kept.add(Entry, simulator + Entry));
    QCOMPARE(copy(store(simulator)), QByteArray("original"));
    QCOMPARE(copy(kept), QByteArray("kept"));
}

void CopyStoreTest::strangerThatCannotMakeRoomStays()
{
    simulatorWithCopy(QStringLiteral("11"), "eleven");
    // The name of the folder in which it would wait is not known here: every one is taken.
    const QString twelve = simulatorWithCopy(QStringLiteral("12"), "twelve");
    const QString waiting =
        m_copies + QDir(m_copies)
                       .entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot)
                       .filter(QStringLiteral(".kavo-"))
                       .value(0);
    const QString other = m_profile->folder(QStringLiteral("13"));
    QVERIFY(QDir(waiting).removeRecursively());
    store(twelve).giveUp(Entry);
    simulatorWithCopy(QStringLiteral("11"), "eleven");
    QVERIFY(writeFile(waiting, "in the way"));
    QVERIFY(writeFile(other + Entry, "thirteen"));
    QVERIFY(!store(other).add(Entry, other + Entry));
    QCOMPARE(readFile(m_copies + Entry), QByteArray("eleven"));
}

void CopyStoreTest::copyWithoutAMarkIsOwn()
{
    QVERIFY(writeFile(m_copies + Entry, "old"));
    const QString simulator = m_profile->folder(QStringLiteral("11"));
    QCOMPARE(store(simulator).find(Entry), m_copies + Entry);
    store(simulator).giveUp(Entry);
    QCOMPARE(filesUnder(m_copies), QStringList());
}

void CopyStoreTest::halfAMarkIsNone()
{
    simulatorWithCopy(QStringLiteral("11"), "eleven");
    const QString other = m_profile->folder(QStringLiteral("12"));
    const CopyOwner owner(QStringLiteral("original"), other);
    QFile mark(CopyOwner::markOf(m_copies + Entry));
    QVERIFY(mark.exists() && owner.claimOn(m_copies + Entry) == CopyOwner::Claim::FOREIGN);
    for (qint64 size = mark.size() - 1; size >= 0; --size) {
        QVERIFY(mark.resize(size));
        QVERIFY(owner.claimOn(m_copies + Entry) == CopyOwner::Claim::NONE);
    }
}

void CopyStoreTest::renamedSimulatorKeepsItsCopies()
{
    simulatorWithCopy(QStringLiteral("11"), "eleven");
    QVERIFY(QDir(m_profile->folder({})).rename(QStringLiteral("11"), QStringLiteral("eleven")));
    const QString renamed = m_profile->folder(QStringLiteral("eleven"));
    QCOMPARE(copy(store(renamed)), QByteArray("eleven"));
    // Another one may get the name then.
    const QString other = m_profile->folder(QStringLiteral("11"));
    QCOMPARE(copy(store(other)), QByteArray());
    QCOMPARE(copy(store(renamed)), QByteArray("eleven"));
}

void CopyStoreTest::deletedSimulatorLeavesItsCopiesToNobody()
{
    const QString eleven = simulatorWithCopy(QStringLiteral("11"), "eleven");
    const QString twelve = m_profile->folder(QStringLiteral("12"));
    QVERIFY(QDir(eleven).removeRecursively());
    QCOMPARE(copy(store(twelve)), QByteArray());
}

void CopyStoreTest::copyThatIsTheFileItselfIsNone()
{
    QVERIFY(writeFile(m_copies + Entry, "the user's"));
    const QString link = m_profile->folder({}) + QStringLiteral("link");
    QVERIFY(QFile::link(m_copies, link));
    for (const QString &simulator : {m_copies, QString(link + QLatin1Char('/'))}) {
        QCOMPARE(store(simulator).find(Entry), QString());
        QVERIFY(!store(simulator).add(Entry, simulator + Entry));
        store(simulator).giveUp(Entry);
        QCOMPARE(filesUnder(m_copies), QStringList{Entry});
    }
    const QString simulator = m_profile->folder(QStringLiteral("11"));
    QVERIFY(writeFile(simulator + Entry, "the user's"));
    QVERIFY(QFile::remove(m_copies + Entry));
    QVERIFY(QFile::link(simulator + Entry, m_copies + Entry));
    QCOMPARE(store(simulator).find(Entry), QString());
    QVERIFY(!store(simulator).add(Entry, simulator + Entry));
    store(simulator).giveUp(Entry);
    QCOMPARE(readFile(simulator + Entry), QByteArray("the user's"));
}

void CopyStoreTest::folderThatHoldsTheSimulatorHasMarkedCopiesOnly()
{
    const QString simulator = m_copies + QStringLiteral("X-Plane/");
    QVERIFY(writeFile(simulator + Entry, "original"));
    QVERIFY(writeFile(m_copies + Entry, "the user's"));
    QCOMPARE(store(simulator).find(Entry), QString());
    QVERIFY(!store(simulator).add(Entry, simulator + Entry));
    store(simulator).giveUp(Entry);
    QCOMPARE(readFile(m_copies + Entry), QByteArray("the user's"));
    QVERIFY(QFile::remove(m_copies + Entry));
    QVERIFY(store(simulator).add(Entry, simulator + Entry));
    QCOMPARE(copy(store(simulator)), QByteArray("original"));
}

void CopyStoreTest::copyIsBroughtInFromAFormerFolder()
{
    const QString simulator = simulatorWithCopy(QStringLiteral("11"), "eleven");
    const QString former = m_copies;
    m_copies = m_profile->folder(QStringLiteral("new"));
    QCOMPARE(store(simulator).find(Entry), QString());
    const CopyStore now = store(simulator, CopyStore::Kind::ORIGINAL, {former});
    QCOMPARE(now.find(Entry), m_copies + Entry);
    QCOMPARE(copy(now), QByteArray("eleven"));
    QCOMPARE(filesUnder(former), QStringList());
    // It still has its owner.
    QCOMPARE(store(m_profile->folder(QStringLiteral("12"))).find(Entry), QString());
}

void CopyStoreTest::copyThatCannotBeBroughtInIsUsedWhereItIs()
{
    const QString simulator = simulatorWithCopy(QStringLiteral("11"), "eleven");
    const QString former = m_copies;
    m_copies = m_profile->folder(QStringLiteral("new"));
    QVERIFY(writeFile(m_copies + QStringLiteral("Resources"), "in the way"));
    const CopyStore now = store(simulator, CopyStore::Kind::ORIGINAL, {former});
    QCOMPARE(now.find(Entry), former + Entry);
    now.giveUp(Entry);
    QCOMPARE(filesUnder(former), QStringList());
}

void CopyStoreTest::nothingIsOverwrittenByACopyThatIsBroughtIn()
{
    const QString simulator = simulatorWithCopy(QStringLiteral("11"), "old folder's");
    const QString former = m_copies;
    m_copies = m_profile->folder(QStringLiteral("new"));
    QVERIFY(writeFile(m_copies + Entry, "new folder's"));
    const CopyStore now = store(simulator, CopyStore::Kind::ORIGINAL, {former});
    QCOMPARE(copy(now), QByteArray("old folder's"));
    now.giveUp(Entry);
    QCOMPARE(filesUnder(former), QStringList());
    QCOMPARE(readFile(m_copies + Entry), QByteArray("new folder's"));
}

void CopyStoreTest::copyInTwoPlacesIsGivenUpInBoth()
{
    // As after a sudden end on the way from one disk to another.
    const QString simulator = simulatorWithCopy(QStringLiteral("11"), "eleven");
    const QString former = m_copies;
    m_copies = m_profile->folder(QStringLiteral("new"));
    QVERIFY(store(simulator).add(Entry, simulator + Entry));
    const CopyStore now = store(simulator, CopyStore::Kind::ORIGINAL, {former});
    now.giveUp(Entry);
    QCOMPARE(filesUnder(former) + filesUnder(m_copies), QStringList());
}

void CopyStoreTest::copyThatIsSetAsideIsFoundByPeopleOnly()
{
    const QString simulator = m_profile->folder(QStringLiteral("11"));
    const CopyStore store = this->store(simulator);
    for (const char *content : {"one", "two"}) {
        QVERIFY(writeFile(simulator + Entry, content));
        QVERIFY(store.add(Entry, simulator + Entry));
        QVERIFY(store.setAside(Entry));
        QCOMPARE(store.find(Entry), QString());
    }
    QVERIFY(store.setAside(Entry));
    store.giveUp(Entry);
    QCOMPARE(readFile(m_copies + QStringLiteral(".kavo-earlier-1/") + Entry), QByteArray("one"));
    QCOMPARE(readFile(m_copies + QStringLiteral(".kavo-earlier-2/") + Entry), QByteArray("two"));
    QCOMPARE(unmarkedFilesUnder(m_copies).size(), 2);
}

void CopyStoreTest::everyCopyOfAnEntryIsSetAside()
{
    const QString simulator = simulatorWithCopy(QStringLiteral("11"), "eleven");
    const QString former = m_copies;
    m_copies = m_profile->folder(QStringLiteral("new"));
    QVERIFY(writeFile(m_copies + Entry, "without a mark"));
    const CopyStore now = store(simulator, CopyStore::Kind::ORIGINAL, {former});
    QVERIFY(now.setAside(Entry));
    QCOMPARE(now.find(Entry), QString());
    QCOMPARE(filesUnder(former), QStringList());
    QCOMPARE(readFile(m_copies + QStringLiteral(".kavo-earlier-1/") + Entry), QByteArray("eleven"));
    QCOMPARE(readFile(m_copies + QStringLiteral(".kavo-earlier-2/") + Entry),
             QByteArray("without a mark"));
}

void CopyStoreTest::copyThatCannotBeSetAsideStays()
{
    const QString simulator = simulatorWithCopy(QStringLiteral("11"), "eleven");
    QVERIFY(writeFile(m_copies + QStringLiteral(".kavo-earlier-1"), "in the way"));
    QVERIFY(!store(simulator).setAside(Entry));
    QCOMPARE(copy(store(simulator)), QByteArray("eleven"));
}

void CopyStoreTest::marksAreNoCopies()
{
    const QString simulator = simulatorWithCopy(QStringLiteral("11"), "eleven");
    const QString mark = QDir(m_copies).relativeFilePath(CopyOwner::markOf(m_copies + Entry));
    QCOMPARE(store(simulator).find(mark), QString());
    store(simulator).giveUp(mark);
    QVERIFY(QFile::exists(m_copies + mark));
}

void CopyStoreTest::markWithoutACopyGoes()
{
    const QString simulator = simulatorWithCopy(QStringLiteral("11"), "eleven");
    QVERIFY(QFile::remove(m_copies + Entry));
    store(simulator).giveUp(Entry);
    QCOMPARE(filesUnder(m_copies), QStringList());
}

KAVO_TEST_MAIN(CopyStoreTest)
#include "CopyStoreTest.moc"
