#include "packages/installation/Dependencies.h"
#include "tests/packages/MakePackage.h"
#include "tests/support/ScratchProfile.h"
#include "tests/support/TestMain.h"

#include <QTest>

#include <memory>

using namespace Kavo::Models;
using Kavo::Testing::makePackage;
using Kavo::Testing::makeVersion;
using Kavo::Testing::ScratchProfile;

namespace {

QVector<int> idsOf(const PackageList &packages)
{
    QVector<int> ids;
    for (const PackagePointer &package : packages)
        ids.append(package->id());
    return ids;
}

} // namespace

class DependenciesTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void resolvedComeInCatalogueOrder();
    void missingIdOrTooOldOfferIsNotResolved();
    void packageWithoutVersionsResolvesNothing();
    void resolvedAreThoseOfTheChosenVersion();
    void dependentsAreInstalledPackagesThatNameThePackage();
    void dependentsOfAnOlderVersionNeedANewerOne();
    void dependentsFollowTheInstalledVersionsEntries();
    void packageWithoutDependentsHasNone();
    void packageDoesNotDependOnItself();
    void missingDependencyIsInstalledAlong();
    void tooOldDependencyIsUpgradedByNumbers();
    void goodEnoughDependencyIsLeftAlone();
    void dependencyAtWorkOrFailedIsLeftAlone();
    void unknownDependencyIsSkipped();

private:
    PackagePointer add(const PackagePointer &package);
    void markInstalled(const PackagePointer &package, const QString &version);
    PackagePointer addDependent(const QString &entry);

    std::unique_ptr<ScratchProfile> m_profile;
    std::unique_ptr<InstalledPackageDatabase> m_database;
    std::unique_ptr<Catalogue> m_catalogue;
    std::unique_ptr<Dependencies> m_dependencies;
};

void DependenciesTest::init()
{
    m_profile = std::make_unique<ScratchProfile>();
    m_database = std::make_unique<InstalledPackageDatabase>(m_profile->simulatorFolder());
    m_database->open();
    m_catalogue = std::make_unique<Catalogue>();
    m_dependencies = std::make_unique<Dependencies>(*m_catalogue, *m_database);
}

void DependenciesTest::cleanup()
{
    m_dependencies.reset();
    m_catalogue.reset();
    m_database.reset();
    m_profile.reset();
}

PackagePointer DependenciesTest::add(const PackagePointer &package)
{
    PackageList packages = m_catalogue->packages();
    packages.append(package);
    m_catalogue->replace(packages);
    return package;
}

void DependenciesTest::markInstalled(const PackagePointer &package, const QString &version)
{
    package->setState(Package::INSTALLED);
    m_database->record(*package, version);
}

/// A package 9 whose only version depends on one entry.
PackagePointer DependenciesTest::addDependent(const QString &entry)
{
    return add(makePackage(9, {makeVersion(QStringLiteral("1.0"), {entry})}));
}

void DependenciesTest::resolvedComeInCatalogueOrder()
{
    add(makePackage(3, {makeVersion(QStringLiteral("1.0"))}));
    add(makePackage(2, {makeVersion(QStringLiteral("1.0"))}));
    const PackagePointer package = add(makePackage(
        9, {makeVersion(QStringLiteral("1.0"), {QStringLiteral("2"), QStringLiteral("3:1.0")})}));
    QCOMPARE(idsOf(m_dependencies->resolved(*package, QString())), (QVector<int>{3, 2}));
}

void DependenciesTest::missingIdOrTooOldOfferIsNotResolved()
{
    add(makePackage(2, {makeVersion(QStringLiteral("1.2"))}));
    const PackagePointer package = add(makePackage(
        9, {makeVersion(QStringLiteral("1.0"), {QStringLiteral("2:1.10"), QStringLiteral("77")})}));
    QVERIFY(m_dependencies->resolved(*package, QString()).isEmpty());
}

void DependenciesTest::packageWithoutVersionsResolvesNothing()
{
    add(makePackage(2, {}));
    QVERIFY(m_dependencies->resolved(*addDependent(QStringLiteral("2")), QString()).isEmpty());
    QVERIFY(m_dependencies->resolved(*makePackage(5, {}), QString()).isEmpty());
}

void DependenciesTest::resolvedAreThoseOfTheChosenVersion()
{
    add(makePackage(2, {makeVersion(QStringLiteral("1.0"))}));
    const PackagePointer package =
        add(makePackage(9, {makeVersion(QStringLiteral("2.0")),
                            makeVersion(QStringLiteral("1.0"), {QStringLiteral("2")})}));
    QVERIFY(m_dependencies->resolved(*package, QString()).isEmpty());
    QCOMPARE(idsOf(m_dependencies->resolved(*package, QStringLiteral("1.0"))), QVector<int>{2});
}

