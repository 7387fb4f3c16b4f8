#include "packages/record/InstalledPackageDatabase.h"
#include "tests/packages/MakePackage.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScratchProfile.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTest>

#include <memory>

using namespace Kavo::Models;
using Kavo::Testing::LogCapture;
using Kavo::Testing::makePackage;
using Kavo::Testing::makeVersion;
using Kavo::Testing::ScratchProfile;

namespace {

/// What another program reads from the file: one value of each row of a query.
QVariantList readBySelf(const QString &file, const QString &statement)
{
    QVariantList values;
    {
        QSqlDatabase database =
            QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("reader"));
        database.setDatabaseName(file);
        database.open();
        QSqlQuery query(statement, database);
        while (query.next())
            values.append(query.value(0));
    }
    QSqlDatabase::removeDatabase(QStringLiteral("reader"));
    return values;
}

} // namespace

class InstalledPackageDatabaseTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void createsTheTable();
    void secondOpenDoesNothing();
    void versionsComeBackLetterForLetter_data();
    void versionsComeBackLetterForLetter();
    void versionsOfManyDigitsComeBackLetterForLetter_data();
    void versionsOfManyDigitsComeBackLetterForLetter();
    void wholeVersionsComeBackLetterForLetter_data();
    void wholeVersionsComeBackLetterForLetter();
    void versionsThatSurviveAreStoredAsText_data();
    void versionsThatSurviveAreStoredAsText();
    void reinstallationUpdatesTheOneRow();
    void recordsTheStateAtTheTimeOfTheCall();
    void unknownPackageReadsMinusOneAndStaysAvailable();
    void closedDatabaseReadsUnknownAndWritesNothing();
    void versionFileStandsInForAMissingRow();
    void versionFileOfTheSharedLibraryLiesDeeper();
    void rowOutweighsTheVersionFile();
    void emptyThirdLineLeavesThePackageAvailable();
    void versionFileOutsideTheSimulatorIsNotRead();
    void fileThatIsNoDatabaseIsLogged();
    void folderInPlaceOfTheFileIsLogged();
    void resetDeletesTheFileAndOpenMakesANewOne();
    void marksWhatRowsAndVersionFilesTell();
    void marksPackagesOfOneIdAlike();
    void rowsWithoutANumberMarkNothing();
    void closedDatabaseMarksNothing();

private:
    QString file() const { return m_profile->dataFolder() + QStringLiteral("packages.db"); }
    void writeVersionFile(const QString &folder, const QByteArray &content) const;

    std::unique_ptr<ScratchProfile> m_profile;
    std::unique_ptr<InstalledPackageDatabase> m_database;
};

void InstalledPackageDatabaseTest::init()
{
    m_profile = std::make_unique<ScratchProfile>();
    m_database = std::make_unique<InstalledPackageDatabase>(m_profile->simulatorFolder());
}

void InstalledPackageDatabaseTest::cleanup()
{
    m_database.reset();
    m_profile.reset();
}

void InstalledPackageDatabaseTest::writeVersionFile(const QString &folder,
                                                    const QByteArray &content) const
{
    const QString path = m_profile->simulatorFolder() + folder;
    QVERIFY(QDir().mkpath(path));
    QFile versionFile(path + QStringLiteral("/Kavo_version.txt"));
    QVERIFY(versionFile.open(QIODevice::WriteOnly));
    versionFile.write(content);
}

// Fixed, see docs/compatibility.md.
void InstalledPackageDatabaseTest::createsTheTable()
{
    m_database->open();
    QCOMPARE(readBySelf(file(), QStringLiteral("SELECT sql FROM sqlite_master WHERE "
                                               "name = 'packages'"))
                 .value(0)
                 .toString(),
             QStringLiteral("CREATE TABLE packages (id         INTEGER     PRIMARY KEY "
                            "AUTOINCREMENT,package_id INTEGER     UNIQUE,version STRING,"
                            "status     INTEGER (1) NOT NULL)"));
}

