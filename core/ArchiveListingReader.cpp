#include "core/ArchiveListingReader.h"

namespace Kavo::Extractors {

namespace {

using Kind = ArchiveEntry::Kind;

/// The longest line that is accepted; a line holds one path, link target or comment.
constexpr int LongestLine = 1024 * 1024;

/// The largest number of entries; it limits the memory they need and exceeds that of any add-on.
constexpr int MostEntries = 4 * 1000 * 1000;

/// Formats that compress a single file and have no index.
bool isStreamFormat(const QByteArray &type)
{
    static const QSet<QByteArray> formats{"bzip2", "gzip", "lzma", "lzma86", "xz", "Z", "zstd"};
    return formats.contains(type);
}

/// Whether the word is a file mode in the notation of `ls`, such as "lrwxrwxrwx".
bool isMode(const QByteArray &word)
{
    if (word.size() != 10)
        return false;
    for (int position = 1; position < word.size(); ++position) {
        if (!QByteArrayLiteral("rwxsStT-").contains(word.at(position)))
            return false;
    }
    return true;
}

Kind kindOfMode(char type)
{
    switch (type) {
    case 'd':
        return Kind::FOLDER;
    case 'l':
        return Kind::SYMBOLIC_LINK;
    case 'b':
    case 'c':
    case 'p':
    case 's':
        return Kind::DEVICE;
    default:
        return Kind::FILE;
    }
}

/// For example "D drwxr-xr-x": the Windows attributes, one letter each, and the Unix mode. Either
/// may be missing. The Windows attribute "L" is a reparse point, which counts as a link.
Kind kindOfAttributes(const QByteArray &attributes)
{
    Kind kind = Kind::FILE;
    for (const QByteArray &word : attributes.split(' ')) {
        if (isMode(word)) {
            const Kind told = kindOfMode(word.at(0));
            if (told != Kind::FILE)
                return told;
        } else if (word.contains('L')) {
            return Kind::SYMBOLIC_LINK;
        } else if (word.contains('D')) {
            kind = Kind::FOLDER;
        }
    }
    return kind;
}

bool isLink(Kind kind)
{
    return kind == Kind::SYMBOLIC_LINK || kind == Kind::HARD_LINK;
}

} // namespace

void ArchiveListingReader::read(const QByteArray &bytes)
{
    int start = 0;
    int end = 0;
    while ((end = bytes.indexOf('\n', start)) >= 0) {
        m_rest += bytes.mid(start, end - start);
        readLine(m_rest);
        m_rest.clear();
        start = end + 1;
    }
    m_rest += bytes.mid(start);
    if (m_rest.size() > LongestLine) {
        m_isMalformed = true;
        m_rest.clear();
    }
}

std::optional<ArchiveListing> ArchiveListingReader::result()
{
    readLine(m_rest);
    m_rest.clear();
    endEntry();
    if (m_isMalformed)
        return std::nullopt;
    return m_listing;
}

void ArchiveListingReader::readLine(const QByteArray &line)
{
    if (line.startsWith("Enter password")) {
        m_wantsPassword = true;
        return;
    }
    // The line may be part of a comment. A made-up entry cannot hide a real one.
    if (line == "----------") {
        endEntry();
        m_isInEntries = true;
        return;
    }
    if (line.isEmpty()) {
        endEntry();
        return;
    }
    const int separator = line.indexOf(" =");
    if (separator <= 0)
        return;
    const QByteArray key = line.left(separator);
    const QByteArray value = line.mid(separator + 3);
    if (m_isInEntries)
        readEntryProperty(key, value);
    else
        readArchiveProperty(key, value);
}

void ArchiveListingReader::readArchiveProperty(const QByteArray &key, const QByteArray &value)
{
    if (key == "Type" && isStreamFormat(value))
        m_listing.isStream = true;
}

void ArchiveListingReader::readEntryProperty(const QByteArray &key, const QByteArray &value)
{
    if (m_known.contains(key)) {
        m_isMalformed = true;
        return;
    }
    m_known.insert(key);
    if (key == "Path") {
        m_entry.path = QString::fromUtf8(value);
    } else if (key == "Size") {
        m_entry.size = qMax(value.toLongLong(), 0LL);
    } else if (key == "Encrypted") {
        m_entry.isEncrypted = value == "+";
    } else if (key == "Folder" && value == "+" && m_entry.kind == Kind::FILE) {
        m_entry.kind = Kind::FOLDER;
    } else if (key == "Attributes" || key == "Mode") {
        const Kind kind = kindOfAttributes(value);
        if (kind != Kind::FILE && !isLink(m_entry.kind))
            m_entry.kind = kind;
    } else if (!value.isEmpty() && (key == "Symbolic Link" || key == "Link")) {
        m_entry.kind = Kind::SYMBOLIC_LINK;
        m_entry.target = QString::fromUtf8(value);
    } else if (!value.isEmpty() && key == "Hard Link" && m_entry.kind != Kind::SYMBOLIC_LINK) {
        m_entry.kind = Kind::HARD_LINK;
        m_entry.target = QString::fromUtf8(value);
    }
}

void ArchiveListingReader::endEntry()
{
    if (m_known.isEmpty())
        return;
    if (m_listing.entries.size() < MostEntries)
        m_listing.entries.append(m_entry);
    else
        m_isMalformed = true;
    m_entry = ArchiveEntry();
    m_known.clear();
}

} // namespace Kavo::Extractors
