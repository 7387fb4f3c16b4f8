#include "packages/model/Package.h"
#include "tests/packages/MakePackage.h"

#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <QtConcurrent>

using namespace Kavo::Models;
using Kavo::Testing::makeVersion;

namespace {

QVector<PackageVersionPointer> makeVersions(const QStringList &texts)
{
    QVector<PackageVersionPointer> versions;
    for (const QString &text : texts)
        versions.append(makeVersion(text));
    return versions;
}

QStringList textsOf(const QVector<PackageVersionPointer> &versions)
{
    QStringList texts;
    for (const PackageVersionPointer &version : versions)
        texts.append(version->version);
    return texts;
}

} // namespace

class PackageTest final : public QObject
{
    Q_OBJECT

private slots:
    void startsUnknownAndEmpty();
    void stateEnumerationHasItsFixedNamesAndValues();
    void signalsStandInTheirOrder();
    void sameStateTwiceIsAnnouncedOnce();
    void stateSetOnAWorkerReachesTheMainThread();
    void versionsSortNewestFirst_data();
    void versionsSortNewestFirst();
    void versionLookUpFallsBackToTheNewest();
    void packageWithoutVersionsHasNoNewest();
    void rulesAreSharedByCopiesOfAVersion();
    void outdatedness_data();
    void outdatedness();
    void busyStates();
    void updateRemainsAfterAnOlderVersionOnly_data();
    void updateRemainsAfterAnOlderVersionOnly();
};

void PackageTest::startsUnknownAndEmpty()
{
    const Package package;
    QCOMPARE(package.state(), Package::UNKNOWN);
    QCOMPARE(package.id(), 0);
    QCOMPARE(package.productId(), 0);
    QVERIFY(package.name().isEmpty());
    QVERIFY(package.versions().isEmpty());
    QVERIFY(package.banner().isEmpty());
    QVERIFY(!package.isUpdateAvailable());
}

// Fixed, see docs/compatibility.md.
void PackageTest::stateEnumerationHasItsFixedNamesAndValues()
{
    const QMetaEnum states = QMetaEnum::fromType<Package::State>();
    const QList<QByteArray> names{
        "AVAILABLE",    "INSTALLED",     "PREPARING",      "DOWNLOADING",      "INSTALLING",
        "UNINSTALLING", "INSTALL_ERROR", "DOWNLOAD_ERROR", "DEPENDENCY_ERROR", "UNKNOWN"};
    QCOMPARE(states.keyCount(), names.size());
    for (int value = 0; value < names.size(); ++value)
        QCOMPARE(QByteArray(states.valueToKey(value)), names.at(value));
}

// Fixed, see docs/compatibility.md.
void PackageTest::signalsStandInTheirOrder()
{
    const QMetaObject &meta = Package::staticMetaObject;
    QList<QByteArray> names;
    for (int index = meta.methodOffset(); index < meta.methodCount(); ++index)
        names.append(meta.method(index).name());
    const QList<QByteArray> expected{"stateChanged", "totalSize",        "downloadedSize",
                                     "error",        "downloadFinished", "installed"};
    QCOMPARE(names, expected);
}

void PackageTest::sameStateTwiceIsAnnouncedOnce()
{
    Package package;
    QSignalSpy spy(&package, &Package::stateChanged);
    package.setState(Package::AVAILABLE);
    package.setState(Package::AVAILABLE);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.first().first().value<Package::State>(), Package::AVAILABLE);
    package.setState(Package::INSTALLED);
    QCOMPARE(spy.count(), 2);
}

void PackageTest::stateSetOnAWorkerReachesTheMainThread()
{
    registerPackageState();
    Package package;
    QThread *receivedOn = nullptr;
    connect(&package, &Package::stateChanged, this,
            [&receivedOn] { receivedOn = QThread::currentThread(); });
    QtConcurrent::run([&package] { package.setState(Package::INSTALLED); }).waitForFinished();
    QCOMPARE(package.state(), Package::INSTALLED);
    QTRY_COMPARE(receivedOn, thread());
}

void PackageTest::versionsSortNewestFirst_data()
{
    QTest::addColumn<QStringList>("given");
    QTest::addColumn<QStringList>("sorted");
    QTest::newRow("numbers, not letters")
        << QStringList{QStringLiteral("1.2"), QStringLiteral("1.10"), QStringLiteral("1.9")}
        << QStringList{QStringLiteral("1.10"), QStringLiteral("1.9"), QStringLiteral("1.2")};
    QTest::newRow("more segments are newer")
        << QStringList{QStringLiteral("1"), QStringLiteral("1.0"), QStringLiteral("1.0.1")}
        << QStringList{QStringLiteral("1.0.1"), QStringLiteral("1.0"), QStringLiteral("1")};
    QTest::newRow("texts without numbers come last")
        << QStringList{QStringLiteral("beta"), QStringLiteral("0.1"), QString()}
        << QStringList{QStringLiteral("0.1"), QStringLiteral("beta"), QString()};
    QTest::newRow("equal numbers both stay")
        << QStringList{QStringLiteral("1.0-a"), QStringLiteral("2.0"), QStringLiteral("1.0-b")}
        << QStringList{QStringLiteral("2.0"), QStringLiteral("1.0-a"), QStringLiteral("1.0-b")};
    QTest::newRow("none") << QStringList() << QStringList();
}