void InstalledPackageDatabaseTest::secondOpenDoesNothing()
{
    m_database->open();
    const PackagePointer package = makePackage(3, {});
    m_database->record(*package, QStringLiteral("1.0"));
    const LogCapture log;
    m_database->open();
    QVERIFY(log.lines().isEmpty());
    QCOMPARE(m_database->version(*package), QStringLiteral("1.0"));
}

void InstalledPackageDatabaseTest::versionsComeBackLetterForLetter_data()
{
    QTest::addColumn<QString>("version");
    const QStringList versions{QStringLiteral("1.10"),
                               QStringLiteral("1.0"),
                               QStringLiteral("01"),
                               QStringLiteral("1e5"),
                               QStringLiteral("1.2.10"),
                               QStringLiteral("1.0.0"),
                               QStringLiteral("1"),
                               QStringLiteral("1.5"),
                               QStringLiteral("0"),
                               QStringLiteral("0.5"),
                               QStringLiteral("0.05"),
                               QStringLiteral("0.0001"),
                               QStringLiteral("0.00001"),
                               QStringLiteral("-1"),
                               QStringLiteral("+1"),
                               QStringLiteral(" 1.5"),
                               QStringLiteral("1.5 "),
                               QStringLiteral("1."),
                               QStringLiteral(".5"),
                               QStringLiteral("1.5e3"),
                               QStringLiteral("0x10"),
                               QStringLiteral("12345678901234567890"),
                               QStringLiteral("9007199254740993"),
                               QStringLiteral("1234567.1234567"),
                               QStringLiteral("9999999.9999999"),
                               QStringLiteral("0.30000000000000004"),
                               QStringLiteral("v2"),
                               QStringLiteral("2.0-beta"),
                               QStringLiteral("1,5"),
                               QStringLiteral("20231105"),
                               QStringLiteral("2023.11"),
                               QStringLiteral("1.1"),
                               QStringLiteral("1.968306"),
                               QStringLiteral("330646.3572537"),
                               QStringLiteral("1234567.12345"),
                               QStringLiteral("12345678901.1234"),
                               QStringLiteral("99999999999.9999"),
                               QStringLiteral("99999999999.9998"),
                               QStringLiteral("123456789012.1234"),
                               QStringLiteral("12345678901"),
                               QStringLiteral("999999999999999"),
                               QString::fromUtf8("1.0 ä Ж")};
    for (const QString &version : versions)
        QTest::newRow(qPrintable(version)) << version;
}

// Fixed, see docs/compatibility.md.
void InstalledPackageDatabaseTest::versionsComeBackLetterForLetter()
{
    QFETCH(QString, version);
    m_database->open();
    const PackagePointer package = makePackage(3, {});
    m_database->record(*package, version);
    QCOMPARE(m_database->version(*package), version);
    m_database->record(*package, version);
    QCOMPARE(m_database->version(*package), version);
}

void InstalledPackageDatabaseTest::versionsOfManyDigitsComeBackLetterForLetter_data()
{
    QTest::addColumn<int>("whole");
    QTest::addColumn<int>("behind");
    for (int whole = 1; whole <= 13; ++whole) {
        for (int behind = 0; behind <= 7; ++behind)
            QTest::addRow("%d.%d digits", whole, behind) << whole << behind;
    }
}

