#include "tests/support/DamagedDatabase.h"

#include "tests/support/Files.h"
#include "tests/support/Literals.h"

#include <QDir>
#include <QFile>
#include <QSqlQuery>
#include <QVariant>

#include <sys/stat.h>

namespace Kavo::Testing {

namespace {

/// SQLite refuses to write to a file whose format is newer than it knows, even for root.
bool makeReadOnly(const QString &path)
{
    constexpr int WriteVersion = 18;
    QFile file(path);
    return file.open(QIODevice::ReadWrite) && file.seek(WriteVersion) && file.putChar('\3');
}

bool cutOff(const QString &path)
{
    QFile file(path);
    return file.resize(file.size() / 2);
}

} // namespace

bool makeDamagedDatabase(const QString &path, DatabaseDamage damage, const QString &table,
                         const QString &schema)
{
    QFile::remove(path);
    switch (damage) {
    case DatabaseDamage::EMPTY:
        return writeFile(path, QByteArray());
    case DatabaseDamage::GARBAGE:
        return writeFile(path, QByteArray(5000, 'x'));
    case DatabaseDamage::CUT_OFF:
        return executeOn(path, {schema}) && cutOff(path);
    case DatabaseDamage::FOLDER:
        return QDir().mkpath(path);
    case DatabaseDamage::LOST_LINK:
        return QFile::link("/nowhere/at/all.db"_s, path);
    case DatabaseDamage::PIPE:
        return ::mkfifo(QFile::encodeName(path).constData(), 0600) == 0;
    case DatabaseDamage::FULL_DISK:
        return QFile::link("/dev/full"_s, path);
    case DatabaseDamage::READ_ONLY:
        return executeOn(path, {schema}) && makeReadOnly(path);
    case DatabaseDamage::OTHER_COLUMNS:
        return executeOn(path, {"CREATE TABLE %1 (name TEXT)"_s.arg(table)});
    case DatabaseDamage::MORE_COLUMNS:
        return executeOn(path, {QString(schema).replace(QLatin1String(");"),
                                                        QLatin1String(",owner TEXT NOT NULL);"))});
    case DatabaseDamage::VIEW:
        return executeOn(path, {"CREATE VIEW %1 AS SELECT 1 AS id"_s.arg(table)});
    case DatabaseDamage::ENDLESS_VIEW:
        return executeOn(path,
                         {"CREATE VIEW %1 AS WITH RECURSIVE c (id) AS (SELECT 1 UNION ALL "
                          "SELECT id + 1 FROM c) SELECT id, id AS package_id, '1.0' AS "
                          "version, 0 AS status, '' AS url FROM c WHERE id > 9"_s.arg(table)});
    case DatabaseDamage::JOURNAL_PIPE:
        return executeOn(path, {schema}) &&
               ::mkfifo(QFile::encodeName(path + "-journal"_s).constData(), 0600) == 0;
    }
    return false;
}

bool executeOn(const QString &path, const QStringList &statements)
{
    const QString connection = "other program"_s;
    bool done = true;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE"_s, connection);
        database.setDatabaseName(path);
        done = database.open();
        QSqlQuery query(database);
        for (const QString &statement : statements)
            done = done && query.exec(statement);
    }
    QSqlDatabase::removeDatabase(connection);
    return done;
}

DatabaseLock::DatabaseLock(const QString &path)
    : m_database(QSqlDatabase::addDatabase("QSQLITE"_s, "lock"_s))
{
    m_database.setDatabaseName(path);
    m_held = m_database.open() && QSqlQuery(m_database).exec("BEGIN EXCLUSIVE TRANSACTION"_s);
}

DatabaseLock::~DatabaseLock()
{
    m_database = QSqlDatabase();
    QSqlDatabase::removeDatabase("lock"_s);
}

} // namespace Kavo::Testing
