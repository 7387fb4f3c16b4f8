#include "core/ArchiveReader.h"

#include "core/ArchiveListingReader.h"
#include "core/SevenZipProcess.h"

#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>
#include <climits>
#include <utility>

namespace Kavo::Extractors {

namespace {

/// The number of links read by one call; the length of a command line is limited.
constexpr int LinksAtATime = 100;

/// The longest accepted output of a test, in bytes.
constexpr qint64 LongestReport = 1024 * 1024;

bool hasSucceeded(const SevenZipProcess &process)
{
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

/// The size of the file that the test of a stream reports.
qint64 reportedSize(const QByteArray &report)
{
    static const QRegularExpression line(QStringLiteral("^Size: *([0-9]+)$"),
                                         QRegularExpression::MultilineOption);
    return line.match(QString::fromUtf8(report)).captured(1).toLongLong();
}

} // namespace

ArchiveReader::ArchiveReader(QString program, const QString &archive)
    : m_program(std::move(program))
    , m_archive(QFileInfo(archive).absoluteFilePath())
{}

ArchiveReader::Outcome ArchiveReader::list()
{
    m_listing = ArchiveListing();
    ArchiveListingReader reader;
    const Outcome outcome = readList(reader);
    if (reader.wantsPassword())
        return Outcome::ENCRYPTED;
    if (outcome != Outcome::LISTED)
        return outcome;
    std::optional<ArchiveListing> listing = reader.result();
    if (!listing)
        return Outcome::UNREADABLE;
    const auto &entries = listing->entries;
    if (std::any_of(entries.cbegin(), entries.cend(),
                    [](const ArchiveEntry &entry) { return entry.isEncrypted; }))
        return Outcome::ENCRYPTED;
    m_listing = std::move(*listing);
    if ((!m_listing.isStream || testStream()) && readTargets())
        return Outcome::LISTED;
    m_listing = ArchiveListing();
    return Outcome::UNREADABLE;
}

/// Reads while the program writes, so that the listing of a large archive is not held in memory
/// twice.
ArchiveReader::Outcome ArchiveReader::readList(ArchiveListingReader &reader) const
{
    if (!SevenZipProcess::namesOneFile(m_archive))
        return Outcome::UNREADABLE;
    SevenZipProcess process(m_program);
    if (!process.begin({QStringLiteral("l"), QStringLiteral("-slt"), m_archive}))
        return Outcome::NOT_RUN;
    while (process.waitForReadyRead(-1))
        reader.read(process.readAllStandardOutput());
    process.waitForFinished(-1);
    reader.read(process.readAllStandardOutput());
    if (process.exitStatus() != QProcess::NormalExit)
        return Outcome::NOT_RUN;
    return process.exitCode() == 0 ? Outcome::LISTED : Outcome::UNREADABLE;
}

bool ArchiveReader::testStream()
{
    const std::optional<QByteArray> report =
        output({QStringLiteral("t"), m_archive}, LongestReport);
    if (!report)
        return false;
    // Several formats store no size, and gzip stores only its lower 32 bits.
    if (m_listing.entries.size() == 1)
        m_listing.entries.first().size = reportedSize(*report);
    return true;
}

/// In most formats the target of a link is the content of its entry.
bool ArchiveReader::readTargets()
{
    QVector<int> links;
    const auto &entries = m_listing.entries;
    for (int position = 0; position < entries.size(); ++position) {
        const ArchiveEntry &entry = entries.at(position);
        if (entry.kind == ArchiveEntry::Kind::SYMBOLIC_LINK && entry.target.isEmpty())
            links.append(position);
    }
    for (int first = 0; first < links.size(); first += LinksAtATime) {
        if (!readTargets(links.mid(first, LinksAtATime)))
            return false;
    }
    return true;
}

/// 7-Zip writes the contents one after another, in the order of the archive.
bool ArchiveReader::readTargets(const QVector<int> &links)
{
    QStringList arguments{QStringLiteral("x"), QStringLiteral("-so"), QStringLiteral("-spd"),
                          m_archive};
    qint64 wanted = 0;
    for (const int link : links) {
        const ArchiveEntry &entry = m_listing.entries.at(link);
        if (entry.size <= 0 || entry.size >= PATH_MAX || entry.path.isEmpty())
            return false;
        wanted += entry.size;
        arguments.append(QStringLiteral("-i!") + entry.path);
    }
    const std::optional<QByteArray> contents = output(arguments, wanted);
    if (!contents || contents->size() != wanted)
        return false;
    qint64 start = 0;
    for (const int link : links) {
        ArchiveEntry &entry = m_listing.entries[link];
        entry.target =
            QString::fromUtf8(contents->mid(static_cast<int>(start), static_cast<int>(entry.size)));
        start += entry.size;
    }
    return true;
}

/// Returns the output of the program, or nothing if it fails or writes more than `longest` bytes.
std::optional<QByteArray> ArchiveReader::output(const QStringList &arguments, qint64 longest) const
{
    SevenZipProcess process(m_program);
    if (!process.begin(arguments))
        return std::nullopt;
    QByteArray text;
    while (text.size() <= longest && process.waitForReadyRead(-1))
        text += process.readAllStandardOutput();
    if (text.size() > longest)
        process.kill();
    process.waitForFinished(-1);
    text += process.readAllStandardOutput();
    if (text.size() > longest || !hasSucceeded(process))
        return std::nullopt;
    return text;
}

} // namespace Kavo::Extractors
