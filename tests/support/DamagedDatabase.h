#pragma once

#include <QMetaType>
#include <QSqlDatabase>
#include <QString>
#include <QStringList>

namespace Kavo::Testing {

/// The states in which the program may find one of its SQLite files.
enum class DatabaseDamage {
    EMPTY,         ///< an empty file, which counts as a missing one
    GARBAGE,       ///< bytes that are not a database
    CUT_OFF,       ///< the first half of a database
    FOLDER,        ///< a folder
    LOST_LINK,     ///< a link into a folder that does not exist
    PIPE,          ///< a named pipe
    FULL_DISK,     ///< a link to a device that is always full
    READ_ONLY,     ///< a valid database that SQLite refuses to write to
    OTHER_COLUMNS, ///< a table with the right name but other columns
    MORE_COLUMNS,  ///< the right table with an additional NOT NULL column
    VIEW,          ///< a view with the name of the table
    ENDLESS_VIEW,  ///< such a view with all columns and an endless number of rows
    JOURNAL_PIPE,  ///< a valid database whose journal is a named pipe
};

/// Replaces the file at `path`. `schema` is the statement that creates the valid `table`. Returns
/// whether it succeeded.
bool makeDamagedDatabase(const QString &path, DatabaseDamage damage, const QString &table,
                         const QString &schema);

/// Executes SQL statements on the file, like another program. Returns whether all of them
/// succeeded.
bool executeOn(const QString &path, const QStringList &statements);

/// Locks a database exclusively, like another program, while the object exists.
class DatabaseLock final
{
public:
    explicit DatabaseLock(const QString &path);
    ~DatabaseLock();
    Q_DISABLE_COPY_MOVE(DatabaseLock)

    bool isHeld() const { return m_held; }

private:
    QSqlDatabase m_database;
    bool m_held = false;
};

} // namespace Kavo::Testing

Q_DECLARE_METATYPE(Kavo::Testing::DatabaseDamage)
