#include "packages/record/InstalledPackageDatabase.h"

#include "core/DatabaseTransaction.h"
#include "packages/record/VersionFile.h"

#include <QRegularExpression>
#include <QVariant>

namespace Kavo::Models {

namespace {

// Fixed, see docs/compatibility.md.
const char *const Schema =
    "CREATE TABLE IF NOT EXISTS packages (id         INTEGER     PRIMARY KEY AUTOINCREMENT,"
    "package_id INTEGER     UNIQUE,version STRING,status     INTEGER (1) NOT NULL);";

/// Whether SQLite's STRING columns would convert the text to a number.
bool readsAsNumber(const QString &text)
{
    static const QRegularExpression number(QRegularExpression::anchoredPattern(
        QStringLiteral("\\s*[+-]?([0-9]+\\.?[0-9]*|\\.[0-9]+)([eE][+-]?[0-9]+)?\\s*")));
    return number.match(text).hasMatch();
}

/// Whether a numeric text survives the conversion to a number and back. Fifteen significant digits
/// fit into a double. Of those no more than four may be after the point: SQLite divides in a longer
/// format first, and from 5^5 on its result may be so close to the middle of two doubles that
/// rounding twice picks the wrong one (1.968306).
bool isCanonicalNumber(const QString &text)
{
    static const QRegularExpression canonical(QRegularExpression::anchoredPattern(
        QStringLiteral("(?:[1-9][0-9]{0,10}|0)(?:\\.[0-9]{0,3}[1-9])?")));
    return canonical.match(text).hasMatch();
}

/// The version column has numeric affinity: the text "1.10" would come back as 1.1. Blobs are
/// stored unchanged; texts that survive the conversion are stored as text, so that other tools can
/// read them.
/// Fixed, see docs/compatibility.md.
QVariant boundVersion(const QString &version)
{
    if (readsAsNumber(version) && !isCanonicalNumber(version))
        return version.toUtf8();
    return version;
}

QString versionText(const QVariant &value)
{
    if (value.type() == QVariant::ByteArray)
        return QString::fromUtf8(value.toByteArray());
    return value.toString();
}

} // namespace

InstalledPackageDatabase::InstalledPackageDatabase(const QString &installationFolder)
    : m_installationFolder(installationFolder)
    , m_file(QStringLiteral("PackageDatabaseConnection"), QStringLiteral("packages.db"))
    , m_wholeVersions(m_file)
{}

void InstalledPackageDatabase::open()
{
    if (m_file.open(QLatin1String(Schema)))
        m_wholeVersions.makeTable();
}

void InstalledPackageDatabase::reset()
{
    m_file.removeFile();
}

void InstalledPackageDatabase::record(const Package &package, const QString &version)
{
    if (!m_file.isOpen())
        return;
    if (package.state() != Package::INSTALLED) {
        writeRow(package, version);
        return;
    }
    // If these two do not reach the disk together, the version that is known to be complete is
    // adopted again.
    const DatabaseTransaction together(m_file);
    m_wholeVersions.remember(package.id(), version);
    writeRow(package, version);
}

void InstalledPackageDatabase::forgetWhole(const Package &package)
{
    if (m_file.isOpen())
        m_wholeVersions.forget(package.id());
}

void InstalledPackageDatabase::writeRow(const Package &package, const QString &version)
{
    const std::optional<bool> known = isRecorded(package);
    if (!known)
        return;
    QSqlQuery write = m_file.prepared(
        *known ? QStringLiteral("UPDATE packages SET status = :status, version = :version WHERE "
                                "package_id = :package_id")
               : QStringLiteral("INSERT INTO packages(package_id,status,version) VALUES "
                                "(:package_id,:status,:version)"));
    write.bindValue(QStringLiteral(":package_id"), package.id());
    write.bindValue(QStringLiteral(":status"), static_cast<int>(package.state()));
    write.bindValue(QStringLiteral(":version"), boundVersion(version));
    m_file.run(write);
}

void InstalledPackageDatabase::adoptVersionFiles(const PackageList &packages,
                                                 const QSet<int> &recorded)
{
    if (!m_file.isOpen())
        return;
    const DatabaseTransaction together(m_file);
    for (const PackagePointer &package : packages) {
        if (recorded.contains(package->id()))
            continue;
        const QString version = versionFile(*package);
        // Work, or another package with the same id, may have been recorded since.
        if (version.isEmpty() || isRecorded(*package) == true)
            continue;
        adopt(*package, version);
        package->setUpdateAvailable(isOutdated(version, package->newestVersion()));
    }
}

void InstalledPackageDatabase::applyRecords(const PackageList &packages, const QSet<int> &concerned)
{
    if (!m_file.isOpen())
        return;
    // One statement for all rows; a query for each package would take longer than parsing the
    // catalogue.
    QHash<qint64, Record> known = records();
    const std::optional<WholeVersions::Texts> whole = m_wholeVersions.read();
    bool remembers = whole.has_value();
    const DatabaseTransaction together(m_file);
    for (const PackagePointer &package : packages) {
        const auto record = known.find(package->id());
        if (record == known.end())
            continue;
        if (whole && !concerned.contains(package->id()))
            adoptWhole(*package, whole->value(package->id()), *record);
        // A package whose version file was recorded may have been removed since.
        const bool isInstalled = record->status == Package::INSTALLED;
        package->setState(isInstalled ? Package::INSTALLED : Package::AVAILABLE);
        package->setUpdateAvailable(false);
        if (!isInstalled)
            continue;
        if (record->version.isEmpty())
            record->version = adoptVersionFile(*package);
        // After one write error there would be one for each package.
        remembers = remembers && rememberRecorded(*package, *record, *whole);
        package->setUpdateAvailable(isOutdated(record->version, package->newestVersion()));
    }
}

void InstalledPackageDatabase::markInstalled(const PackageList &packages,
                                             const QSet<int> &concerned)
{
    adoptVersionFiles(packages, recordedIds());
    applyRecords(packages, concerned);
}

int InstalledPackageDatabase::status(const Package &package) const
{
    if (!m_file.isOpen())
        return Package::UNKNOWN;
    QSqlQuery query = m_file.prepared(
        QStringLiteral("SELECT status FROM packages WHERE package_id = :package_id"));
    query.bindValue(QStringLiteral(":package_id"), package.id());
    if (m_file.run(query) && query.next())
        return query.value(0).toInt();
    return versionFile(package).isEmpty() ? NotRecorded : int(Package::INSTALLED);
}

bool InstalledPackageDatabase::mayBeThere(int packageId) const
{
    Package package;
    package.setId(packageId);
    const int recorded = status(package);
    return recorded != Package::AVAILABLE && recorded != NotRecorded;
}

QString InstalledPackageDatabase::version(const Package &package) const
{
    if (m_file.isOpen()) {
        QSqlQuery query = m_file.prepared(
            QStringLiteral("SELECT version FROM packages WHERE package_id = :package_id"));
        query.bindValue(QStringLiteral(":package_id"), package.id());
        if (m_file.run(query) && query.next()) {
            const QString version = versionText(query.value(0));
            if (!version.isEmpty())
                return version;
        }
    }
    return versionFile(package);
}

/// Whether there is a row; nothing if it cannot be read.
std::optional<bool> InstalledPackageDatabase::isRecorded(const Package &package) const
{
    QSqlQuery query =
        m_file.prepared(QStringLiteral("SELECT id FROM packages WHERE package_id = :package_id"));
    query.bindValue(QStringLiteral(":package_id"), package.id());
    if (!m_file.run(query))
        return std::nullopt;
    return query.next();
}

QSet<int> InstalledPackageDatabase::recordedIds() const
{
    QSet<int> ids;
    if (!m_file.isOpen())
        return ids;
    const QHash<qint64, Record> known = records();
    for (auto record = known.cbegin(); record != known.cend(); ++record)
        ids.insert(static_cast<int>(record.key()));
    return ids;
}

/// All rows by package id.
QHash<qint64, InstalledPackageDatabase::Record> InstalledPackageDatabase::records() const
{
    QHash<qint64, Record> records;
    // Package ids are numbers, whatever other tools have written.
    QSqlQuery query = m_file.prepared(QStringLiteral(
        "SELECT package_id, status, version FROM packages WHERE typeof(package_id) = 'integer'"));
    if (!m_file.run(query))
        return records;
    while (records.size() < DatabaseFile::MostRows && query.next())
        records.insert(query.value(0).toLongLong(),
                       {query.value(1).toInt(), versionText(query.value(2))});
    return records;
}

QString InstalledPackageDatabase::versionFile(const Package &package) const
{
    return readVersionFile(package, m_installationFolder);
}

QString InstalledPackageDatabase::adoptVersionFile(Package &package)
{
    const QString version = versionFile(package);
    if (!version.isEmpty())
        adopt(package, version);
    return version;
}

void InstalledPackageDatabase::adopt(Package &package, const QString &version)
{
    package.setState(Package::INSTALLED);
    record(package, version);
}

/// Adopts a complete version although the row is about later work. A row with AVAILABLE means a
/// removal.
void InstalledPackageDatabase::adoptWhole(Package &package, const QString &whole, Record &known)
{
    if (whole.isEmpty() || known.status == Package::INSTALLED || known.status == Package::AVAILABLE)
        return;
    adopt(package, whole);
    known = {Package::INSTALLED, whole};
}

/// An INSTALLED row that differs from the complete version was written by a program that does not
/// know the second table, and is right. But if files may be missing, a removal was interrupted.
/// Returns false if it cannot be written.
bool InstalledPackageDatabase::rememberRecorded(const Package &package, const Record &known,
                                                const WholeVersions::Texts &whole)
{
    const auto text = whole.constFind(package.id());
    const bool mayMissFiles = text != whole.cend() && text->isEmpty();
    if (mayMissFiles || known.version.isEmpty() || whole.value(package.id()) == known.version)
        return true;
    return m_wholeVersions.remember(package.id(), known.version);
}

} // namespace Kavo::Models
