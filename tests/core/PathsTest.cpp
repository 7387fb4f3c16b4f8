#include "core/Paths.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/TestMain.h"

using namespace Kavo;
using namespace Kavo::Testing;

class PathsTest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_profile.reset(new ScratchProfile); }
    void cleanup() { m_profile.reset(); }

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

// Fixed, see docs/compatibility.md.
void PathsTest::foldersEndInASeparator()
{
    const QString data = m_profile->home() + "/.local/share/Quarnell/Kavo Suite/"_s;
    QCOMPARE(applicationDirectory(), QCoreApplication::applicationDirPath() + QLatin1Char('/'));
    QCOMPARE(applicationDataDirectory(), data);
    QCOMPARE(cacheDirectory(), QString(data + "cache/"_s));
    QCOMPARE(preserveDirectory(), QString(data + "preserve/"_s));
    QCOMPARE(backupDirectory(), QString(data + "backup/"_s));
}

void PathsTest::dataFolderIsMade()
{
    QVERIFY(!QFile::exists(m_profile->home() + "/.local"_s));
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
    QVERIFY(writeFile(m_profile->home() + "/.local"_s, "in the way"));
    QCOMPARE(applicationDataDirectory(),
             QString(m_profile->home() + "/.local/share/Quarnell/Kavo Suite/"_s));
}

void PathsTest::ensureMakesParentsOnlyWhenAsked()
{
    const QString path = m_profile->home() + "/a/b/c/"_s;
    QVERIFY(!ensureDirectory(path, false));
    QVERIFY(!QFile::exists(m_profile->home() + "/a"_s));
    QVERIFY(ensureDirectory(path, true));
    QVERIFY(QDir(path).exists());
}

void PathsTest::ensureAcceptsWhatExists()
{
    const QString path = m_profile->home() + "/a"_s;
    QVERIFY(writeFile(path + "/kept"_s, "x"));
    QVERIFY(ensureDirectory(path, false));
    QVERIFY(ensureDirectory(path, true));
    QCOMPARE(readFile(path + "/kept"_s), QByteArray("x"));
}

void PathsTest::ensureReportsFailure()
{
    const QString file = m_profile->home() + "/file"_s;
    QVERIFY(writeFile(file, "x"));
    QVERIFY(!ensureDirectory(file + "/a"_s, true));
    QVERIFY(!ensureDirectory(file, true));
    QCOMPARE(readFile(file), QByteArray("x"));
}

KAVO_TEST_MAIN(PathsTest)
#include "PathsTest.moc"
