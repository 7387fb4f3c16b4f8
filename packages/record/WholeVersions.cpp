#include "packages/record/WholeVersions.h"

#include <QVariant>

namespace Kavo::Models {

namespace {

/// A TEXT column does not change the version "1.10".
const char *const Schema = "CREATE TABLE IF NOT EXISTS whole_versions "
                           "(package_id INTEGER PRIMARY KEY, version TEXT);";

} // namespace

void WholeVersions::makeTable()
{
    QSqlQuery create = m_file.prepared(QLatin1String(Schema));
    m_file.run(create);
}

std::optional<WholeVersions::Texts> WholeVersions::read() const
{
    QSqlQuery query =
        m_file.prepared(QStringLiteral("SELECT package_id, version FROM whole_versions"));
    if (!m_file.run(query))
        return std::nullopt;
    Texts texts;
    while (texts.size() < DatabaseFile::MostRows && query.next())
        texts.insert(query.value(0).toLongLong(), query.value(1).toString());
    return texts;
}

bool WholeVersions::remember(int packageId, const QString &version)
{
    QSqlQuery write = m_file.prepared(QStringLiteral(
        "INSERT OR REPLACE INTO whole_versions (package_id, version) VALUES (:id, :version)"));
    write.bindValue(QStringLiteral(":id"), packageId);
    write.bindValue(QStringLiteral(":version"), version);
    return m_file.run(write);
}

} // namespace Kavo::Models
