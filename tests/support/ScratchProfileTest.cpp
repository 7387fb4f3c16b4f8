#include "tests/support/ScratchProfile.h"
#include "core/Log.h"
#include "core/Paths.h"
#include "tests/support/Archives.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestMain.h"

#include <memory>

using namespace Kavo;
using namespace Kavo::Testing;

class ScratchProfileTest final : public QObject
{
    Q_OBJECT

private slots:
    void everyPlaceLiesInTheProfile();
    void profilesOfOneProcessAreApart();
    void nothingIsLeftBehind();
    void captureTakesMessages();
};

void ScratchProfileTest::everyPlaceLiesInTheProfile()
{
    const ScratchProfile profile;
    QCOMPARE(QDir::homePath(), profile.home());
    QCOMPARE(applicationDataDirectory(), profile.dataFolder());
    QCOMPARE(cacheDirectory(), profile.cacheFolder());
    QCOMPARE(preserveDirectory(), profile.preserveFolder());
    QCOMPARE(backupDirectory(), profile.backupFolder());
    QCOMPARE(logFile(), profile.logFile());
    QCOMPARE(Settings().fileName(), profile.settingsFile());
    QVERIFY(QFileInfo(profile.simulatorFolder() + QStringLiteral("X-Plane-x86_64")).isExecutable());

    const auto settings = profile.makeSettings();
    QCOMPARE(settings->current(Settings::INSTALLATION), profile.simulatorFolder());
    QCOMPARE(settings->current(Settings::CACHE), profile.cacheFolder());
    QCOMPARE(settings->current(Settings::LANGUAGE), QStringLiteral("en"));
    QVERIFY(!QFile::exists(profile.settingsFile()));
}

void ScratchProfileTest::profilesOfOneProcessAreApart()
{
    const ScratchProfile outer;
    outer.makeSettings()->commit();
    {
        const ScratchProfile inner;
        QVERIFY(inner.home() != outer.home());
        QCOMPARE(Settings().fileName(), inner.settingsFile());
        QCOMPARE(Settings().current(Settings::LANGUAGE), QString());
        const auto settings = inner.makeSettings();
        settings->setPending(Settings::LANGUAGE, QStringLiteral("de"));
        settings->commit();
        QCOMPARE(Settings().current(Settings::LANGUAGE), QStringLiteral("de"));
    }
    QCOMPARE(QDir::homePath(), outer.home());
    QCOMPARE(Settings().fileName(), outer.settingsFile());
    QCOMPARE(Settings().current(Settings::LANGUAGE), QStringLiteral("en"));
}

void ScratchProfileTest::nothingIsLeftBehind()
{
    auto profile = std::make_unique<ScratchProfile>();
    profile->makeSettings()->commit();
    QVERIFY(writeFile(profile->cacheFolder() + QStringLiteral("a/b"), "x"));
    QDir::setCurrent(profile->cacheFolder());
    const QString home = profile->home();
    profile.reset();
    QVERIFY(!QFile::exists(home));
    QVERIFY(QFile::exists(QDir::currentPath()));
}

void ScratchProfileTest::captureTakesMessages()
{
    const LogCapture outer;
    {
        const LogCapture inner;
        logLine(QStringLiteral("one line"));
        QVERIFY(inner.contains(QStringLiteral("one line")));
        QVERIFY(!inner.contains(QStringLiteral("one")));
        QCOMPARE(inner.count(QStringLiteral("one")), 1);
    }
    QCOMPARE(outer.lines(), QStringList());
    logLine(QStringLiteral("after"));
    QCOMPARE(outer.lines(), QStringList(QStringLiteral("after")));
}

KAVO_TEST_MAIN(ScratchProfileTest)
#include "ScratchProfileTest.moc"
