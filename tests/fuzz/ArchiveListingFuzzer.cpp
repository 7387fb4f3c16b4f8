// Tests ArchiveListingReader with input from libFuzzer, and ArchiveContainment with the listings
// that it returns. Aborts the process if one of them violates a condition.

#include "core/ArchiveListingReader.h"
#include "packages/installation/ArchiveContainment.h"
#include "tests/fuzz/Require.h"

#include <QMap>
#include <QStringList>

using Kavo::Testing::require;
using namespace Kavo;
using namespace Kavo::Extractors;
using Kind = ArchiveEntry::Kind;

namespace {

std::optional<ArchiveListing> readInPieces(const QByteArray &bytes, int length)
{
    ArchiveListingReader reader;
    for (int start = 0; start < bytes.size(); start += length)
        reader.read(bytes.mid(start, length));
    return reader.result();
}

bool areEqual(const ArchiveEntry &a, const ArchiveEntry &b)
{
    return a.path == b.path && a.kind == b.kind && a.size == b.size && a.target == b.target &&
           a.isEncrypted == b.isEncrypted;
}

bool areEqual(const ArchiveListing &a, const ArchiveListing &b)
{
    bool equal = a.entries.size() == b.entries.size() && a.isStream == b.isStream;
    for (int index = 0; equal && index < a.entries.size(); ++index)
        equal = areEqual(a.entries.at(index), b.entries.at(index));
    return equal;
}

/// A model of the folder that unpacking without checks would create. Its algorithm differs from the
/// one under test: each name of a path is looked up recursively.
class ModelFolder final
{
public:
    explicit ModelFolder(const ArchiveListing &listing)
    {
        for (const ArchiveEntry &entry : listing.entries) {
            if (entry.kind == Kind::SYMBOLIC_LINK)
                m_links.insert(namesOf(entry.path), entry.target);
        }
    }

    /// Whether opening the path ever leaves the folder.
    bool leaves(const QString &path) const
    {
        QStringList at;
        return !walk(at, path, 0);
    }

    static QStringList namesOf(const QString &path)
    {
        QStringList names;
        for (const QString &name : path.split(QLatin1Char('/'))) {
            if (!name.isEmpty() && name != QLatin1String("."))
                names.append(name);
        }
        return names;
    }

private:
    bool walk(QStringList &at, const QString &path, int depth) const
    {
        if (path.startsWith(QLatin1Char('/')))
            return false;
        for (const QString &name : namesOf(path)) {
            if (name == QLatin1String("..")) {
                if (at.isEmpty())
                    return false;
                at.removeLast();
                continue;
            }
            at.append(name);
            const auto link = m_links.constFind(at);
            if (link == m_links.constEnd())
                continue;
            // The kernel also limits the number of links, and opens no file beyond the limit.
            if (depth > 100)
                return true;
            at.removeLast();
            if (!walk(at, *link, depth + 1))
                return false;
        }
        return true;
    }

    QMap<QStringList, QString> m_links;
};

void checkContained(const ArchiveListing &listing)
{
    const ModelFolder folder(listing);
    for (const ArchiveEntry &entry : listing.entries) {
        require(entry.kind != Kind::DEVICE, "the archive contains no device");
        require(!folder.leaves(entry.path), "no path leaves the folder");
        if (entry.kind == Kind::HARD_LINK)
            require(!folder.leaves(entry.target), "no target of a hard link leaves the folder");
    }
}

} // namespace

// The name is libFuzzer's.
// NOLINTNEXTLINE(readability-identifier-naming)
extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const auto listing = readInPieces(bytes, qMax(bytes.size(), 1));
    const auto inPieces = readInPieces(bytes, 1 + (size > 0 ? data[0] % 16 : 0));
    require(listing.has_value() == inPieces.has_value(), "pieces make no difference");
    if (!listing)
        return 0;
    require(areEqual(*listing, *inPieces), "pieces make no difference");
    for (const ArchiveEntry &entry : listing->entries)
        require(entry.size >= 0, "no size is negative");
    if (!ArchiveContainment(*listing, QStringLiteral("/nonexistent")).wayOut())
        checkContained(*listing);
    return 0;
}
