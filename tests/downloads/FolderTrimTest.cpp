#include "downloads/FolderTrim.h"
#include "tests/support/Archives.h"
#include "tests/support/TestMain.h"

#include <QDir>

using Kavo::Managers::FolderTrim;
using namespace Kavo::Testing;

class FolderTrimTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void smallFolderStays();
    void oldestFilesGo();
    void filesOfEarlierRunsCount();
    void onlyItsOwnFilesCount();
    void roomIsKnownAfterwards();
    void whatComesMeanwhileCounts();
    void folderThatIsMissing();
    void clearRemovesAll();

private:
    static constexpr qint64 Limit = 8000;

    /// A file of so many bytes that was changed so many days ago.
    void put(const QString &name, int size, int age) const;
    bool isThere(const QString &name) const { return QFile::exists(m_folder + name); }
    static QString name(int number) { return QStringLiteral("b/%1.d").arg(number); }

    std::unique_ptr<ScratchProfile> m_profile;
    QString m_folder;
};

void FolderTrimTest::init()
{
    m_profile = std::make_unique<ScratchProfile>();
    m_folder = m_profile->folder(QStringLiteral("kept"));
    m_profile->folder(QStringLiteral("kept/b/c"));
}

void FolderTrimTest::put(const QString &name, int size, int age) const
{
    QVERIFY(writeFile(m_folder + name, QByteArray(size, 'x')));
    QFile file(m_folder + name);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.setFileTime(QDateTime::currentDateTimeUtc().addDays(-age),
                             QFile::FileModificationTime));
}

void FolderTrimTest::smallFolderStays()
{
    for (int number = 0; number < 6; ++number)
        put(name(number), 1000, number);
    put(QStringLiteral("marker.d"), 1, 0);
    FolderTrim trim(m_folder, Limit, nullptr);
    trim.add(1000);
    QTRY_VERIFY(!trim.isBusy());
    for (int number = 0; number < 6; ++number)
        QVERIFY(isThere(name(number)));
}

void FolderTrimTest::oldestFilesGo()
{
    for (int number = 0; number < 10; ++number)
        put(name(number), 1000, (number * 7) % 10 + 1);
    put(QStringLiteral("b/c/deep.d"), 500, 100);
    FolderTrim trim(m_folder, Limit, nullptr);
    trim.add(1000);
    QTRY_VERIFY(!trim.isBusy());
    QVERIFY(!isThere(QStringLiteral("b/c/deep.d")));
    for (int number = 0; number < 10; ++number)
        QCOMPARE(isThere(name(number)), (number * 7) % 10 + 1 <= 6);
}

void FolderTrimTest::filesOfEarlierRunsCount()
{
    for (int number = 0; number < 7; ++number)
        put(name(number), 1000, 10 - number);
    FolderTrim trim(m_folder, Limit, nullptr);
    put(name(7), 10, 0);
    trim.add(10);
    QTRY_VERIFY(!trim.isBusy());
    QVERIFY(!isThere(name(0)));
    QVERIFY(!isThere(name(1)));
    QVERIFY(isThere(name(2)));
    QVERIFY(isThere(name(7)));
    // From then on it is known when the next time comes.
    put(name(8), 900, 0);
    trim.add(900);
    QVERIFY(!trim.isBusy());
    put(name(9), 1200, 0);
    trim.add(1200);
    QVERIFY(trim.isBusy());
    QTRY_VERIFY(!trim.isBusy());
    QVERIFY(!isThere(name(2)));
    QVERIFY(isThere(name(9)));
}

void FolderTrimTest::onlyItsOwnFilesCount()
{
    put(QStringLiteral("b/large.txt"), 20000, 100);
    put(name(1), 1000, 10);
    const QString elsewhere = m_profile->folder(QStringLiteral("elsewhere"));
    QVERIFY(writeFile(elsewhere + QStringLiteral("far.d"), QByteArray(20000, 'x')));
    QVERIFY(QFile::link(elsewhere, m_folder + QStringLiteral("b/link")));
    FolderTrim trim(m_folder, Limit, nullptr);
    trim.add(1000);
    QTRY_VERIFY(!trim.isBusy());
    QVERIFY(isThere(QStringLiteral("b/large.txt")));
    QVERIFY(isThere(name(1)));
    trim.clear();
    QVERIFY(isThere(QStringLiteral("b/large.txt")));
    QVERIFY(!isThere(name(1)));
    QVERIFY(QFile::exists(elsewhere + QStringLiteral("far.d")));
}

void FolderTrimTest::roomIsKnownAfterwards()
{
    put(name(1), 3000, 10);
    FolderTrim trim(m_folder, Limit, nullptr);
    QVERIFY(trim.hasRoomFor(Limit));
    QVERIFY(!trim.hasRoomFor(Limit + 1));
    trim.add(0);
    QTRY_VERIFY(!trim.isBusy());
    QVERIFY(trim.hasRoomFor(5000));
    QVERIFY(!trim.hasRoomFor(5001));
}

void FolderTrimTest::whatComesMeanwhileCounts()
{
    FolderTrim trim(m_folder, Limit, nullptr);
    trim.add(0);
    QVERIFY(trim.isBusy());
    trim.add(3000);
    QVERIFY(trim.hasRoomFor(5000));
    QVERIFY(!trim.hasRoomFor(5001));
    QTRY_VERIFY(!trim.isBusy());
}

void FolderTrimTest::folderThatIsMissing()
{
    FolderTrim trim(m_folder + QStringLiteral("missing"), Limit, nullptr);
    trim.add(1);
    QTRY_VERIFY(!trim.isBusy());
    trim.clear();
    QVERIFY(trim.hasRoomFor(Limit));
}

void FolderTrimTest::clearRemovesAll()
{
    for (int number = 0; number < 10; ++number)
        put(name(number), 1000, number);
    FolderTrim trim(m_folder, Limit, nullptr);
    trim.add(1000);
    trim.clear();
    QVERIFY(!trim.isBusy());
    QCOMPARE(QDir(m_folder + QStringLiteral("b")).entryList(QDir::Files), QStringList());
    QVERIFY(trim.hasRoomFor(Limit));
    // The same when they have been counted.
    put(name(1), 5000, 0);
    trim.add(5000);
    QTRY_VERIFY(!trim.isBusy());
    QVERIFY(!trim.hasRoomFor(Limit));
    trim.clear();
    QVERIFY(!isThere(name(1)));
    QVERIFY(trim.hasRoomFor(Limit));
}

KAVO_TEST_MAIN(FolderTrimTest)
#include "FolderTrimTest.moc"
