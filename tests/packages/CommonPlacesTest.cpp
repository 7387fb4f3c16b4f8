#include "packages/installation/CommonPlaces.h"
#include "packages/installation/PackageFiles.h"
#include "tests/packages/MakePackage.h"
#include "tests/support/Archives.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScratchProfile.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFileInfo>
#include <QTest>

#include <memory>

using namespace Kavo::Models;
using namespace Kavo::Testing;

/// Rules that name what is everybody's, against a simulator's folder that has all of it.
class CommonPlacesTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_profile.reset(); }

    void removalOfACommonPlaceIsRefused_data();
    void removalOfACommonPlaceIsRefused();
    void whatLiesInACommonPlaceMayGo();
    void executableIsNeitherKeptNorBackedUp();
    void linkToACommonPlaceMayGo();

private:
    QString simulator(const QString &path) const { return m_profile->simulatorFolder() + path; }
    PackageFiles files(const PackageVersion &version) const;

    std::unique_ptr<ScratchProfile> m_profile;
    QMap<QString, QString> m_before;
};

void CommonPlacesTest::init()
{
    m_profile = std::make_unique<ScratchProfile>();
    for (const QString &place : Kavo::commonPlaces()) {
        if (place != QLatin1String("X-Plane-x86_64"))
            QVERIFY(writeFile(simulator(place + QStringLiteral("/mine/file.txt")), "mine"));
    }
    QVERIFY(writeFile(simulator(QStringLiteral("X-Plane-x86_64")), "simulator"));
    QVERIFY(QFile::link(QStringLiteral(".."), simulator(QStringLiteral("Output/up"))));
    m_before = fileTree(m_profile->simulatorFolder());
}

PackageFiles CommonPlacesTest::files(const PackageVersion &version) const
{
    return PackageFiles(
        {m_profile->simulatorFolder(), m_profile->preserveFolder(), m_profile->backupFolder()},
        version);
}

void CommonPlacesTest::removalOfACommonPlaceIsRefused_data()
{
    QTest::addColumn<QString>("entry");
    for (const QString &place : Kavo::commonPlaces()) {
        QTest::newRow(qPrintable(place)) << place;
        QTest::newRow(qPrintable(place + QStringLiteral(" in lower case"))) << place.toLower();
        QTest::newRow(qPrintable(place + QStringLiteral(" with more slashes")))
            << QStringLiteral(".//") + place + QStringLiteral("//");
        QTest::newRow(qPrintable(place + QStringLiteral(" by a link")))
            << QStringLiteral("Output/up/") + place;
    }
    QTest::newRow("by a detour") << QStringLiteral("Resources/plugins/../../Custom Scenery");
    QTest::newRow("in mixed case") << QStringLiteral("RESOURCES/Plugins");
}

void CommonPlacesTest::removalOfACommonPlaceIsRefused()
{
    QFETCH(QString, entry);
    PackageVersion version;
    version.uninstall->remove = QStringList{entry};
    const LogCapture log;
    files(version).remove();
    QCOMPARE(fileTree(m_profile->simulatorFolder()), m_before);
    QVERIFY(log.contains(QStringLiteral("Skipping path : ") + entry));
}

void CommonPlacesTest::whatLiesInACommonPlaceMayGo()
{
    PackageVersion version;
    version.uninstall->remove = QStringList{QStringLiteral("Custom Scenery/mine"),
                                            QStringLiteral("Resources/plugins/mine")};
    files(version).remove();
    for (const QString &entry : version.uninstall->remove)
        QVERIFY(!QFileInfo::exists(simulator(entry)));
    QVERIFY(QFileInfo(simulator(QStringLiteral("Custom Scenery"))).isDir());
}

void CommonPlacesTest::executableIsNeitherKeptNorBackedUp()
{
    PackageVersion version;
    const QStringList executable{QStringLiteral("x-plane-X86_64"),
                                 QStringLiteral("X-Plane-x86_64")};
    version.install->preserve = executable;
    version.install->backup = executable;
    files(version).secure();
    for (const QString &folder : {m_profile->preserveFolder(), m_profile->backupFolder()})
        QVERIFY(!QFileInfo::exists(folder + QStringLiteral("X-Plane-x86_64")));
}

void CommonPlacesTest::linkToACommonPlaceMayGo()
{
    QVERIFY(QFile::link(QStringLiteral("../Resources"), simulator(QStringLiteral("Output/link"))));
    PackageVersion version;
    version.uninstall->remove = QStringList{QStringLiteral("Output/link")};
    files(version).remove();
    QVERIFY(!QFileInfo(simulator(QStringLiteral("Output/link"))).isSymLink());
    QVERIFY(QFileInfo::exists(simulator(QStringLiteral("Resources/mine/file.txt"))));
}

KAVO_TEST_MAIN(CommonPlacesTest)
#include "CommonPlacesTest.moc"
