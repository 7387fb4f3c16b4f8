#include "packages/installation/CommonPlaces.h"
#include "packages/installation/PackageFiles.h"
#include "tests/packages/MakePackage.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Rows.h"
#include "tests/support/ScratchProfile.h"
#include "tests/support/TestMain.h"

#include <QFileInfo>

#include <memory>

using namespace Kavo::Models;
using namespace Kavo::Testing;

/// Applies rules of add-ons that name common places to a simulator that has all of these places.
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
        Rows<QString> rows;
        for (const QString &place : Kavo::commonPlaces()) {
            const QByteArray name = place.toUtf8();
            rows.row(name, place)
                .row(name + " in lower case", place.toLower())
                .row(name + " with more slashes", ".//"_s + place + "//"_s)
                .row(name + " by a link", "Output/up/"_s + place);
        }
        rows.row("by a detour", "Resources/plugins/../../Custom Scenery")
            .row("in mixed case", "RESOURCES/Plugins");
    }
    void removalOfACommonPlaceIsRefused()
    {
        const auto [entry] = Rows<QString>::current();
        const LogCapture log;
        remove({entry});
        QCOMPARE(fileTree(m_profile->simulatorFolder()), m_before);
        QVERIFY(log.contains("Skipping path : "_s + entry));
    }

    void entriesInACommonPlaceMayBeRemoved()
    {
        const QStringList entries{"Custom Scenery/mine"_s, "Resources/plugins/mine"_s};
        remove(entries);
        for (const QString &entry : entries)
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

    void linkToACommonPlaceMayBeRemoved()
    {
        QVERIFY(QFile::link("../Resources"_s, simulator("Output/link"_s)));
        remove({"Output/link"_s});
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

    void remove(const QStringList &entries) const
    {
        PackageVersion version;
        version.uninstall->remove = entries;
        files(version).remove();
    }

    std::unique_ptr<ScratchProfile> m_profile;
    FileTree m_before;
};

KAVO_TEST_MAIN(CommonPlacesTest)
#include "CommonPlacesTest.moc"
