#include "packages/model/Package.h"
#include "tests/packages/MakePackage.h"
#include "tests/packages/PackageStates.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"

#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <QtConcurrent>

using namespace Kavo::Models;
using namespace Kavo::Testing;

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
    void startsUnknownAndEmpty()
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
    void stateEnumerationHasItsFixedNamesAndValues()
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
    void signalsStandInTheirOrder()
    {
        const QMetaObject &meta = Package::staticMetaObject;
        QList<QByteArray> names;
        for (int index = meta.methodOffset(); index < meta.methodCount(); ++index)
            names.append(meta.method(index).name());
        const QList<QByteArray> expected{"stateChanged", "totalSize",        "downloadedSize",
                                         "error",        "downloadFinished", "installed"};
        QCOMPARE(names, expected);
    }

    void sameStateTwiceIsAnnouncedOnce()
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

    void stateSetOnAWorkerReachesTheMainThread()
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

    void versionsSortNewestFirst_data()
    {
        Rows<QStringList, QStringList>()
            .row("numbers, not letters", QStringList{"1.2"_s, "1.10"_s, "1.9"_s},
                 QStringList{"1.10"_s, "1.9"_s, "1.2"_s})
            .row("more segments are newer", QStringList{"1"_s, "1.0"_s, "1.0.1"_s},
                 QStringList{"1.0.1"_s, "1.0"_s, "1"_s})
            .row("texts without numbers come last", QStringList{"beta"_s, "0.1"_s, QString()},
                 QStringList{"0.1"_s, "beta"_s, QString()})
            .row("equal numbers both stay", QStringList{"1.0-a"_s, "2.0"_s, "1.0-b"_s},
                 QStringList{"2.0"_s, "1.0-a"_s, "1.0-b"_s})
            .row("none", QStringList(), QStringList());
    }
    void versionsSortNewestFirst()
    {
        const auto [given, sorted] = Rows<QStringList, QStringList>::current();
        QVector<PackageVersionPointer> versions = makeVersions(given);
        sortNewestFirst(versions);
        QCOMPARE(textsOf(versions), sorted);
    }

    // Fixed, see docs/compatibility.md.
    void versionLookUpFallsBackToTheNewest()
    {
        Package package;
        package.setVersions(makeVersions({"2.0"_s, "1.0"_s, "1.0.0"_s}));
        QCOMPARE(package.versionIndex("1.0"_s), 1);
        QCOMPARE(package.versionIndex("1.0.0"_s), 2);
        QCOMPARE(package.versionIndex("1"_s), 0);
        QCOMPARE(package.versionIndex(QString()), 0);
        QCOMPARE(package.findVersion("9"_s)->version, "2.0"_s);
    }

    void packageWithoutVersionsHasNoNewest()
    {
        const Package package;
        QCOMPARE(package.versionIndex("1.0"_s), 0);
        QVERIFY(package.findVersion(QString()).isNull());
        QVERIFY(package.newestVersion().isEmpty());
    }

    void rulesAreSharedByCopiesOfAVersion()
    {
        const auto original = PackageVersionPointer::create();
        const PackageVersion copy = *original;
        original->install->extract = "plugins"_s;
        QCOMPARE(copy.install->extract, "plugins"_s);
    }

    void outdatedness_data()
    {
        Rows<QString, QString, bool>()
            .row("older", "1.2", "1.10", true)
            .row("equal", "1.10", "1.10", false)
            .row("newer than the catalogue", "2.0", "1.10", false)
            .row("installed without numbers", "final", "1.0", true)
            .row("newest without numbers", "1.0", "final", false)
            .row("both without numbers", "first", "final", true);
    }
    void outdatedness()
    {
        const auto [installed, newest, outdated] = Rows<QString, QString, bool>::current();
        QCOMPARE(isOutdated(installed, newest), outdated);
    }

    void busyStates()
    {
        const QSet<int> busy{Package::PREPARING, Package::DOWNLOADING, Package::INSTALLING,
                             Package::UNINSTALLING};
        Package package;
        for (const Package::State state : packageStates()) {
            package.setState(state);
            QCOMPARE(package.isBusy(), busy.contains(state));
        }
    }

    void updateRemainsAfterAnOlderVersionOnly_data()
    {
        const QStringList both{"2.0"_s, "1.0"_s};
        Rows<QStringList, QString, bool>()
            .row("newest", both, "2.0", false)
            .row("older", both, "1.0", true)
            .row("older that is no longer offered", QStringList{"2.0"_s}, "1.0", true)
            .row("newer that is no longer offered", both, "3.0", false)
            .row("equal numbers", QStringList{"2.0-b"_s, "2.0-a"_s}, "2.0-a", false)
            .row("newest without a number", QStringList{"nightly"_s}, "nightly", false)
            .row("nothing offered", QStringList(), "1.0", false);
    }
    void updateRemainsAfterAnOlderVersionOnly()
    {
        const auto [offered, version, remains] = Rows<QStringList, QString, bool>::current();
        Package package;
        package.setVersions(makeVersions(offered));
        QCOMPARE(package.hasUpdateAfter(version), remains);
    }
};

QTEST_GUILESS_MAIN(PackageTest)
#include "PackageTest.moc"
