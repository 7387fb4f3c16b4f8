#include "packages/record/InstalledPackageDatabase.h"
#include "tests/packages/MakePackage.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Rows.h"
#include "tests/support/ScratchProfile.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QSqlDatabase>
#include <QSqlQuery>

#include <memory>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

/// Executes a statement on a separate connection, as another program would. Returns the first value
/// of each row.
QVariantList readBySelf(const QString &file, const QString &statement)
{
    QVariantList values;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE"_s, "reader"_s);
        database.setDatabaseName(file);
        database.open();
        QSqlQuery query(statement, database);
        while (query.next())
            values.append(query.value(0));
    }
    QSqlDatabase::removeDatabase("reader"_s);
    return values;
}

} // namespace

class InstalledPackageDatabaseTest final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_profile = std::make_unique<ScratchProfile>();
        m_database = std::make_unique<InstalledPackageDatabase>(m_profile->simulatorFolder());
    }

    void cleanup()
    {
        m_database.reset();
        m_profile.reset();
    }

    // Fixed, see docs/compatibility.md.
    void createsTheTable()
    {
        m_database->open();
        QCOMPARE(readBySelf(file(), "SELECT sql FROM sqlite_master WHERE "
                                    "name = 'packages'"_s)
                     .value(0)
                     .toString(),
                 "CREATE TABLE packages (id         INTEGER     PRIMARY KEY "
                 "AUTOINCREMENT,package_id INTEGER     UNIQUE,version STRING,"
                 "status     INTEGER (1) NOT NULL)"_s);
    }

    void secondOpenDoesNothing()
    {
        m_database->open();
        const PackagePointer package = makePackage(3, {});
        m_database->record(*package, "1.0"_s);
        const LogCapture log;
        m_database->open();
        QVERIFY(log.lines().isEmpty());
        QCOMPARE(m_database->version(*package), "1.0"_s);
    }

    void versionsComeBackLetterForLetter_data()
    {
        const QString versions =
            "1.10 1.0 01 1e5 1.2.10 1.0.0 1 1.5 0 0.5 0.05 0.0001 0.00001 -1 +1 1. .5 1.5e3 "
            "0x10 12345678901234567890 9007199254740993 1234567.1234567 9999999.9999999 "
            "0.30000000000000004 v2 2.0-beta 1,5 20231105 2023.11 1.1 1.968306 330646.3572537 "
            "1234567.12345 12345678901.1234 99999999999.9999 99999999999.9998 "
            "123456789012.1234 12345678901 999999999999999"_s;
        QStringList all = versions.split(u' ');
        all += {" 1.5"_s, "1.5 "_s, "1.0 ä Ж"_s};
        Rows<QString> rows;
        for (const QString &version : qAsConst(all))
            rows.row(qPrintable(version), version);
    }
    // Fixed, see docs/compatibility.md.
    void versionsComeBackLetterForLetter()
    {
        const auto [version] = Rows<QString>::current();
        m_database->open();
        const PackagePointer package = makePackage(3, {});
        m_database->record(*package, version);
        QCOMPARE(m_database->version(*package), version);
        m_database->record(*package, version);
        QCOMPARE(m_database->version(*package), version);
    }

    void versionsOfManyDigitsComeBackLetterForLetter_data()
    {
        Rows<int, int> rows;
        for (int whole = 1; whole <= 13; ++whole) {
            for (int behind = 0; behind <= 7; ++behind)
                rows.row("%1.%2 digits"_s.arg(whole).arg(behind).toLatin1(), whole, behind);
        }
    }
    /// Only few texts of each length would change if they were stored as numbers, so the test needs
    /// many.
    void versionsOfManyDigitsComeBackLetterForLetter()
    {
        const auto [whole, behind] = Rows<int, int>::current();
        constexpr int Count = 400;
        m_database->open();
        QRandomGenerator random(quint32(whole * 100 + behind));
        const auto digits = [&random](int count, int first, int last) {
            QString text;
            for (int digit = 0; digit < count; ++digit) {
                const int lowest = digit == 0 ? first : digit == count - 1 ? last : 0;
                text += QString::number(random.bounded(lowest, 10));
            }
            return text;
        };
        // One transaction waits for the disk only once instead of for each row.
        QSqlDatabase connection = QSqlDatabase::database("PackageDatabaseConnection"_s);
        QVERIFY(connection.transaction());
        for (int id = 1; id <= Count; ++id) {
            QString version = digits(whole, 1, 0);
            if (behind > 0)
                version += QLatin1Char('.') + digits(behind, behind == 1 ? 1 : 0, 1);
            const PackagePointer package = makePackage(id, {});
            m_database->record(*package, version);
            QCOMPARE(m_database->version(*package), version);
        }
        QVERIFY(connection.commit());
    }

    void wholeVersionsComeBackLetterForLetter_data() { versionsComeBackLetterForLetter_data(); }

    void wholeVersionsComeBackLetterForLetter()
    {
        const auto [version] = Rows<QString>::current();
        m_database->open();
        const PackagePointer package = makePackage(3, {makeVersion("99.0"_s)});
        record(package, Package::INSTALLED, version);
        record(package, Package::DOWNLOADING, "99.0"_s);
        const PackagePointer next = makePackage(3, package->versions());
        m_database->markInstalled({next}, {3});
        QCOMPARE(next->state(), Package::AVAILABLE);
        m_database->markInstalled({next});
        QCOMPARE(next->state(), Package::INSTALLED);
        QCOMPARE(m_database->version(*next), version);
        QCOMPARE(m_database->status(*next), int(Package::INSTALLED));
    }

    void versionsAreStoredInATypeThatKeepsTheirText_data()
    {
        Rows<QString, QString>()
            .row("three segments", "1.2.10", "text")
            .row("suffix", "2.0-beta", "text")
            .row("survives as a number", "1.5", "real")
            .row("survives as a whole number", "7", "integer")
            .row("would lose its zero", "1.10", "blob")
            .row("a date", "20261121", "integer")
            .row("fifteen digits", "12345678901.1234", "real")
            .row("five digits behind the point", "1.12345", "blob");
    }
    void versionsAreStoredInATypeThatKeepsTheirText()
    {
        const auto [version, type] = Rows<QString, QString>::current();
        m_database->open();
        m_database->record(*makePackage(3, {}), version);
        QCOMPARE(readBySelf(file(), "SELECT typeof(version) FROM packages"_s).value(0).toString(),
                 type);
    }

    void reinstallationUpdatesTheOneRow()
    {
        m_database->open();
        const PackagePointer package = makePackage(3, {});
        record(package, Package::INSTALLED, "1.0"_s);
        m_database->record(*package, "2.0.0"_s);
        const QVariantList versions =
            readBySelf(file(), "SELECT version FROM packages WHERE package_id = 3"_s);
        QCOMPARE(versions, QVariantList{"2.0.0"_s});
    }

    void recordsTheStateAtTheTimeOfTheCall()
    {
        m_database->open();
        const PackagePointer package = makePackage(3, {});
        for (const Package::State state : {Package::DOWNLOADING, Package::INSTALLING,
                                           Package::INSTALL_ERROR, Package::INSTALLED}) {
            record(package, state, "1.0"_s);
            QCOMPARE(m_database->status(*package), int(state));
        }
    }

    // Fixed, see docs/compatibility.md.
    void unknownPackageReadsMinusOneAndStaysAvailable()
    {
        m_database->open();
        const PackagePointer package = makePackage(3, {makeVersion("1.0"_s)});
        QCOMPARE(m_database->status(*package), -1);
        QVERIFY(m_database->version(*package).isEmpty());
        QCOMPARE(package->state(), Package::AVAILABLE);
    }

    void closedDatabaseReadsUnknownAndWritesNothing()
    {
        const PackagePointer package = makePackage(3, {});
        m_database->record(*package, "1.0"_s);
        QCOMPARE(m_database->status(*package), int(Package::UNKNOWN));
        QVERIFY(m_database->version(*package).isEmpty());
        QVERIFY(!QFile::exists(file()));
    }

    void versionFileReplacesAMissingRow_data()
    {
        const QString plugin = "plugins/Jetways"_s;
        Rows<int, QString, QString, QByteArray, QString>()
            .row("in its folder", 3, plugin, plugin, "Jetways\nplugin\n1.10\nmore\n", "1.10")
            .row("no version in it", 3, plugin, plugin, "a\nb\n\n1.0\n", QString())
            .row("outside", 3, "../elsewhere", "../elsewhere", "a\nb\n1.0\n", QString())
            .row("the shared library's lies deeper", 1, "plugins", "plugins/lib/Kavo_Library",
                 "a\r\nb\r\n1.5\r\n", "1.5")
            .row("not where others have it", 1, "plugins", "plugins", "a\nb\n9.9\n", QString());
    }
    // Fixed, see docs/compatibility.md.
    void versionFileReplacesAMissingRow()
    {
        const auto [id, extract, place, content, version] =
            Rows<int, QString, QString, QByteArray, QString>::current();
        const QString rows = "SELECT status FROM packages"_s;
        const bool isThere = !version.isEmpty();
        m_database->open();
        const PackagePointer package = packageIn(extract, id, "2.0"_s);
        writeVersionFile(place, content);
        QCOMPARE(m_database->status(*package), isThere ? int(Package::INSTALLED) : -1);
        QCOMPARE(m_database->version(*package), version);
        // Reading changes nothing.
        QCOMPARE(package->state(), Package::AVAILABLE);
        QCOMPARE(readBySelf(file(), rows), QVariantList());

        m_database->markInstalled({package});
        QCOMPARE(package->state(), isThere ? Package::INSTALLED : Package::AVAILABLE);
        QCOMPARE(readBySelf(file(), rows), isThere ? QVariantList{1} : QVariantList());
        QVERIFY(QFile::remove(m_profile->simulatorFolder() + place + "/Kavo_version.txt"_s));
        QCOMPARE(m_database->status(*package), isThere ? int(Package::INSTALLED) : -1);
        QCOMPARE(m_database->version(*package), version);
    }

    void rowHasPriorityOverTheVersionFile()
    {
        m_database->open();
        const PackagePointer package = makePackage(3, {makeVersion("2.0"_s)});
        writeVersionFile(QString(), "a\nb\n1.0\n");
        m_database->record(*package, "2.0"_s);
        QCOMPARE(m_database->status(*package), int(Package::AVAILABLE));
        QCOMPARE(m_database->version(*package), "2.0"_s);
    }

    void fileThatIsNoDatabaseIsLogged()
    {
        QVERIFY(writeFile(file(), QByteArray(4096, 'x')));
        const LogCapture log;
        m_database->open();
        QCOMPARE(log.lines().size(), 1);
        QVERIFY(log.lines().first().startsWith("SQL Error: "_s));

        const PackagePointer package = makePackage(3, {});
        m_database->record(*package, "1.0"_s);
        QVERIFY(m_database->version(*package).isEmpty());
        QVERIFY(log.lines().size() > 1);
        for (const QString &line : log.lines())
            QVERIFY2(line.startsWith("SQL Error: "_s), qPrintable(line));
    }

    void folderInPlaceOfTheFileIsLogged()
    {
        QVERIFY(QDir().mkpath(file()));
        const LogCapture log;
        m_database->open();
        QCOMPARE(log.lines().size(), 1);
        QCOMPARE(m_database->status(*makePackage(3, {})), int(Package::UNKNOWN));
    }

    void resetDeletesTheFileAndOpenMakesANewOne()
    {
        m_database->open();
        const PackagePointer package = makePackage(3, {});
        m_database->record(*package, "1.0"_s);
        m_database->reset();
        QVERIFY(!QFile::exists(file()));
        QCOMPARE(m_database->status(*package), int(Package::UNKNOWN));
        m_database->open();
        QVERIFY(QFile::exists(file()));
        QCOMPARE(m_database->status(*package), -1);
    }

    void rowsAndVersionFilesDetermineTheStates()
    {
        m_database->open();
        record(makePackage(2, {}), Package::INSTALLED, "1.10"_s);
        record(makePackage(3, {}), Package::INSTALLED, "1.9"_s);
        record(makePackage(4, {}), Package::AVAILABLE, "1.10"_s);
        record(makePackage(5, {}), Package::DOWNLOAD_ERROR, "1.10"_s);
        record(makePackage(6, {}), Package::INSTALLED, QString());
        writeVersionFile("of 6/"_s, "a\nb\n1.2\n");
        writeVersionFile("of 7/"_s, "a\nb\n1.10\n");
        PackageList packages;
        for (int id = 2; id <= 8; ++id)
            packages.append(packageIn("of %1"_s.arg(id), id, "1.10"_s));
        m_database->markInstalled(packages);

        QVector<int> installed;
        QVector<int> outdated;
        for (const PackagePointer &package : qAsConst(packages)) {
            if (package->state() == Package::INSTALLED)
                installed.append(package->id());
            else
                QCOMPARE(package->state(), Package::AVAILABLE);
            if (package->isUpdateAvailable())
                outdated.append(package->id());
        }
        QCOMPARE(installed, (QVector<int>{2, 3, 6, 7}));
        QCOMPARE(outdated, (QVector<int>{3, 6}));
        QCOMPARE(m_database->version(*packages.at(4)), "1.2"_s);
        QCOMPARE(m_database->status(*packages.at(5)), int(Package::INSTALLED));
        QCOMPARE(m_database->status(*packages.at(6)), InstalledPackageDatabase::NotRecorded);
    }

    void marksPackagesOfOneIdAlike()
    {
        m_database->open();
        writeVersionFile("first/"_s, "a\nb\n1.2\n");
        const PackageList packages{packageIn("first"_s, 7, "1.2"_s),
                                   makePackage(7, {makeVersion("1.3"_s)})};
        m_database->markInstalled(packages);
        QCOMPARE(packages.first()->state(), Package::INSTALLED);
        QVERIFY(!packages.first()->isUpdateAvailable());
        // This package has no version file. The row that was added for the first package applies to
        // it, too.
        QCOMPARE(packages.last()->state(), Package::INSTALLED);
        QVERIFY(packages.last()->isUpdateAvailable());
    }

    /// This happens if an installation is started while a refresh reads version files.
    void versionFileYieldsToARowWrittenMeanwhile()
    {
        m_database->open();
        writeVersionFile("of 7/"_s, "a\nb\n1.2\n");
        const PackagePointer package = packageIn("of 7"_s, 7, "2.0"_s);
        const QSet<int> before = m_database->recordedIds();
        record(package, Package::DOWNLOADING, "2.0"_s);
        m_database->adoptVersionFiles({package}, before);
        QCOMPARE(m_database->version(*package), "2.0"_s);
        QCOMPARE(m_database->status(*package), int(Package::DOWNLOADING));
    }

    void packageMayBeThereUnlessItIsUnknownOrRemoved()
    {
        m_database->open();
        QVERIFY(!m_database->mayBeThere(7));
        const PackagePointer package = makePackage(7, {makeVersion("1.0"_s)});
        for (const Package::State state :
             {Package::DOWNLOADING, Package::INSTALLED, Package::INSTALL_ERROR}) {
            record(package, state, "1.0"_s);
            QVERIFY(m_database->mayBeThere(7));
        }
        record(package, Package::AVAILABLE, "1.0"_s);
        QVERIFY(!m_database->mayBeThere(7));
    }

    void rowsWithoutANumberMarkNothing()
    {
        m_database->open();
        for (const char *id : {"NULL", "'none'", "4294967303"})
            readBySelf(file(), "INSERT INTO packages(package_id,status,version) "
                               "VALUES (%1,1,'1.0.0')"_s.arg(QLatin1String(id)));
        const PackageList packages{makePackage(0, {}), makePackage(7, {})};
        m_database->markInstalled(packages);
        QCOMPARE(packages.first()->state(), Package::AVAILABLE);
        QCOMPARE(packages.last()->state(), Package::AVAILABLE);
    }

    void closedDatabaseMarksNothing()
    {
        writeVersionFile("of 7/"_s, "a\nb\n1.2\n");
        const PackagePointer package = packageIn("of 7"_s, 7, "1.2"_s);
        m_database->markInstalled({package});
        QCOMPARE(package->state(), Package::AVAILABLE);
    }

private:
    QString file() const { return m_profile->dataFolder() + "packages.db"_s; }

    void writeVersionFile(const QString &folder, const QByteArray &content) const
    {
        QVERIFY(writeFile(m_profile->simulatorFolder() + folder + "/Kavo_version.txt"_s, content));
    }

    /// A package that is unpacked into this folder.
    static PackagePointer packageIn(const QString &folder, int id, const QString &version)
    {
        const PackagePointer package = makePackage(id, {makeVersion(version)});
        package->versions().first()->install->extract = folder;
        return package;
    }

    /// Sets the state of the package and records it.
    void record(const PackagePointer &package, Package::State state, const QString &version)
    {
        package->setState(state);
        m_database->record(*package, version);
    }

    std::unique_ptr<ScratchProfile> m_profile;
    std::unique_ptr<InstalledPackageDatabase> m_database;
};

KAVO_TEST_MAIN(InstalledPackageDatabaseTest)
#include "InstalledPackageDatabaseTest.moc"
