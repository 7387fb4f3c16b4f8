#include "downloads/FolderTrim.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/TestMain.h"

#include <QDir>

using Kavo::Managers::FolderTrim;
using namespace Kavo::Testing;

class FolderTrimTest final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_profile = std::make_unique<ScratchProfile>();
        m_folder = m_profile->folder("kept"_s);
        m_profile->folder("kept/b/c"_s);
    }

    void smallFolderStays()
    {
        putAll({0, 1, 2, 3, 4, 5});
        put("marker.d"_s, 1, 0);
        FolderTrim trim(m_folder, Limit, nullptr);
        QVERIFY(trims(trim, 1000));
        for (int number = 0; number < 6; ++number)
            QVERIFY(isThere(number));
    }

    void oldestFilesAreDeleted()
    {
        const QList<int> ages{1, 8, 5, 2, 9, 6, 3, 10, 7, 4};
        putAll(ages);
        put("b/c/deep.d"_s, 500, 100);
        FolderTrim trim(m_folder, Limit, nullptr);
        QVERIFY(trims(trim, 1000));
        QVERIFY(!isThere("b/c/deep.d"_s));
        for (int number = 0; number < 10; ++number)
            QCOMPARE(isThere(number), ages.at(number) <= 6);
    }

    void filesOfEarlierRunsCount()
    {
        putAll({10, 9, 8, 7, 6, 5, 4});
        FolderTrim trim(m_folder, Limit, nullptr);
        put(name(7), 10, 0);
        QVERIFY(trims(trim, 10));
        QVERIFY(!isThere(0));
        QVERIFY(!isThere(1));
        QVERIFY(isThere(2));
        QVERIFY(isThere(7));
        // From now on the size of the folder is known.
        put(name(8), 900, 0);
        trim.add(900);
        QVERIFY(!trim.isBusy());
        put(name(9), 1200, 0);
        trim.add(1200);
        QVERIFY(trim.isBusy());
        QTRY_VERIFY(!trim.isBusy());
        QVERIFY(!isThere(2));
        QVERIFY(isThere(9));
    }

    void onlyItsOwnFilesCount()
    {
        put("b/large.txt"_s, 20000, 100);
        put(name(1), 1000, 10);
        const QString elsewhere = m_profile->folder("elsewhere"_s);
        QVERIFY(writeFile(elsewhere + "far.d"_s, QByteArray(20000, 'x')));
        QVERIFY(QFile::link(elsewhere, m_folder + "b/link"_s));
        FolderTrim trim(m_folder, Limit, nullptr);
        QVERIFY(trims(trim, 1000));
        QVERIFY(isThere("b/large.txt"_s));
        QVERIFY(isThere(1));
        trim.clear();
        QVERIFY(isThere("b/large.txt"_s));
        QVERIFY(!isThere(1));
        QVERIFY(QFile::exists(elsewhere + "far.d"_s));
    }

    void roomIsKnownAfterwards()
    {
        put(name(1), 3000, 10);
        FolderTrim trim(m_folder, Limit, nullptr);
        QVERIFY(trim.hasRoomFor(Limit));
        QVERIFY(!trim.hasRoomFor(Limit + 1));
        QVERIFY(trims(trim, 0));
        QVERIFY(trim.hasRoomFor(5000));
        QVERIFY(!trim.hasRoomFor(5001));
    }

    void filesAddedMeanwhileCount()
    {
        FolderTrim trim(m_folder, Limit, nullptr);
        trim.add(0);
        QVERIFY(trim.isBusy());
        trim.add(3000);
        QVERIFY(trim.hasRoomFor(5000));
        QVERIFY(!trim.hasRoomFor(5001));
        QTRY_VERIFY(!trim.isBusy());
    }

    void folderThatIsMissing()
    {
        FolderTrim trim(m_folder + "missing"_s, Limit, nullptr);
        QVERIFY(trims(trim, 1));
        trim.clear();
        QVERIFY(trim.hasRoomFor(Limit));
    }

    void clearRemovesAll()
    {
        putAll({0, 1, 2, 3, 4, 5, 6, 7, 8, 9});
        FolderTrim trim(m_folder, Limit, nullptr);
        trim.add(1000);
        trim.clear();
        QVERIFY(!trim.isBusy());
        QCOMPARE(QDir(m_folder + "b"_s).entryList(QDir::Files), QStringList());
        QVERIFY(trim.hasRoomFor(Limit));
        // The same after the files were counted.
        put(name(1), 5000, 0);
        QVERIFY(trims(trim, 5000));
        QVERIFY(!trim.hasRoomFor(Limit));
        trim.clear();
        QVERIFY(!isThere(1));
        QVERIFY(trim.hasRoomFor(Limit));
    }

private:
    static constexpr qint64 Limit = 8000;

    /// Writes a file of `size` bytes that was last modified `age` days ago.
    void put(const QString &name, int size, int age) const
    {
        QVERIFY(writeFile(m_folder + name, QByteArray(size, 'x')));
        QFile file(m_folder + name);
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.setFileTime(QDateTime::currentDateTimeUtc().addDays(-age),
                                 QFile::FileModificationTime));
    }
    /// Writes a file of 1000 bytes for each age, in days.
    void putAll(const QList<int> &ages) const
    {
        for (int number = 0; number < ages.size(); ++number)
            put(name(number), 1000, ages.at(number));
    }
    bool isThere(const QString &name) const { return QFile::exists(m_folder + name); }
    bool isThere(int number) const { return isThere(name(number)); }
    /// Reports a new file and waits until the folder is trimmed.
    static bool trims(FolderTrim &trim, int size)
    {
        trim.add(size);
        return QTest::qWaitFor([&trim] { return !trim.isBusy(); }, 5000);
    }
    static QString name(int number) { return "b/%1.d"_s.arg(number); }

    std::unique_ptr<ScratchProfile> m_profile;
    QString m_folder;
};

KAVO_TEST_MAIN(FolderTrimTest)
#include "FolderTrimTest.moc"
