#include "tests/support/ScratchProfile.h"
#include "core/Log.h"
#include "core/Paths.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestMain.h"

#include <memory>

using namespace Kavo;
using namespace Kavo::Testing;

class ScratchProfileTest final : public QObject
{
    Q_OBJECT

private slots:
    void everyPlaceLiesInTheProfile()
    {
        const ScratchProfile profile;
        QCOMPARE(QDir::homePath(), profile.home());
        QCOMPARE(applicationDataDirectory(), profile.dataFolder());
        QCOMPARE(cacheDirectory(), profile.cacheFolder());
        QCOMPARE(preserveDirectory(), profile.preserveFolder());
        QCOMPARE(backupDirectory(), profile.backupFolder());
        QCOMPARE(logFile(), profile.logFile());
        QCOMPARE(Settings().fileName(), profile.settingsFile());
        QVERIFY(QFileInfo(profile.simulatorFolder() + "X-Plane-x86_64"_s).isExecutable());

        const auto settings = profile.makeSettings();
        QCOMPARE(settings->current(Settings::INSTALLATION), profile.simulatorFolder());
        QCOMPARE(settings->current(Settings::CACHE), profile.cacheFolder());
        QCOMPARE(settings->current(Settings::LANGUAGE), "en"_s);
        QVERIFY(!QFile::exists(profile.settingsFile()));
    }

    void profilesOfOneProcessAreApart()
    {
        const ScratchProfile outer;
        outer.makeSettings()->commit();
        {
            const ScratchProfile inner;
            QVERIFY(inner.home() != outer.home());
            QCOMPARE(Settings().fileName(), inner.settingsFile());
            QCOMPARE(Settings().current(Settings::LANGUAGE), QString());
            const auto settings = inner.makeSettings();
            settings->setPending(Settings::LANGUAGE, "de"_s);
            settings->commit();
            QCOMPARE(Settings().current(Settings::LANGUAGE), "de"_s);
        }
        QCOMPARE(QDir::homePath(), outer.home());
        QCOMPARE(Settings().fileName(), outer.settingsFile());
        QCOMPARE(Settings().current(Settings::LANGUAGE), "en"_s);
    }

    void nothingIsLeftBehind()
    {
        auto profile = std::make_unique<ScratchProfile>();
        profile->makeSettings()->commit();
        QVERIFY(writeFile(profile->cacheFolder() + "a/b"_s, "x"));
        QDir::setCurrent(profile->cacheFolder());
        const QString home = profile->home();
        profile.reset();
        QVERIFY(!QFile::exists(home));
        QVERIFY(QFile::exists(QDir::currentPath()));
    }

    void captureTakesMessages()
    {
        const LogCapture outer;
        {
            const LogCapture inner;
            logLine("one line"_s);
            QVERIFY(inner.contains("one line"_s));
            QVERIFY(!inner.contains("one"_s));
            QCOMPARE(inner.count("one"_s), 1);
        }
        QCOMPARE(outer.lines(), QStringList());
        logLine("after"_s);
        QCOMPARE(outer.lines(), QStringList("after"_s));
    }
};

KAVO_TEST_MAIN(ScratchProfileTest)
#include "ScratchProfileTest.moc"