void DependenciesTest::dependentsAreInstalledPackagesThatNameThePackage()
{
    const PackagePointer library = add(makePackage(1, {makeVersion(QStringLiteral("2.0"))}));
    const PackagePointer dependent = addDependent(QStringLiteral("1:1.0"));
    QVERIFY(m_dependencies->dependents(*library, QString()).isEmpty());
    markInstalled(dependent, QStringLiteral("1.0"));
    QCOMPARE(idsOf(m_dependencies->dependents(*library, QString())), QVector<int>{9});
}

void DependenciesTest::dependentsOfAnOlderVersionNeedANewerOne()
{
    const PackagePointer library = add(makePackage(1, {makeVersion(QStringLiteral("2.0"))}));
    markInstalled(addDependent(QStringLiteral("1:1.10")), QStringLiteral("1.0"));
    QCOMPARE(idsOf(m_dependencies->dependents(*library, QStringLiteral("1.9"))), QVector<int>{9});
    QVERIFY(m_dependencies->dependents(*library, QStringLiteral("1.10")).isEmpty());
}

void DependenciesTest::dependentsFollowTheInstalledVersionsEntries()
{
    const PackagePointer library = add(makePackage(1, {makeVersion(QStringLiteral("2.0"))}));
    const PackagePointer package =
        add(makePackage(9, {makeVersion(QStringLiteral("2.0"), {QStringLiteral("1")}),
                            makeVersion(QStringLiteral("1.0"))}));
    markInstalled(package, QStringLiteral("1.0"));
    QVERIFY(m_dependencies->dependents(*library, QString()).isEmpty());
    // A version that is not on offer counts as the newest.
    markInstalled(package, QStringLiteral("0.5"));
    QCOMPARE(idsOf(m_dependencies->dependents(*library, QString())), QVector<int>{9});
}

void DependenciesTest::packageWithoutDependentsHasNone()
{
    const PackagePointer library = add(makePackage(1, {makeVersion(QStringLiteral("2.0"))}));
    QVERIFY(m_dependencies->dependents(*library, QString()).isEmpty());
}

void DependenciesTest::packageDoesNotDependOnItself()
{
    const PackagePointer package = addDependent(QStringLiteral("9"));
    markInstalled(package, QStringLiteral("1.0"));
    QVERIFY(m_dependencies->dependents(*package, QString()).isEmpty());
}

void DependenciesTest::missingDependencyIsInstalledAlong()
{
    add(makePackage(1, {makeVersion(QStringLiteral("0.1"))}));
    // The minimum decides only whether to act, never which version is installed.
    const PackagePointer package = addDependent(QStringLiteral("1:5.0"));
    QCOMPARE(idsOf(m_dependencies->toInstallWith(*package, QString())), QVector<int>{1});
}

// Fixed, see docs/compatibility.md.
void DependenciesTest::tooOldDependencyIsUpgradedByNumbers()
{
    const PackagePointer library = add(makePackage(1, {makeVersion(QStringLiteral("3.0"))}));
    markInstalled(library, QStringLiteral("1.2"));
    const PackagePointer package = addDependent(QStringLiteral("1:1.10"));
    QCOMPARE(idsOf(m_dependencies->toInstallWith(*package, QString())), QVector<int>{1});
}

void DependenciesTest::goodEnoughDependencyIsLeftAlone()
{
    const PackagePointer library = add(makePackage(1, {makeVersion(QStringLiteral("3.0"))}));
    markInstalled(library, QStringLiteral("1.10"));
    QVERIFY(
        m_dependencies->toInstallWith(*addDependent(QStringLiteral("1:1.2")), QString()).isEmpty());
}

void DependenciesTest::dependencyAtWorkOrFailedIsLeftAlone()
{
    const PackagePointer library = add(makePackage(1, {makeVersion(QStringLiteral("3.0"))}));
    const PackagePointer package = addDependent(QStringLiteral("1"));
    for (const Package::State state :
         {Package::PREPARING, Package::DOWNLOADING, Package::INSTALLING, Package::UNINSTALLING,
          Package::INSTALL_ERROR, Package::DOWNLOAD_ERROR, Package::DEPENDENCY_ERROR}) {
        library->setState(state);
        QVERIFY(m_dependencies->toInstallWith(*package, QString()).isEmpty());
    }
}

void DependenciesTest::unknownDependencyIsSkipped()
{
    QVERIFY(
        m_dependencies->toInstallWith(*addDependent(QStringLiteral("77")), QString()).isEmpty());
}

KAVO_TEST_MAIN(DependenciesTest)
#include "DependenciesTest.moc"
