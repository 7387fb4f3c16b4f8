#pragma once

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>

namespace Kavo {

/// One SQLite file in the application data folder, opened under a named connection.
///
/// Failures are logged and not reported further: if the file cannot be opened, isOpen() is false,
/// and a failing statement logs "SQL Error: " with the driver's text. A file with views, triggers
/// or virtual tables was not made by this program and is not used, because any of them may run
/// without end. If another program holds a lock, only the first statement waits for it, two seconds
/// at most. Main thread. Only one object at a time may use a connection name.
class DatabaseFile final
{
public:
    /// The largest number of rows that is read; no catalogue has as many packages.
    static constexpr int MostRows = 1000 * 1000;

    /// Does not open the file.
    DatabaseFile(const QString &connection, const QString &fileName);
    ~DatabaseFile();
    Q_DISABLE_COPY_MOVE(DatabaseFile)

    /// Opens the file, creating it when missing, and runs `schema`. Does nothing when it is open.
    /// Returns whether both were done.
    bool open(const QString &schema);
    bool isOpen() const { return m_database.isOpen(); }

    /// Closes the connection and deletes the file, if there is one; open() makes a new one.
    void removeFile();

    /// Returns a query for this connection with the statement prepared. Errors are reported by
    /// run().
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
    mutable bool m_patient = true; ///< whether the next statement waits for a lock
};

} // namespace Kavo
