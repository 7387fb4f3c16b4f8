#include "tests/packages/EngineTest.h"
#include "tests/support/Archives.h"
#include "tests/support/TestMain.h"

#include <QFile>
#include <QTest>

#include <utility>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

const QString Settings = "plugin/settings.ini"_s;

} // namespace

/// The user edits a kept file between installations. Some of the archives contain such a file, too.
class KeptFilesTest final : public EngineTest
{
    Q_OBJECT

private slots:
    void latestEditCounts()
    {
        QVERIFY(install("1.0"));
        QVERIFY(edit("first"));
        QVERIFY(install("2.0"));
        QCOMPARE(settings(), "settings of 2.0");
        QCOMPARE(kept(), "first");
        QVERIFY(edit("second"));
        QVERIFY(install("3.0"));
        QCOMPARE(settings(), "second");
        QCOMPARE(filesUnder(profile().preserveFolder()), QStringList());
        // Again, but now the update from 4.0 to 2.0 replaces one settled copy by another.
        QVERIFY(install("4.0"));
        QCOMPARE(kept(), "second");
        QVERIFY(edit("third"));
        QVERIFY(install("2.0"));
        QCOMPARE(kept(), "third");
        QVERIFY(edit("fourth"));
        QVERIFY(install("1.0"));
        QCOMPARE(settings(), "fourth");
    }

    void copyOfAFailedInstallationComesBack()
    {
        QVERIFY(install("1.0"));
        QVERIFY(edit("user's"));
        const QByteArray broken =
            damagedArchiveOf({{"plugin/settings.ini"_s, "settings of the archive"}});
        const QByteArray sound = exchange("3.0", broken);
        for (int attempt = 0; attempt < 2; ++attempt) {
            QVERIFY(!install("3.0"));
            QCOMPARE(state(7), Package::INSTALL_ERROR);
            // The unpacked files were removed.
            QCOMPARE(settings(), QByteArray());
            QCOMPARE(kept(), "user's");
            QVERIFY(refresh());
        }
        exchange("3.0", sound);
        QVERIFY(install("3.0"));
        QCOMPARE(settings(), "user's");
        QVERIFY(!QFile::exists(keptPath()));
    }

    void failureAfterASettledCopyKeepsTheLatestEdit()
    {
        QVERIFY(install("1.0"));
        QVERIFY(edit("first"));
        QVERIFY(install("2.0"));
        QVERIFY(edit("second"));
        const QByteArray sound = exchange("3.0", damagedArchiveOf({}));
        QVERIFY(!install("3.0"));
        QCOMPARE(kept(), "second");
        QVERIFY(edit("written by something that found no settings"));
        QVERIFY(refresh());
        exchange("3.0", sound);
        QVERIFY(install("3.0"));
        QCOMPARE(settings(), "second");
    }

    // Fixed, see docs/compatibility.md.
    void filesOfArchivesNeverReplaceTheUsers()
    {
        QVERIFY(install("1.0"));
        QVERIFY(edit("user's"));
        for (const char *version : {"2.0", "2.0", "4.0", "2.0"}) {
            QVERIFY(install(version));
            QCOMPARE(settings(), QByteArray("settings of ") + version);
            QCOMPARE(kept(), "user's");
        }
        QVERIFY(install("3.0"));
        QCOMPARE(settings(), "user's");
    }

    void copyComesBackAfterARemoval()
    {
        QVERIFY(install("1.0"));
        QVERIFY(edit("user's"));
        QVERIFY(install("2.0"));
        uninstall(7);
        QCOMPARE(kept(), "user's");
        QVERIFY(install("3.0"));
        QCOMPARE(settings(), "user's");
        QCOMPARE(filesUnder(profile().preserveFolder()), QStringList());
    }

private:
    void setUp() override
    {
        // The archives of 2.0 and 4.0 contain settings.
        for (const char *version : {"1.0", "2.0", "3.0", "4.0"}) {
            Files files{{"plugin/plugin.xpl"_s, version}};
            if (QByteArray(version) == "2.0" || QByteArray(version) == "4.0")
                files.insert(Settings, QByteArray("settings of ") + version);
            offer(Offer{7, QLatin1String(version)}
                      .bringing(files)
                      .keeping({Settings})
                      .removing({"plugin"_s}));
        }
        QVERIFY(refresh());
    }

    bool edit(const QByteArray &content) { return writeFile(settingsPath(), content); }
    bool install(const char *version) { return installAndWait(7, QLatin1String(version)); }
    /// Replaces the archive of a version and returns the previous one.
    QByteArray exchange(const char *version, const QByteArray &body)
    {
        return std::exchange(archive(7, QLatin1String(version)).body, body);
    }

    QString settingsPath() const { return simulator(Settings); }
    QByteArray settings() const { return readFile(settingsPath()); }
    QString keptPath() const { return preserved(Settings); }
    QByteArray kept() const { return readFile(keptPath()); }
};

KAVO_TEST_MAIN(KeptFilesTest)
#include "KeptFilesTest.moc"
