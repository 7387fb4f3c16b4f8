#include "core/Settings.h"
#include "tests/packages/Engine.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <memory>

using namespace Kavo;
using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

const QString Lights = QStringLiteral("Resources/lights.txt");
const QString Preferences = QStringLiteral("plugin/settings.ini");

} // namespace

/// Whose a kept copy or a backup is: it returns to the simulator it is from, to the user who has
/// put another folder into the settings, and when the last add-on that needs it goes.
class OwnedCopiesTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_engine.reset(); }

    void eachSimulatorGetsItsOwnOriginalBack();
    void eachSimulatorGetsItsOwnSettingsBack();

private:
    /// The next start of the program, with another folder in the settings. A new simulator means
    /// a new database.
    bool restartWith(Settings::Key key, const QString &folder);
    QString simulator(const QString &path) const
    {
        return m_engine->settings()->current(Settings::INSTALLATION) + path;
    }
    QMap<QString, QString> tree() const { return fileTree(simulator({})); }
    /// The files of the two folders for copies without the program's marks.
    QStringList copies() const;
    void uninstall(int id) { m_engine->controller().uninstall(m_engine->package(id)); }

    std::unique_ptr<Engine> m_engine;
    QString m_eleven;
    QString m_twelve;
};

void OwnedCopiesTest::init()
{
    m_engine = std::make_unique<Engine>();
    m_eleven = m_engine->profile().simulatorFolder();
    m_twelve = m_engine->profile().folder(QStringLiteral("home/X-Plane 12"));
    QVERIFY(writeFile(m_eleven + Lights, "lights of 11"));
    QVERIFY(writeFile(m_twelve + Lights, "lights of 12"));
    QVERIFY(QFile::copy(m_eleven + QStringLiteral("X-Plane-x86_64"),
                        m_twelve + QStringLiteral("X-Plane-x86_64")));
    // The second version brings settings of its own.
    for (const char *version : {"1.0", "2.0"}) {
        Offer offer{7, QLatin1String(version)};
        offer.files = {{QStringLiteral("plugin/plugin.xpl"), version},
                       {Lights, QByteArray("lights of add-on ") + version}};
        if (QByteArray(version) == "2.0")
            offer.files.insert(Preferences, "settings of the add-on");
        offer.preserve = QStringList{Preferences};
        offer.backup = QStringList{Lights};
        offer.remove = QStringList{QStringLiteral("plugin"), Lights};
        m_engine->offer(offer);
    }
    QVERIFY(m_engine->refresh());
}

bool OwnedCopiesTest::restartWith(Settings::Key key, const QString &folder)
{
    if (key == Settings::INSTALLATION)
        m_engine->controller().reset();
    m_engine->settings()->setPending(key, folder);
    m_engine->settings()->commit();
    m_engine->stop();
    return m_engine->refresh();
}

QStringList OwnedCopiesTest::copies() const
{
    return unmarkedFilesUnder(m_engine->profile().preserveFolder()) +
           unmarkedFilesUnder(m_engine->profile().backupFolder());
}

void OwnedCopiesTest::eachSimulatorGetsItsOwnOriginalBack()
{
    const auto eleven = fileTree(m_eleven);
    const auto twelve = fileTree(m_twelve);
    const QString backup = m_engine->profile().backupFolder() + Lights;
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    QCOMPARE(readFile(backup), QByteArray("lights of 11"));
    QVERIFY(restartWith(Settings::INSTALLATION, m_twelve));
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    QCOMPARE(readFile(backup), QByteArray("lights of 12"));
    uninstall(7);
    QCOMPARE(tree(), twelve);
    QVERIFY(restartWith(Settings::INSTALLATION, m_eleven));
    QCOMPARE(readFile(m_eleven + Lights), QByteArray("lights of add-on 1.0"));
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    QCOMPARE(readFile(backup), QByteArray("lights of 11"));
    uninstall(7);
    QCOMPARE(tree(), eleven);
    QCOMPARE(fileTree(m_twelve), twelve);
    QCOMPARE(copies(), QStringList());
}

void OwnedCopiesTest::eachSimulatorGetsItsOwnSettingsBack()
{
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    QVERIFY(writeFile(m_eleven + Preferences, "settings for 11"));
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("2.0")));
    QVERIFY(restartWith(Settings::INSTALLATION, m_twelve));
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    QVERIFY(!QFile::exists(m_twelve + Preferences));
    QVERIFY(writeFile(m_twelve + Preferences, "settings for 12"));
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("2.0")));
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    QCOMPARE(readFile(m_twelve + Preferences), QByteArray("settings for 12"));
    QVERIFY(restartWith(Settings::INSTALLATION, m_eleven));
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    QCOMPARE(readFile(m_eleven + Preferences), QByteArray("settings for 11"));
    QCOMPARE(readFile(m_twelve + Preferences), QByteArray("settings for 12"));
}

KAVO_TEST_MAIN(OwnedCopiesTest)
#include "OwnedCopiesTest.moc"
