#include "core/Paths.h"
#include "tests/support/Archives.h"
#include "tests/support/TestMain.h"

using namespace Kavo;
using namespace Kavo::Testing;

class PathsTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void foldersEndInASeparator();
    void dataFolderIsMade();
    void workingFoldersAreOnlyComputed();
    void nothingIsRemembered();
    void folderThatCannotBeMadeStillHasAPath();
    void ensureMakesParentsOnlyWhenAsked();
    void ensureAcceptsWhatExists();
    void ensureReportsFailure();

private:
    QScopedPointer<ScratchProfile> m_profile;
};

void PathsTest::init()
{
    m_profile.reset(new ScratchProfile);
}

void PathsTest::cleanup()
{
    m_profile.reset();
}

// Fixed, see docs/compatibility.md.
void PathsTest::foldersEndInASeparator()
{
    const QString data = m_profile->home() + QStringLiteral("/.local/share/Quarnell/Kavo Suite/");
    QCOMPARE(applicationDirectory(), QCoreApplication::applicationDirPath() + QLatin1Char('/'));
    QCOMPARE(applicationDataDirectory(), data);
    QCOMPARE(cacheDirectory(), QString(data + QStringLiteral("cache/")));
    QCOMPARE(preserveDirectory(), QString(data + QStringLiteral("preserve/")));
    QCOMPARE(backupDirectory(), QString(data + QStringLiteral("backup/")));
}

void PathsTest::dataFolderIsMade()
{
    QVERIFY(!QFile::exists(m_profile->home() + QStringLiteral("/.local")));
    QVERIFY(QDir(applicationDataDirectory()).exists());
}

void PathsTest::workingFoldersAreOnlyComputed()
{
    cacheDirectory();
    preserveDirectory();
    backupDirectory();
    QCOMPARE(fileTree(applicationDataDirectory()).size(), 0);
}

void PathsTest::nothingIsRemembered()
{
    const QString first = applicationDataDirectory();
    const ScratchProfile other;
    QVERIFY(applicationDataDirectory() != first);
    QVERIFY(applicationDataDirectory().startsWith(other.home()));
}

void PathsTest::folderThatCannotBeMadeStillHasAPath()
{
    QVERIFY(writeFile(m_profile->home() + QStringLiteral("/.local"), "in the way"));
    QCOMPARE(applicationDataDirectory(),
             QString(m_profile->home() + QStringLiteral("/.local/share/Quarnell/Kavo Suite/")));
}

void PathsTest::ensureMakesParentsOnlyWhenAsked()
{
    const QString path = m_profile->home() + QStringLiteral("/a/b/c/");
    QVERIFY(!ensureDirectory(path, false));
    QVERIFY(!QFile::exists(m_profile->home() + QStringLiteral("/a")));
    QVERIFY(ensureDirectory(path, true));
    QVERIFY(QDir(path).exists());
}

void PathsTest::ensureAcceptsWhatExists()
{
    const QString path = m_profile->home() + QStringLiteral("/a");
    QVERIFY(writeFile(path + QStringLiteral("/kept"), "x"));
    QVERIFY(ensureDirectory(path, false));
    QVERIFY(ensureDirectory(path, true));
    QCOMPARE(readFile(path + QStringLiteral("/kept")), QByteArray("x"));
}

void PathsTest::ensureReportsFailure()
{
    const QString file = m_profile->home() + QStringLiteral("/file");
    QVERIFY(writeFile(file, "x"));
    QVERIFY(!ensureDirectory(file + QStringLiteral("/a"), true));
    QVERIFY(!ensureDirectory(file, true));
    QCOMPARE(readFile(file), QByteArray("x"));
}

KAVO_TEST_MAIN(PathsTest)
#include "PathsTest.moc"
