#include "tests/packages/Engine.h"
#include "tests/support/TestMain.h"

#include <QFile>
#include <QTest>

#include <memory>
#include <utility>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

const QString Settings = QStringLiteral("plugin/settings.ini");

} // namespace

/// What becomes of a file that the user edits between installations, some of which bring one of
/// their own.
class KeptFilesTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_engine.reset(); }

    void latestEditCounts();
    void copyOfAFailedInstallationComesBack();
    void failureAfterASettledCopyKeepsTheLatestEdit();
    void filesOfArchivesNeverReplaceTheUsers();
    void copyComesBackAfterARemoval();

private:
    bool edit(const QByteArray &content) { return writeFile(settingsPath(), content); }
    bool install(const char *version)
    {
        return m_engine->installAndWait(7, QLatin1String(version));
    }
    /// The archive of a version gets another body; returns the one before.
    QByteArray exchange(const char *version, const QByteArray &body);
    QString settingsPath() const { return m_engine->simulator(Settings); }
    QByteArray settings() const { return readFile(settingsPath()); }
    QString keptPath() const { return m_engine->profile().preserveFolder() + Settings; }
    QByteArray kept() const { return readFile(keptPath()); }

    std::unique_ptr<Engine> m_engine;
};

void KeptFilesTest::init()
{
    m_engine = std::make_unique<Engine>();
    // Every other version brings settings.
    for (const char *version : {"1.0", "2.0", "3.0", "4.0"}) {
        Offer offer{7, QLatin1String(version)};
        offer.files = {{QStringLiteral("plugin/plugin.xpl"), version}};
        if (QByteArray(version) == "2.0" || QByteArray(version) == "4.0")
            offer.files.insert(Settings, QByteArray("settings of ") + version);
        offer.preserve = QStringList{Settings};
        offer.remove = QStringList{QStringLiteral("plugin")};
        m_engine->offer(offer);
    }
    QVERIFY(m_engine->refresh());
}

QByteArray KeptFilesTest::exchange(const char *version, const QByteArray &body)
{
    HttpResource &archive = m_engine->server().resource(
        QStringLiteral("/package-7-%1.zip").arg(QLatin1String(version)));
    return std::exchange(archive.body, body);
}

void KeptFilesTest::latestEditCounts()
{
    QVERIFY(install("1.0"));
    QVERIFY(edit("first"));
    QVERIFY(install("2.0"));
    QCOMPARE(settings(), QByteArray("settings of 2.0"));
    QCOMPARE(kept(), QByteArray("first"));
    QVERIFY(edit("second"));
    QVERIFY(install("3.0"));
    QCOMPARE(settings(), QByteArray("second"));
    QCOMPARE(filesUnder(m_engine->profile().preserveFolder()), QStringList());
    // And once more, with a settled copy that is replaced by one that settles.
    QVERIFY(install("4.0"));
    QCOMPARE(kept(), QByteArray("second"));
    QVERIFY(edit("third"));
    QVERIFY(install("2.0"));
    QCOMPARE(kept(), QByteArray("third"));
    QVERIFY(edit("fourth"));
    QVERIFY(install("1.0"));
    QCOMPARE(settings(), QByteArray("fourth"));
}

void KeptFilesTest::copyOfAFailedInstallationComesBack()
{
    QVERIFY(install("1.0"));
    QVERIFY(edit("user's"));
    const QByteArray broken =
        damagedArchiveOf({{QStringLiteral("plugin/settings.ini"), "settings of the archive"}});
    const QByteArray sound = exchange("3.0", broken);
    for (int attempt = 0; attempt < 2; ++attempt) {
        QVERIFY(!install("3.0"));
        QCOMPARE(m_engine->package(7)->state(), Package::INSTALL_ERROR);
        // What was unpacked is gone again.
        QCOMPARE(settings(), QByteArray());
        QCOMPARE(kept(), QByteArray("user's"));
        QVERIFY(m_engine->refresh());
    }
    exchange("3.0", sound);
    QVERIFY(install("3.0"));
    QCOMPARE(settings(), QByteArray("user's"));
    QVERIFY(!QFile::exists(keptPath()));
}

void KeptFilesTest::failureAfterASettledCopyKeepsTheLatestEdit()
{
    QVERIFY(install("1.0"));
    QVERIFY(edit("first"));
    QVERIFY(install("2.0"));
    QVERIFY(edit("second"));
    const QByteArray sound = exchange("3.0", damagedArchiveOf({}));
    QVERIFY(!install("3.0"));
    QCOMPARE(kept(), QByteArray("second"));
    QVERIFY(edit("written by something that found no settings"));
    QVERIFY(m_engine->refresh());
    exchange("3.0", sound);
    QVERIFY(install("3.0"));
    QCOMPARE(settings(), QByteArray("second"));
}

// Fixed, see docs/compatibility.md.
void KeptFilesTest::filesOfArchivesNeverReplaceTheUsers()
{
    QVERIFY(install("1.0"));
    QVERIFY(edit("user's"));
    for (const char *version : {"2.0", "2.0", "4.0", "2.0"}) {
        QVERIFY(install(version));
        QCOMPARE(settings(), QByteArray("settings of ") + version);
        QCOMPARE(kept(), QByteArray("user's"));
    }
    QVERIFY(install("3.0"));
    QCOMPARE(settings(), QByteArray("user's"));
}

void KeptFilesTest::copyComesBackAfterARemoval()
{
    QVERIFY(install("1.0"));
    QVERIFY(edit("user's"));
    QVERIFY(install("2.0"));
    m_engine->controller().uninstall(m_engine->package(7));
    QCOMPARE(kept(), QByteArray("user's"));
    QVERIFY(install("3.0"));
    QCOMPARE(settings(), QByteArray("user's"));
    QCOMPARE(filesUnder(m_engine->profile().preserveFolder()), QStringList());
}

KAVO_TEST_MAIN(KeptFilesTest)
#include "KeptFilesTest.moc"