void PackageTest::versionsSortNewestFirst()
{
    QFETCH(QStringList, given);
    QFETCH(QStringList, sorted);
    QVector<PackageVersionPointer> versions = makeVersions(given);
    sortNewestFirst(versions);
    QCOMPARE(textsOf(versions), sorted);
}

// Fixed, see docs/compatibility.md.
void PackageTest::versionLookUpFallsBackToTheNewest()
{
    Package package;
    package.setVersions(
        makeVersions({QStringLiteral("2.0"), QStringLiteral("1.0"), QStringLiteral("1.0.0")}));
    QCOMPARE(package.versionIndex(QStringLiteral("1.0")), 1);
    QCOMPARE(package.versionIndex(QStringLiteral("1.0.0")), 2);
    QCOMPARE(package.versionIndex(QStringLiteral("1")), 0);
    QCOMPARE(package.versionIndex(QString()), 0);
    QCOMPARE(package.findVersion(QStringLiteral("9"))->version, QStringLiteral("2.0"));
}

void PackageTest::packageWithoutVersionsHasNoNewest()
{
    const Package package;
    QCOMPARE(package.versionIndex(QStringLiteral("1.0")), 0);
    QVERIFY(package.findVersion(QString()).isNull());
    QVERIFY(package.newestVersion().isEmpty());
}

void PackageTest::rulesAreSharedByCopiesOfAVersion()
{
    const PackageVersion original;
    const PackageVersion copy = original; // NOLINT(performance-unnecessary-copy-initialization)
    original.install->extract = QStringLiteral("plugins");
    QCOMPARE(copy.install->extract, QStringLiteral("plugins"));
}

void PackageTest::outdatedness_data()
{
    QTest::addColumn<QString>("installed");
    QTest::addColumn<QString>("newest");
    QTest::addColumn<bool>("outdated");
    QTest::newRow("older") << "1.2"
                           << "1.10" << true;
    QTest::newRow("equal") << "1.10"
                           << "1.10" << false;
    QTest::newRow("newer than the catalogue") << "2.0"
                                              << "1.10" << false;
    QTest::newRow("installed without numbers") << "final"
                                               << "1.0" << true;
    QTest::newRow("newest without numbers") << "1.0"
                                            << "final" << false;
    QTest::newRow("both without numbers") << "first"
                                          << "final" << true;
}

void PackageTest::outdatedness()
{
    QFETCH(QString, installed);
    QFETCH(QString, newest);
    QFETCH(bool, outdated);
    QCOMPARE(isOutdated(installed, newest), outdated);
}

void PackageTest::busyStates()
{
    const QSet<int> busy{Package::PREPARING, Package::DOWNLOADING, Package::INSTALLING,
                         Package::UNINSTALLING};
    Package package;
    for (int state = Package::AVAILABLE; state <= Package::UNKNOWN; ++state) {
        package.setState(static_cast<Package::State>(state));
        QCOMPARE(package.isBusy(), busy.contains(state));
    }
}

void PackageTest::updateRemainsAfterAnOlderVersionOnly_data()
{
    QTest::addColumn<QStringList>("offered");
    QTest::addColumn<QString>("version");
    QTest::addColumn<bool>("remains");
    const QStringList both{QStringLiteral("2.0"), QStringLiteral("1.0")};
    QTest::newRow("newest") << both << QStringLiteral("2.0") << false;
    QTest::newRow("older") << both << QStringLiteral("1.0") << true;
    QTest::newRow("older that is no longer offered")
        << QStringList{QStringLiteral("2.0")} << QStringLiteral("1.0") << true;
    QTest::newRow("newer that is no longer offered") << both << QStringLiteral("3.0") << false;
    QTest::newRow("equal numbers") << QStringList{QStringLiteral("2.0-b"), QStringLiteral("2.0-a")}
                                   << QStringLiteral("2.0-a") << false;
    QTest::newRow("newest without a number")
        << QStringList{QStringLiteral("nightly")} << QStringLiteral("nightly") << false;
    QTest::newRow("nothing offered") << QStringList() << QStringLiteral("1.0") << false;
}

void PackageTest::updateRemainsAfterAnOlderVersionOnly()
{
    QFETCH(QStringList, offered);
    QFETCH(QString, version);
    QFETCH(bool, remains);
    Package package;
    package.setVersions(makeVersions(offered));
    QCOMPARE(package.hasUpdateAfter(version), remains);
}

QTEST_GUILESS_MAIN(PackageTest)
#include "PackageTest.moc"