/// Few texts of each length are in danger, so that only many of them tell.
void InstalledPackageDatabaseTest::versionsOfManyDigitsComeBackLetterForLetter()
{
    QFETCH(int, whole);
    QFETCH(int, behind);
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
    // One transaction: the disk would be waited for once a row.
    QSqlDatabase connection = QSqlDatabase::database(QStringLiteral("PackageDatabaseConnection"));
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

void InstalledPackageDatabaseTest::wholeVersionsComeBackLetterForLetter_data()
{
    versionsComeBackLetterForLetter_data();
}

void InstalledPackageDatabaseTest::wholeVersionsComeBackLetterForLetter()
{
    QFETCH(QString, version);
    m_database->open();
    const PackagePointer package = makePackage(3, {makeVersion(QStringLiteral("99.0"))});
    package->setState(Package::INSTALLED);
    m_database->record(*package, version);
    package->setState(Package::DOWNLOADING);
    m_database->record(*package, QStringLiteral("99.0"));
    const PackagePointer next = makePackage(3, package->versions());
    m_database->markInstalled({next}, {3});
    QCOMPARE(next->state(), Package::AVAILABLE);
    m_database->markInstalled({next});
    QCOMPARE(next->state(), Package::INSTALLED);
    QCOMPARE(m_database->version(*next), version);
    QCOMPARE(m_database->status(*next), int(Package::INSTALLED));
}

void InstalledPackageDatabaseTest::versionsThatSurviveAreStoredAsText_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("type");
    QTest::newRow("three segments") << "1.2.10"
                                    << "text";
    QTest::newRow("suffix") << "2.0-beta"
                            << "text";
    QTest::newRow("survives as a number") << "1.5"
                                          << "real";
    QTest::newRow("survives as a whole number") << "7"
                                                << "integer";
    QTest::newRow("would lose its zero") << "1.10"
                                         << "blob";
    QTest::newRow("a date") << "20261121"
                            << "integer";
    QTest::newRow("fifteen digits") << "12345678901.1234"
                                    << "real";
    QTest::newRow("five digits behind the point") << "1.12345"
                                                  << "blob";
}

void InstalledPackageDatabaseTest::versionsThatSurviveAreStoredAsText()
{
    QFETCH(QString, version);
    QFETCH(QString, type);
    m_database->open();
    m_database->record(*makePackage(3, {}), version);
    QCOMPARE(readBySelf(file(), QStringLiteral("SELECT typeof(version) FROM packages"))
                 .value(0)
                 .toString(),
             type);
}

void InstalledPackageDatabaseTest::reinstallationUpdatesTheOneRow()
{
    m_database->open();
    const PackagePointer package = makePackage(3, {});
    package->setState(Package::INSTALLED);
    m_database->record(*package, QStringLiteral("1.0"));
    m_database->record(*package, QStringLiteral("2.0.0"));
    const QVariantList versions =
        readBySelf(file(), QStringLiteral("SELECT version FROM packages WHERE package_id = 3"));
    QCOMPARE(versions, QVariantList{QStringLiteral("2.0.0")});
}

void InstalledPackageDatabaseTest::recordsTheStateAtTheTimeOfTheCall()
{
    m_database->open();
    const PackagePointer package = makePackage(3, {});
    for (const Package::State state :
         {Package::DOWNLOADING, Package::INSTALLING, Package::INSTALL_ERROR, Package::INSTALLED}) {
        package->setState(state);
        m_database->record(*package, QStringLiteral("1.0"));
        QCOMPARE(m_database->status(*package), static_cast<int>(state));
    }
}

// Fixed, see docs/compatibility.md.
void InstalledPackageDatabaseTest::unknownPackageReadsMinusOneAndStaysAvailable()
{
    m_database->open();
    const PackagePointer package = makePackage(3, {makeVersion(QStringLiteral("1.0"))});
    QCOMPARE(m_database->status(*package), -1);
    QVERIFY(m_database->version(*package).isEmpty());
    QCOMPARE(package->state(), Package::AVAILABLE);
}

void InstalledPackageDatabaseTest::closedDatabaseReadsUnknownAndWritesNothing()
{
    const PackagePointer package = makePackage(3, {});
    m_database->record(*package, QStringLiteral("1.0"));
    QCOMPARE(m_database->status(*package), static_cast<int>(Package::UNKNOWN));
    QVERIFY(m_database->version(*package).isEmpty());
    QVERIFY(!QFile::exists(file()));
}

