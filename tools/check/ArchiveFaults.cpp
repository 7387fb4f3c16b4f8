#include "tools/check/ArchiveFaults.h"

#include "core/ByteSize.h"
#include "tools/check/SomePaths.h"

#include <QSet>

namespace Kavo::Tools {

using Extractors::ArchiveEntry;
using Outcome = Extractors::ArchiveReader::Outcome;

namespace {

bool isNameOfArchive(const QString &name)
{
    static const QSet<QString> suffixes{
        QStringLiteral("7z"),  QStringLiteral("bz2"), QStringLiteral("cab"), QStringLiteral("cpio"),
        QStringLiteral("gz"),  QStringLiteral("iso"), QStringLiteral("lz"),  QStringLiteral("lzma"),
        QStringLiteral("rar"), QStringLiteral("tar"), QStringLiteral("tbz"), QStringLiteral("tbz2"),
        QStringLiteral("tgz"), QStringLiteral("txz"), QStringLiteral("wim"), QStringLiteral("xz"),
        QStringLiteral("zip"), QStringLiteral("zst")};
    const QString file = name.section(QLatin1Char('/'), -1);
    return file.contains(QLatin1Char('.')) &&
           suffixes.contains(file.section(QLatin1Char('.'), -1).toLower());
}

/// Whether the archive could be read.
bool checkOutcome(Outcome outcome, const JsonNode &link, Findings &findings)
{
    switch (outcome) {
    case Outcome::LISTED:
        return true;
    case Outcome::UNREADABLE:
        findings.add(Rule::ARCHIVE_UNREADABLE, link,
                     QStringLiteral("The file is cut, damaged or no archive at all."));
        return false;
    case Outcome::ENCRYPTED:
        findings.add(Rule::ARCHIVE_ENCRYPTED, link,
                     QStringLiteral("The archive asks for a password."));
        return false;
    case Outcome::NOT_RUN:
        findings.add(Rule::ARCHIVE_UNREADABLE, link,
                     QStringLiteral("7-Zip could not be run, or was killed by this archive."));
        return false;
    }
    Q_UNREACHABLE();
}

void tellLinks(const StoredArchive &archive, const JsonNode &link, Findings &findings)
{
    SomePaths links;
    for (const ArchiveEntry &entry : archive.listing().entries) {
        if (entry.kind == ArchiveEntry::Kind::SYMBOLIC_LINK)
            links.add(entry.path);
    }
    if (!links.isEmpty())
        findings.add(Rule::ARCHIVE_LINK, link,
                     QStringLiteral("There is a link in the archive: ") + links.text() +
                         QLatin1Char('.'));
}

/// An archive without files belongs to a package that only has dependencies.
void tellSize(const StoredArchive &archive, const JsonNode &link, Findings &findings)
{
    qint64 size = 0;
    int files = 0;
    for (const ArchiveEntry &entry : archive.listing().entries) {
        size += entry.size;
        files += entry.kind == ArchiveEntry::Kind::FOLDER ? 0 : 1;
    }
    if (files > 0)
        findings.add(Rule::ARCHIVE_UNPACKED_SIZE, link,
                     QStringLiteral("Unpacked it is %1 in %2 %3.")
                         .arg(formatByteSize(size))
                         .arg(files)
                         .arg(files == 1 ? QStringLiteral("file") : QStringLiteral("files")));
}

} // namespace

bool checkArchive(const StoredArchive &archive, const JsonNode &link, Findings &findings)
{
    if (!checkOutcome(archive.outcome(), link, findings))
        return false;
    if (const auto path = archive.wayOut()) {
        findings.add(Rule::ARCHIVE_LEADS_OUT, link,
                     QStringLiteral("\"%1\" is a device or leads out of the folder.").arg(*path));
        return false;
    }
    const QString only = archive.onlyFile();
    if (isNameOfArchive(only))
        findings.add(Rule::ARCHIVE_NESTED, link,
                     QStringLiteral("There is nothing but \"%1\" in the archive.").arg(only));
    tellLinks(archive, link, findings);
    tellSize(archive, link, findings);
    return true;
}

} // namespace Kavo::Tools
