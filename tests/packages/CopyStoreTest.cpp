#include "packages/installation/CopyStore.h"

#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/ScratchProfile.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <memory>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

const QString Entry = "Resources/lights.txt"_s;

} // namespace

class CopyStoreTest final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_profile = std::make_unique<ScratchProfile>();
        m_copies = m_profile->folder("copies"_s);
    }

    void cleanup() { m_profile.reset(); }

    void copyIsStoredAndGivenUpWithoutATrace()
    {
        const QString simulator = simulatorWithCopy("11"_s, "eleven");
        QCOMPARE(readFile(m_copies + Entry), "eleven");
        QCOMPARE(store(simulator).find(Entry), m_copies + Entry);
        store(simulator).giveUp(Entry);
        QCOMPARE(filesUnder(m_copies), QStringList());
    }

    void copiesOfOtherSimulatorsAreKeptApart()
    {
        const QString eleven = simulatorWithCopy("11"_s, "eleven");
        QCOMPARE(store(m_profile->folder("12"_s)).find(Entry), QString());
        const QString twelve = simulatorWithCopy("12"_s, "twelve");
        for (int round = 0; round < 2; ++round) {
            for (const auto &simulator : {eleven, twelve}) {
                const QByteArray content = simulator == eleven ? "eleven" : "twelve";
                QCOMPARE(store(simulator).find(Entry), m_copies + Entry);
                QCOMPARE(readFile(m_copies + Entry), content);
            }
        }
        store(twelve).giveUp(Entry);
        QCOMPARE(copy(store(eleven)), "eleven");
        store(eleven).giveUp(Entry);
        QCOMPARE(filesUnder(m_copies), QStringList());
    }

    void kindsMayShareAFolder()
    {
        const QString simulator = simulatorWithCopy("11"_s, "original");
        const CopyStore kept = store(simulator, CopyStore::Kind::KEPT);
        QCOMPARE(kept.find(Entry), QString());
        QVERIFY(writeFile(simulator + Entry, "kept"));
        QVERIFY(kept.add(Entry, simulator + Entry));
        QCOMPARE(copy(store(simulator)), "original");
        QCOMPARE(copy(kept), "kept");
    }

    void foreignCopyThatCannotBeMovedStays()
    {
        simulatorWithCopy("11"_s, "eleven");
        // The name of the hidden folder to which the copy would be moved is not known here. It is
        // found by a first move, and a file with that name prevents the second one.
        const QString twelve = simulatorWithCopy("12"_s, "twelve");
        const QString waiting =
            m_copies + QDir(m_copies)
                           .entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot)
                           .filter(".kavo-"_s)
                           .value(0);
        const QString other = m_profile->folder("13"_s);
        QVERIFY(QDir(waiting).removeRecursively());
        store(twelve).giveUp(Entry);
        simulatorWithCopy("11"_s, "eleven");
        QVERIFY(writeFile(waiting, "in the way") && writeFile(other + Entry, "thirteen"));
        QVERIFY(!store(other).add(Entry, other + Entry));
        QCOMPARE(readFile(m_copies + Entry), "eleven");
    }

    void copyWithoutAMarkIsOwn()
    {
        QVERIFY(writeFile(m_copies + Entry, "old"));
        const QString simulator = m_profile->folder("11"_s);
        QCOMPARE(store(simulator).find(Entry), m_copies + Entry);
        store(simulator).giveUp(Entry);
        QCOMPARE(filesUnder(m_copies), QStringList());
    }

    void halfAMarkIsNone()
    {
        simulatorWithCopy("11"_s, "eleven");
        const QString other = m_profile->folder("12"_s);
        const CopyOwner owner("original"_s, other);
        QFile mark(CopyOwner::markOf(m_copies + Entry));
        QVERIFY(mark.exists() && owner.claimOn(m_copies + Entry) == CopyOwner::Claim::FOREIGN);
        for (qint64 size = mark.size() - 1; size >= 0; --size) {
            QVERIFY(mark.resize(size));
            QVERIFY(owner.claimOn(m_copies + Entry) == CopyOwner::Claim::NONE);
        }
    }

    void renamedSimulatorKeepsItsCopies()
    {
        simulatorWithCopy("11"_s, "eleven");
        QVERIFY(QDir(m_profile->folder({})).rename("11"_s, "eleven"_s));
        const QString renamed = m_profile->folder("eleven"_s);
        QCOMPARE(copy(store(renamed)), "eleven");
        // A new simulator in a folder with the old name does not get the copy.
        const QString other = m_profile->folder("11"_s);
        QCOMPARE(copy(store(other)), QByteArray());
        QCOMPARE(copy(store(renamed)), "eleven");
    }

    void copiesOfADeletedSimulatorBelongToNobody()
    {
        const QString eleven = simulatorWithCopy("11"_s, "eleven");
        const QString twelve = m_profile->folder("12"_s);
        QVERIFY(QDir(eleven).removeRecursively());
        QCOMPARE(copy(store(twelve)), QByteArray());
    }

    void copyThatIsTheFileItselfIsNone()
    {
        QVERIFY(writeFile(m_copies + Entry, "the user's"));
        const QString link = m_profile->folder({}) + "link"_s;
        QVERIFY(QFile::link(m_copies, link));
        for (const QString &simulator : {m_copies, QString(link + QLatin1Char('/'))}) {
            QCOMPARE(store(simulator).find(Entry), QString());
            QVERIFY(!store(simulator).add(Entry, simulator + Entry));
            store(simulator).giveUp(Entry);
            QCOMPARE(filesUnder(m_copies), QStringList{Entry});
        }
        const QString simulator = m_profile->folder("11"_s);
        QVERIFY(writeFile(simulator + Entry, "the user's") && QFile::remove(m_copies + Entry));
        QVERIFY(QFile::link(simulator + Entry, m_copies + Entry));
        QCOMPARE(store(simulator).find(Entry), QString());
        QVERIFY(!store(simulator).add(Entry, simulator + Entry));
        store(simulator).giveUp(Entry);
        QCOMPARE(readFile(simulator + Entry), "the user's");
    }

    void folderThatHoldsTheSimulatorHasMarkedCopiesOnly()
    {
        const QString simulator = m_copies + "X-Plane/"_s;
        QVERIFY(writeFile(simulator + Entry, "original"));
        QVERIFY(writeFile(m_copies + Entry, "the user's"));
        QCOMPARE(store(simulator).find(Entry), QString());
        QVERIFY(!store(simulator).add(Entry, simulator + Entry));
        store(simulator).giveUp(Entry);
        QCOMPARE(readFile(m_copies + Entry), "the user's");
        QVERIFY(QFile::remove(m_copies + Entry));
        QVERIFY(store(simulator).add(Entry, simulator + Entry));
        QCOMPARE(copy(store(simulator)), "original");
    }

    void copyIsBroughtInFromAFormerFolder()
    {
        const QString simulator = simulatorWithCopy("11"_s, "eleven");
        const QString former = m_copies;
        m_copies = m_profile->folder("new"_s);
        QCOMPARE(store(simulator).find(Entry), QString());
        const CopyStore now = store(simulator, CopyStore::Kind::ORIGINAL, {former});
        QCOMPARE(now.find(Entry), m_copies + Entry);
        QCOMPARE(copy(now), "eleven");
        QCOMPARE(filesUnder(former), QStringList());
        // The copy is still foreign to other simulators.
        QCOMPARE(store(m_profile->folder("12"_s)).find(Entry), QString());
    }

    void copyThatCannotBeBroughtInIsUsedWhereItIs()
    {
        const QString simulator = simulatorWithCopy("11"_s, "eleven");
        const QString former = m_copies;
        m_copies = m_profile->folder("new"_s);
        QVERIFY(writeFile(m_copies + "Resources"_s, "in the way"));
        const CopyStore now = store(simulator, CopyStore::Kind::ORIGINAL, {former});
        QCOMPARE(now.find(Entry), former + Entry);
        now.giveUp(Entry);
        QCOMPARE(filesUnder(former), QStringList());
    }

    void nothingIsOverwrittenByACopyThatIsBroughtIn()
    {
        const QString simulator = simulatorWithCopy("11"_s, "old folder's");
        const QString former = m_copies;
        m_copies = m_profile->folder("new"_s);
        QVERIFY(writeFile(m_copies + Entry, "new folder's"));
        const CopyStore now = store(simulator, CopyStore::Kind::ORIGINAL, {former});
        QCOMPARE(copy(now), "old folder's");
        now.giveUp(Entry);
        QCOMPARE(filesUnder(former), QStringList());
        QCOMPARE(readFile(m_copies + Entry), "new folder's");
    }

    void copyInTwoPlacesIsGivenUpInBoth()
    {
        // This happens if the program ends suddenly while it moves a copy to another disk.
        const QString simulator = simulatorWithCopy("11"_s, "eleven");
        const QString former = m_copies;
        m_copies = m_profile->folder("new"_s);
        QVERIFY(store(simulator).add(Entry, simulator + Entry));
        const CopyStore now = store(simulator, CopyStore::Kind::ORIGINAL, {former});
        now.giveUp(Entry);
        QCOMPARE(filesUnder(former) + filesUnder(m_copies), QStringList());
    }

    void copyThatIsSetAsideIsNotFoundAgain()
    {
        const QString simulator = m_profile->folder("11"_s);
        const CopyStore store = this->store(simulator);
        for (const char *content : {"one", "two"}) {
            QVERIFY(writeFile(simulator + Entry, content));
            QVERIFY(store.add(Entry, simulator + Entry));
            QVERIFY(store.setAside(Entry));
            QCOMPARE(store.find(Entry), QString());
        }
        QVERIFY(store.setAside(Entry));
        store.giveUp(Entry);
        QCOMPARE(readFile(m_copies + ".kavo-earlier-1/"_s + Entry), "one");
        QCOMPARE(readFile(m_copies + ".kavo-earlier-2/"_s + Entry), "two");
        QCOMPARE(filesOf(fileTree(m_copies)).size(), 2);
    }

    void everyCopyOfAnEntryIsSetAside()
    {
        const QString simulator = simulatorWithCopy("11"_s, "eleven");
        const QString former = m_copies;
        m_copies = m_profile->folder("new"_s);
        QVERIFY(writeFile(m_copies + Entry, "without a mark"));
        const CopyStore now = store(simulator, CopyStore::Kind::ORIGINAL, {former});
        QVERIFY(now.setAside(Entry));
        QCOMPARE(now.find(Entry), QString());
        QCOMPARE(filesUnder(former), QStringList());
        QCOMPARE(readFile(m_copies + ".kavo-earlier-1/"_s + Entry), "eleven");
        QCOMPARE(readFile(m_copies + ".kavo-earlier-2/"_s + Entry), "without a mark");
    }

    void copyThatCannotBeSetAsideStays()
    {
        const QString simulator = simulatorWithCopy("11"_s, "eleven");
        QVERIFY(writeFile(m_copies + ".kavo-earlier-1"_s, "in the way"));
        QVERIFY(!store(simulator).setAside(Entry));
        QCOMPARE(copy(store(simulator)), "eleven");
    }

    void marksAreNoCopies()
    {
        const QString simulator = simulatorWithCopy("11"_s, "eleven");
        const QString mark = QDir(m_copies).relativeFilePath(CopyOwner::markOf(m_copies + Entry));
        QCOMPARE(store(simulator).find(mark), QString());
        store(simulator).giveUp(mark);
        QVERIFY(QFile::exists(m_copies + mark));
    }

    void markWithoutACopyIsRemoved()
    {
        const QString simulator = simulatorWithCopy("11"_s, "eleven");
        QVERIFY(QFile::remove(m_copies + Entry));
        store(simulator).giveUp(Entry);
        QCOMPARE(filesUnder(m_copies), QStringList());
    }

private:
    CopyStore store(const QString &simulator, CopyStore::Kind kind = CopyStore::Kind::ORIGINAL,
                    const QStringList &former = {}) const
    {
        return CopyStore(kind, {simulator, m_copies, former});
    }
    /// Creates a simulator with a file and adds the file to the store. Returns the simulator's
    /// folder.
    QString simulatorWithCopy(const QString &name, const QByteArray &content)
    {
        const QString simulator = m_profile->folder(name);
        if (!writeFile(simulator + Entry, content) ||
            !store(simulator).add(Entry, simulator + Entry))
            qFatal("The copy cannot be made");
        return simulator;
    }

    QByteArray copy(const CopyStore &store) const { return readFile(store.find(Entry)); }

    std::unique_ptr<ScratchProfile> m_profile;
    QString m_copies;
};

KAVO_TEST_MAIN(CopyStoreTest)
#include "CopyStoreTest.moc"