void InstalledPackageDatabaseTest::versionFileStandsInForAMissingRow()
{
    m_database->open();
    const PackagePointer package = makePackage(3, {makeVersion(QStringLiteral("2.0"))});
    package->versions().first()->install->extract = QStringLiteral("plugins/Jetways");
    writeVersionFile(QStringLiteral("plugins/Jetways"), "Jetways\nplugin\n1.10\nmore\n");
    QCOMPARE(m_database->status(*package), 1);
    QCOMPARE(m_database->version(*package), QStringLiteral("1.10"));
    // Whoever asks changes nothing.
    QCOMPARE(package->state(), Package::AVAILABLE);
    QVERIFY(readBySelf(file(), QStringLiteral("SELECT status FROM packages")).isEmpty());

    m_database->markInstalled({package});
    QCOMPARE(package->state(), Package::INSTALLED);
    QCOMPARE(readBySelf(file(), QStringLiteral("SELECT status FROM packages")), QVariantList{1});
    QVERIFY(QFile::remove(m_profile->simulatorFolder() +
                          QStringLiteral("plugins/Jetways/Kavo_version.txt")));
    QCOMPARE(m_database->status(*package), 1);
    QCOMPARE(m_database->version(*package), QStringLiteral("1.10"));
}

// Fixed, see docs/compatibility.md.
void InstalledPackageDatabaseTest::versionFileOfTheSharedLibraryLiesDeeper()
{
    m_database->open();
    const PackagePointer package = makePackage(1, {makeVersion(QStringLiteral("2.0"))});
    package->versions().first()->install->extract = QStringLiteral("plugins");
    writeVersionFile(QStringLiteral("plugins"), "a\nb\n9.9\n");
    QCOMPARE(m_database->status(*package), -1);
    writeVersionFile(QStringLiteral("plugins/lib/Kavo_Library"), "a\r\nb\r\n1.5\r\n");
    QCOMPARE(m_database->status(*package), 1);
    QCOMPARE(m_database->version(*package), QStringLiteral("1.5"));
}

void InstalledPackageDatabaseTest::rowOutweighsTheVersionFile()
{
    m_database->open();
    const PackagePointer package = makePackage(3, {makeVersion(QStringLiteral("2.0"))});
    writeVersionFile(QString(), "a\nb\n1.0\n");
    m_database->record(*package, QStringLiteral("2.0"));
    QCOMPARE(m_database->status(*package), static_cast<int>(Package::AVAILABLE));
    QCOMPARE(m_database->version(*package), QStringLiteral("2.0"));
}

void InstalledPackageDatabaseTest::emptyThirdLineLeavesThePackageAvailable()
{
    m_database->open();
    const PackagePointer package = makePackage(3, {makeVersion(QStringLiteral("2.0"))});
    writeVersionFile(QString(), "a\nb\n\n1.0\n");
    QCOMPARE(m_database->status(*package), -1);
    QCOMPARE(package->state(), Package::AVAILABLE);
}

void InstalledPackageDatabaseTest::versionFileOutsideTheSimulatorIsNotRead()
{
    m_database->open();
    const PackagePointer package = makePackage(3, {makeVersion(QStringLiteral("2.0"))});
    package->versions().first()->install->extract = QStringLiteral("../elsewhere");
    writeVersionFile(QStringLiteral("../elsewhere"), "a\nb\n1.0\n");
    QCOMPARE(m_database->status(*package), -1);
}

void InstalledPackageDatabaseTest::fileThatIsNoDatabaseIsLogged()
{
    QFile garbage(file());
    QVERIFY(garbage.open(QIODevice::WriteOnly));
    garbage.write(QByteArray(4096, 'x'));
    garbage.close();
    const LogCapture log;
    m_database->open();
    QCOMPARE(log.lines().size(), 1);
    QVERIFY(log.lines().first().startsWith(QStringLiteral("SQL Error: ")));

    const PackagePointer package = makePackage(3, {});
    m_database->record(*package, QStringLiteral("1.0"));
    QVERIFY(m_database->version(*package).isEmpty());
    QVERIFY(log.lines().size() > 1);
    for (const QString &line : log.lines())
        QVERIFY2(line.startsWith(QStringLiteral("SQL Error: ")), qPrintable(line));
}

void InstalledPackageDatabaseTest::folderInPlaceOfTheFileIsLogged()
{
    QVERIFY(QDir().mkpath(file()));
    const LogCapture log;
    m_database->open();
    QCOMPARE(log.lines().size(), 1);
    QCOMPARE(m_database->status(*makePackage(3, {})), static_cast<int>(Package::UNKNOWN));
}

