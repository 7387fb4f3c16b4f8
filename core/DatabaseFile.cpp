#include "core/DatabaseFile.h"

#include "core/Log.h"
#include "core/Paths.h"
#include "core/RegularFile.h"

#include <QFile>
#include <QSqlError>

namespace Kavo {

namespace {

constexpr int PatienceInMilliseconds = 2000;

bool isLocked(const QSqlError &error)
{
    // SQLITE_BUSY; the higher bits only hold details.
    return (error.nativeErrorCode().toInt() & 0xff) == 5;
}

} // namespace

DatabaseFile::DatabaseFile(const QString &connection, const QString &fileName)
    : m_connection(connection)
    , m_fileName(fileName)
{}

DatabaseFile::~DatabaseFile()
{
    if (!m_database.isValid())
        return;
    // The last handle must be gone before the connection is removed from Qt's list.
    m_database = QSqlDatabase();
    QSqlDatabase::removeDatabase(m_connection);
}

bool DatabaseFile::open(const QString &schema)
{
    if (m_database.isOpen())
        return false;
    if (!m_database.isValid())
        m_database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_connection);
    m_database.setDatabaseName(applicationDataDirectory() + m_fileName);
    m_database.setConnectOptions(
        QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(PatienceInMilliseconds));
    m_patient = true;
    if (!isOfRegularFiles())
        return false;
    if (!m_database.open()) {
        logLine(m_database.lastError().text());
        return false;
    }
    if (!isOfPlainTables())
        return false;
    QSqlQuery create = prepared(schema);
    return run(create);
}

/// SQLite also opens the file with the journal's name; a pipe there would block it for ever.
bool DatabaseFile::isOfRegularFiles() const
{
    for (const char *suffix : {"", "-journal", "-wal", "-shm"}) {
        const QString path = m_database.databaseName() + QLatin1String(suffix);
        if (isSpecialFile(path)) {
            logLine(QStringLiteral("No regular file : ") + path);
            return false;
        }
    }
    return true;
}

/// A view or trigger made by another program may run without end. Closes a file that has one.
bool DatabaseFile::isOfPlainTables()
{
    QSqlQuery query =
        prepared(QStringLiteral("SELECT type FROM sqlite_master WHERE type NOT IN ('table', "
                                "'index') OR (type = 'table' AND rootpage = 0)"));
    if (!run(query))
        return false;
    if (!query.next())
        return true;
    logLine(QStringLiteral("SQL Error: %1 holds more than tables").arg(m_fileName));
    query = QSqlQuery();
    m_database.close();
    return false;
}

void DatabaseFile::removeFile()
{
    const QString path = m_database.databaseName();
    if (path.isEmpty() || !QFile::exists(path))
        return;
    m_database.close();
    QFile::remove(path);
}

QSqlQuery DatabaseFile::prepared(const QString &statement) const
{
    QSqlQuery query(m_database);
    query.setForwardOnly(true);
    query.prepare(statement);
    return query;
}

bool DatabaseFile::run(QSqlQuery &query) const
{
    // A query that could not be prepared holds the reason; executing it would replace the reason by
    // "No query".
    const bool done = !query.lastError().isValid() && query.exec();
    // Fixed, see docs/compatibility.md.
    if (!done)
        logLine(QStringLiteral("SQL Error: ") + query.lastError().text());
    // Otherwise a lock that is held longer would block the window again for every package.
    setPatient(done || !isLocked(query.lastError()));
    return done;
}

void DatabaseFile::setPatient(bool patient) const
{
    if (m_patient == patient)
        return;
    m_patient = patient;
    QSqlQuery(m_database)
        .exec(QStringLiteral("PRAGMA busy_timeout = %1").arg(patient ? PatienceInMilliseconds : 0));
}

} // namespace Kavo
