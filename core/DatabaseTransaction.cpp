#include "core/DatabaseTransaction.h"

namespace Kavo {

DatabaseTransaction::DatabaseTransaction(const DatabaseFile &file) : m_file(file)
{
    if (!m_file.isOpen())
        return;
    // Unlike BEGIN, a savepoint can be nested.
    QSqlQuery begin = m_file.prepared(QStringLiteral("SAVEPOINT together"));
    m_begun = m_file.run(begin);
}

DatabaseTransaction::~DatabaseTransaction()
{
    if (!m_begun)
        return;
    QSqlQuery end = m_file.prepared(QStringLiteral("RELEASE together"));
    // Otherwise a transaction that cannot be written would stay open and lock everybody else out of
    // the file.
    if (!m_file.run(end))
        m_file.prepared(QStringLiteral("ROLLBACK")).exec();
}

} // namespace Kavo
