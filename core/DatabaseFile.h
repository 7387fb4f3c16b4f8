#pragma once

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>

namespace Kavo {

/// One SQLite file in the application data folder, behind a named connection.
///
/// Failures are logged and end there: a file that cannot be opened leaves isOpen() false, and a
/// failing statement logs "SQL Error: " with the driver's text. A file that holds views, triggers
/// or virtual tables is none of ours and is not used: any of them may be without an end. While
/// another program keeps the file locked only the first statement waits for it, two seconds at
/// most. Main thread. One object at a time may use a connection name.
class DatabaseFile final
{
public:
    /// More rows than that are read by nobody: far more than any catalogue has packages.
    static constexpr int MostRows = 1000 * 1000;

    /// Opens nothing yet.
    DatabaseFile(const QString &connection, const QString &fileName);
    ~DatabaseFile();
    Q_DISABLE_COPY_MOVE(DatabaseFile)

    /// Opens the file, creating it when missing, and runs `schema`. Does nothing when it is open.
    /// Returns whether both were done.
    bool open(const QString &schema);
    bool isOpen() const { return m_database.isOpen(); }

    /// Closes the connection and deletes the file, if there is one; open() makes a new one.
    void removeFile();

    /// A query for this connection with the statement prepared; errors show in run().
    QSqlQuery prepared(const QString &statement) const;
    /// Executes a query of prepared() and logs its failure.
    bool run(QSqlQuery &query) const;

private:
    bool isOfRegularFiles() const;
    bool isOfPlainTables();
    void setPatient(bool patient) const;

    QString m_connection;
    QString m_fileName;
    QSqlDatabase m_database;
    mutable bool m_patient = true; ///< whether a statement waits for a lock to go
};

} // namespace Kavo