void InstalledPackageDatabaseTest::resetDeletesTheFileAndOpenMakesANewOne()
{
    m_database->open();
    const PackagePointer package = makePackage(3, {});
    m_database->record(*package, QStringLiteral("1.0"));
    m_database->reset();
    QVERIFY(!QFile::exists(file()));
    QCOMPARE(m_database->status(*package), static_cast<int>(Package::UNKNOWN));
    m_database->open();
    QVERIFY(QFile::exists(file()));
    QCOMPARE(m_database->status(*package), -1);
}

void InstalledPackageDatabaseTest::marksWhatRowsAndVersionFilesTell()
{
    m_database->open();
    const auto recordAs = [this](int id, Package::State state, const QString &version) {
        const PackagePointer package = makePackage(id, {});
        package->setState(state);
        m_database->record(*package, version);
    };
    recordAs(2, Package::INSTALLED, QStringLiteral("1.10"));
    recordAs(3, Package::INSTALLED, QStringLiteral("1.9"));
    recordAs(4, Package::AVAILABLE, QStringLiteral("1.10"));
    recordAs(5, Package::DOWNLOAD_ERROR, QStringLiteral("1.10"));
    recordAs(6, Package::INSTALLED, QString());
    writeVersionFile(QStringLiteral("of 6/"), "a\nb\n1.2\n");
    writeVersionFile(QStringLiteral("of 7/"), "a\nb\n1.10\n");
    PackageList packages;
    for (int id = 2; id <= 8; ++id) {
        packages.append(makePackage(id, {makeVersion(QStringLiteral("1.10"))}));
        packages.last()->versions().first()->install->extract = QStringLiteral("of %1").arg(id);
    }
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
    QCOMPARE(m_database->version(*packages.at(4)), QStringLiteral("1.2"));
    QCOMPARE(m_database->status(*packages.at(5)), int(Package::INSTALLED));
    QCOMPARE(m_database->status(*packages.at(6)), InstalledPackageDatabase::NotRecorded);
}

void InstalledPackageDatabaseTest::marksPackagesOfOneIdAlike()
{
    m_database->open();
    writeVersionFile(QStringLiteral("first/"), "a\nb\n1.2\n");
    const PackageList packages{makePackage(7, {makeVersion(QStringLiteral("1.2"))}),
                               makePackage(7, {makeVersion(QStringLiteral("1.3"))})};
    packages.first()->versions().first()->install->extract = QStringLiteral("first");
    m_database->markInstalled(packages);
    QCOMPARE(packages.first()->state(), Package::INSTALLED);
    QVERIFY(!packages.first()->isUpdateAvailable());
    // It has no version file of its own: the row that the first one got speaks for it.
    QCOMPARE(packages.last()->state(), Package::INSTALLED);
    QVERIFY(packages.last()->isUpdateAvailable());
}

void InstalledPackageDatabaseTest::rowsWithoutANumberMarkNothing()
{
    m_database->open();
    for (const char *id : {"NULL", "'none'", "4294967303"})
        readBySelf(file(), QStringLiteral("INSERT INTO packages(package_id,status,version) "
                                          "VALUES (%1,1,'1.0.0')")
                               .arg(QLatin1String(id)));
    const PackageList packages{makePackage(0, {}), makePackage(7, {})};
    m_database->markInstalled(packages);
    QCOMPARE(packages.first()->state(), Package::AVAILABLE);
    QCOMPARE(packages.last()->state(), Package::AVAILABLE);
}

void InstalledPackageDatabaseTest::closedDatabaseMarksNothing()
{
    writeVersionFile(QStringLiteral("of 7/"), "a\nb\n1.2\n");
    const PackagePointer package = makePackage(7, {makeVersion(QStringLiteral("1.2"))});
    package->versions().first()->install->extract = QStringLiteral("of 7");
    m_database->markInstalled({package});
    QCOMPARE(package->state(), Package::AVAILABLE);
}

KAVO_TEST_MAIN(InstalledPackageDatabaseTest)
#include "InstalledPackageDatabaseTest.moc"
