#include "tools/publish/ArchiveLook.h"

#include "core/RegularFile.h"
#include "tools/check/ArchiveFaults.h"
#include "tools/check/ArchiveNames.h"
#include "tools/check/JsonTree.h"
#include "tools/check/StoredArchive.h"

#include <QDateTime>
#include <QFileInfo>

#include <utility>

namespace Kavo::Tools {

ArchiveLook::ArchiveLook(QString archive, QString extractor)
    : m_archive(std::move(archive))
    , m_extractor(std::move(extractor))
{}

QString ArchiveLook::fileName() const
{
    return QFileInfo(m_archive).fileName();
}

ArchiveLook::Outcome ArchiveLook::look()
{
    const QFileInfo before(m_archive);
    QFile file(m_archive);
    if (!before.isFile() || !openRegular(file, QIODevice::ReadOnly))
        return end(Outcome::NOT_READ, QStringLiteral("It cannot be read."));
    if (!QFileInfo(m_extractor).isExecutable())
        return end(Outcome::NOT_READ,
                   QStringLiteral("It cannot be read: there is no 7-Zip at %1.").arg(m_extractor));
    const Outcome outcome = examine();
    const QFileInfo now(m_archive);
    const bool hasChanged =
        now.size() != before.size() || now.lastModified() != before.lastModified();
    if (hasChanged || (outcome == Outcome::GOOD && m_sha256.isEmpty()))
        return end(Outcome::NOT_READ, QStringLiteral("It has changed while it was read."));
    return outcome;
}

ArchiveLook::Outcome ArchiveLook::examine()
{
    StoredArchive archive(m_archive, m_extractor);
    // The findings need a position; only their sentences are used here.
    const JsonTree place("null");
    Findings findings(place.bytes());
    if (checkArchive(archive, *place.root(), findings))
        checkNames(ShippedFiles(archive.listing(), QString()), *place.root(), findings);
    const CheckReport report = findings.report();
    for (const Finding &finding : report.findings()) {
        if (describe(finding.rule).severity == Severity::ERROR)
            return end(Outcome::REFUSED, finding.message);
    }
    m_listing = archive.listing();
    m_size = archive.size();
    m_sha256 = QString::fromLatin1(archive.digest().toHex());
    return Outcome::GOOD;
}

ArchiveLook::Outcome ArchiveLook::end(Outcome outcome, const QString &fault)
{
    m_fault = fault;
    return outcome;
}

} // namespace Kavo::Tools
