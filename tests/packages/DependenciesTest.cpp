#include "packages/installation/Dependencies.h"
#include "tests/packages/MakePackage.h"
#include "tests/support/ScratchProfile.h"
#include "tests/support/TestMain.h"

#include <optional>

using namespace Kavo::Models;
using namespace Kavo::Testing;

using Ids = QVector<int>;

class DependenciesTest final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_profile.emplace();
        m_database.emplace(m_profile->simulatorFolder());
        m_database->open();
        m_catalogue.emplace();
        m_dependencies.emplace(*m_catalogue, *m_database);
    }

    void cleanup()
    {
        m_dependencies.reset();
        m_catalogue.reset();
        m_database.reset();
        m_profile.reset();
    }

    void resolvedComeInCatalogueOrder()
    {
        add(3, "1.0"_s);
        add(2, "1.0"_s);
        QCOMPARE(resolved(*add(9, "1.0"_s, {"2"_s, "3:1.0"_s})), (Ids{3, 2}));
    }

    void missingIdOrTooOldOfferIsNotResolved()
    {
        add(2, "1.2"_s);
        QCOMPARE(resolved(*add(9, "1.0"_s, {"2:1.10"_s, "77"_s})), Ids());
    }

    void packageWithoutVersionsResolvesNothing()
    {
        addPackage(makePackage(2, {}));
        QCOMPARE(resolved(*add(9, "1.0"_s, {"2"_s})), Ids());
        QCOMPARE(resolved(*makePackage(5, {})), Ids());
    }

    void resolvedAreThoseOfTheChosenVersion()
    {
        add(2, "1.0"_s);
        const PackagePointer package =
            addPackage(makePackage(9, {makeVersion("2.0"_s), makeVersion("1.0"_s, {"2"_s})}));
        QCOMPARE(resolved(*package), Ids());
        QCOMPARE(resolved(*package, "1.0"_s), Ids{2});
    }

    void dependentsAreInstalledPackagesThatNameThePackage()
    {
        const PackagePointer library = add(1, "2.0"_s);
        QCOMPARE(dependents(*library), Ids());
        const PackagePointer dependent = add(9, "1.0"_s, {"1:1.0"_s});
        QCOMPARE(dependents(*library), Ids());
        markInstalled(dependent, "1.0"_s);
        QCOMPARE(dependents(*library), Ids{9});
    }

    void dependentsOfAnOlderVersionNeedANewerOne()
    {
        const PackagePointer library = add(1, "2.0"_s);
        markInstalled(add(9, "1.0"_s, {"1:1.10"_s}), "1.0"_s);
        QCOMPARE(dependents(*library, "1.9"_s), Ids{9});
        QCOMPARE(dependents(*library, "1.10"_s), Ids());
    }

    void dependentsFollowTheInstalledVersionsEntries()
    {
        const PackagePointer library = add(1, "2.0"_s);
        const PackagePointer package =
            addPackage(makePackage(9, {makeVersion("2.0"_s, {"1"_s}), makeVersion("1.0"_s)}));
        markInstalled(package, "1.0"_s);
        QCOMPARE(dependents(*library), Ids());
        // If the installed version is not in the catalogue, the newest version's entries count.
        markInstalled(package, "0.5"_s);
        QCOMPARE(dependents(*library), Ids{9});
    }

    void packageDoesNotDependOnItself()
    {
        const PackagePointer package = add(9, "1.0"_s, {"9"_s});
        markInstalled(package, "1.0"_s);
        QCOMPARE(dependents(*package), Ids());
    }

    void missingDependencyIsInstalledAlong()
    {
        // Only an installed version is compared with the minimum version, not the offered one.
        add(1, "0.1"_s);
        QCOMPARE(installedWith({"1:5.0"_s}), Ids{1});
    }

    // Fixed, see docs/compatibility.md.
    void tooOldDependencyIsUpgradedByNumbers()
    {
        markInstalled(add(1, "3.0"_s), "1.2"_s);
        QCOMPARE(installedWith({"1:1.10"_s}), Ids{1});
    }

    void goodEnoughDependencyIsLeftAlone()
    {
        markInstalled(add(1, "3.0"_s), "1.10"_s);
        QCOMPARE(installedWith({"1:1.2"_s}), Ids());
    }

    void dependencyAtWorkOrFailedIsLeftAlone()
    {
        const PackagePointer library = add(1, "3.0"_s);
        for (const Package::State state :
             {Package::PREPARING, Package::DOWNLOADING, Package::INSTALLING, Package::UNINSTALLING,
              Package::INSTALL_ERROR, Package::DOWNLOAD_ERROR, Package::DEPENDENCY_ERROR}) {
            library->setState(state);
            QCOMPARE(installedWith({"1"_s}), Ids());
        }
    }

    void unknownDependencyIsSkipped() { QCOMPARE(installedWith({"77"_s}), Ids()); }

private:
    PackagePointer addPackage(const PackagePointer &package)
    {
        m_catalogue->replace(m_catalogue->packages() + PackageList{package});
        return package;
    }
    /// Adds a package with one version to the catalogue.
    PackagePointer add(int id, const QString &version, const QStringList &depends = {})
    {
        return addPackage(makePackage(id, {makeVersion(version, depends)}));
    }
    void markInstalled(const PackagePointer &package, const QString &version)
    {
        package->setState(Package::INSTALLED);
        m_database->record(*package, version);
    }

    static Ids idsOf(const PackageList &packages)
    {
        Ids ids;
        for (const PackagePointer &package : packages)
            ids.append(package->id());
        return ids;
    }
    Ids resolved(const Package &package, const QString &version = {}) const
    {
        return idsOf(m_dependencies->resolved(package, version));
    }
    Ids dependents(const Package &package, const QString &version = {}) const
    {
        return idsOf(m_dependencies->dependents(package, version));
    }
    /// The ids of the packages that are installed together with one that has these entries.
    Ids installedWith(const QStringList &depends) const
    {
        const auto package = makePackage(9, {makeVersion("1.0"_s, depends)});
        return idsOf(m_dependencies->toInstallWith(*package, QString()));
    }

    std::optional<ScratchProfile> m_profile;
    std::optional<InstalledPackageDatabase> m_database;
    std::optional<Catalogue> m_catalogue;
    std::optional<Dependencies> m_dependencies;
};

KAVO_TEST_MAIN(DependenciesTest)
#include "DependenciesTest.moc"
