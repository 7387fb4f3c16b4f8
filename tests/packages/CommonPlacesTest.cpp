#include "packages/installation/CommonPlaces.h"
#include "packages/installation/PackageFiles.h"
#include "tests/packages/MakePackage.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScratchProfile.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFileInfo>
#include <QTest>

#include <memory>

using namespace Kavo::Models;
using namespace Kavo::Testing;

/// Applies rules that name common folders and files to a simulator that has all of them.
class CommonPlacesTest final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_profile = std::make_unique<ScratchProfile>();
        for (const QString &place : Kavo::commonPlaces()) {
            if (place != "X-Plane-x86_64"_s)
                QVERIFY(writeFile(simulator(place + "/mine/file.txt"_s), "mine"));
        }
        QVERIFY(writeFile(simulator("X-Plane-x86_64"_s), "simulator"));
        QVERIFY(QFile::link(".."_s, simulator("Output/up"_s)));
        m_before = fileTree(m_profile->simulatorFolder());
    }

    void cleanup() { m_profile.reset(); }

    void removalOfACommonPlaceIsRefused_data()
    {
        QTest::addColumn<QString>("entry");
        for (const QString &place : Kavo::commonPlaces()) {
            QTest::newRow(qPrintable(place)) << place;
            QTest::newRow(qPrintable(place + " in lower case"_s)) << place.toLower();
            QTest::newRow(qPrintable(place + " with more slashes"_s)) << ".//"_s + place + "//"_s;
            QTest::newRow(qPrintable(place + " by a link"_s)) << "Output/up/"_s + place;
        }
        QTest::newRow("by a detour") << "Resources/plugins/../../Custom Scenery"_s;
        QTest::newRow("in mixed case") << "RESOURCES/Plugins"_s;
    }
    void removalOfACommonPlaceIsRefused()
    {
        QFETCH(QString, entry);
        PackageVersion version;
        version.uninstall->remove = QStringList{entry};
        const LogCapture log;
        files(version).remove();
        QCOMPARE(fileTree(m_profile->simulatorFolder()), m_before);
        QVERIFY(log.contains("Skipping path : "_s + entry));
    }

    void whatLiesInACommonPlaceMayGo()
    {
        PackageVersion version;
        version.uninstall->remove =
            QStringList{"Custom Scenery/mine"_s, "Resources/plugins/mine"_s};
        files(version).remove();
        for (const QString &entry : version.uninstall->remove)
            QVERIFY(!QFileInfo::exists(simulator(entry)));
        QVERIFY(QFileInfo(simulator("Custom Scenery"_s)).isDir());
    }

    void executableIsNeitherKeptNorBackedUp()
    {
        PackageVersion version;
        const QStringList executable{"x-plane-X86_64"_s, "X-Plane-x86_64"_s};
        version.install->preserve = executable;
        version.install->backup = executable;
        files(version).secure();
        for (const QString &folder : {m_profile->preserveFolder(), m_profile->backupFolder()})
            QVERIFY(!QFileInfo::exists(folder + "X-Plane-x86_64"_s));
    }

    void linkToACommonPlaceMayGo()
    {
        QVERIFY(QFile::link("../Resources"_s, simulator("Output/link"_s)));
        PackageVersion version;
        version.uninstall->remove = QStringList{"Output/link"_s};
        files(version).remove();
        QVERIFY(!QFileInfo(simulator("Output/link"_s)).isSymLink());
        QVERIFY(QFileInfo::exists(simulator("Resources/mine/file.txt"_s)));
    }

private:
    QString simulator(const QString &path) const { return m_profile->simulatorFolder() + path; }

    PackageFiles files(const PackageVersion &version) const
    {
        return PackageFiles(
            {m_profile->simulatorFolder(), m_profile->preserveFolder(), m_profile->backupFolder()},
            version);
    }

    std::unique_ptr<ScratchProfile> m_profile;
    FileTree m_before;
};

KAVO_TEST_MAIN(CommonPlacesTest)
#include "CommonPlacesTest.moc"
