#include "packages/model/ChangeLog.h"

namespace Kavo::Models {

namespace {

QString linesHtml(const QStringList &lines)
{
    // The stray bracket is part of the text.
    // Fixed, see docs/compatibility.md.
    if (lines.isEmpty())
        return QStringLiteral("<p>Not available></p>");
    QString html = QStringLiteral("<ul>");
    for (const QString &line : lines)
        html += QStringLiteral("<li>") + line + QStringLiteral("</li>");
    return html + QStringLiteral("</ul>");
}

} // namespace

QString changeLogHtml(const QVector<PackageVersionPointer> &versions)
{
    QString html;
    for (const PackageVersionPointer &version : versions)
        html += QStringLiteral("<strong>") + version->version + QStringLiteral("</strong>") +
                linesHtml(version->log);
    return html;
}

} // namespace Kavo::Models
