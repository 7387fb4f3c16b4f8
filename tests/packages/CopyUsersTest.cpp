#include "packages/installation/CopyUsers.h"

#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/ScratchProfile.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <memory>
#include <thread>

using namespace Kavo::Models;
using namespace Kavo::Testing;

class CopyUsersTest final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_profile = std::make_unique<ScratchProfile>();
        m_copy = m_profile->folder("copies"_s) + "lights.txt"_s;
    }

    void cleanup() { m_profile.reset(); }

    void usersAreAddedAndRemoved()
    {
        QVERIFY(setUnused(m_copy));
        QCOMPARE(usersOf(m_copy).value(), QSet<int>());
        for (const int id : {8, -9, 10, 8})
            QVERIFY(addUser(m_copy, id));
        QCOMPARE(usersOf(m_copy).value(), (QSet<int>{8, -9, 10}));
        for (const int id : {-9, 7})
            QVERIFY(removeUser(m_copy, id));
        QCOMPARE(usersOf(m_copy).value(), (QSet<int>{8, 10}));
        QVERIFY(setUnused(m_copy));
        QCOMPARE(usersOf(m_copy).value(), QSet<int>());
    }

    void usersOfAnOlderCopyAreUnknown()
    {
        QVERIFY(!usersOf(m_copy));
        QVERIFY(addUser(m_copy, 8));
        QVERIFY(!usersOf(m_copy));
        QVERIFY(removeUser(m_copy, 8));
        QCOMPARE(usersOf(m_copy).value(), QSet<int>());
    }

    void incompleteMarkCountsAsUnknown()
    {
        QVERIFY(setUnused(m_copy) && addUser(m_copy, 12) && addUser(m_copy, 345));
        QFile mark(usersMarkOf(m_copy));
        for (qint64 size = mark.size() - 1; size >= 0; --size) {
            QVERIFY(mark.resize(size));
            QVERIFY(!usersOf(m_copy));
        }
    }

    void foreignMarkCountsAsUnknown()
    {
        QVERIFY(writeFile(usersMarkOf(m_copy), "1 somebody\n"));
        QVERIFY(!usersOf(m_copy));
    }

    void failureToWriteTheMarkIsReturned()
    {
        QVERIFY(QDir().mkpath(usersMarkOf(m_copy)));
        QVERIFY(!setUnused(m_copy));
        QVERIFY(!removeUser(m_copy, 8));
    }

    void concurrentChangesAreNotLost()
    {
        constexpr int Rounds = 200;
        QVERIFY(setUnused(m_copy));
        const auto comeAndGo = [this](int first) {
            for (int id = first; id < first + Rounds; ++id) {
                addUser(m_copy, id);
                if (id + 1 < first + Rounds)
                    removeUser(m_copy, id);
            }
        };
        std::thread other(comeAndGo, 10000);
        comeAndGo(20000);
        other.join();
        QCOMPARE(usersOf(m_copy).value(), (QSet<int>{10000 + Rounds - 1, 20000 + Rounds - 1}));
    }

private:
    std::unique_ptr<ScratchProfile> m_profile;
    QString m_copy;
};

KAVO_TEST_MAIN(CopyUsersTest)
#include "CopyUsersTest.moc"
