#pragma once

#include <QMetaType>
#include <QSqlDatabase>
#include <QString>
#include <QStringList>

namespace Kavo::Testing {

/// What may be in the place of an SQLite file of the program.
enum class DatabaseDamage {
    EMPTY,         ///< an empty file, which is treated like none
    GARBAGE,       ///< bytes that are no database
    CUT_OFF,       ///< the first half of a database
    FOLDER,        ///< a folder
    LOST_LINK,     ///< a link into a folder that does not exist
    PIPE,          ///< a named pipe
    FULL_DISK,     ///< a device that takes no byte
    READ_ONLY,     ///< a sound database that SQLite will not write to
    OTHER_COLUMNS, ///< a table of the right name with other columns
    MORE_COLUMNS,  ///< the right table with a column that must be given
    VIEW,          ///< a view of the table's name
    ENDLESS_VIEW,  ///< such a view that has every column and no end
    JOURNAL_PIPE,  ///< a sound database with a named pipe in the place of its journal
};

/// Replaces the file by this. `schema` creates the sound `table`. Returns success.
bool makeDamagedDatabase(const QString &path, DatabaseDamage damage, const QString &table,
                         const QString &schema);

/// Runs statements on the file as another program would. Returns whether all went well.
bool executeOn(const QString &path, const QStringList &statements);

/// Locks a database, as another program might.
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
