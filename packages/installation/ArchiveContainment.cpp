#include "packages/installation/ArchiveContainment.h"

#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace Kavo {

using Extractors::ArchiveEntry;
using Kind = ArchiveEntry::Kind;

namespace {

const QString Above = QStringLiteral("..");

/// The number of nested links that the kernel follows.
constexpr int MostLinks = 40;

bool isLink(const ArchiveEntry &entry)
{
    return entry.kind == Kind::SYMBOLIC_LINK || entry.kind == Kind::HARD_LINK;
}

/// Splits a path into its names.
QStringList partsOf(const QString &path)
{
    QStringList parts = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    parts.removeAll(QStringLiteral("."));
    return parts;
}

QString cleanPath(const QString &path)
{
    return partsOf(path).join(QLatin1Char('/'));
}

/// The path with backslashes as separators. Archives made on Windows have such names, and their
/// meaning depends on the unpacking program.
QString withSlashes(const QString &path)
{
    return QString(path).replace(QLatin1Char('\\'), QLatin1Char('/'));
}

bool isAbsolute(const QString &path)
{
    const QString name = withSlashes(path);
    const bool hasDrive = name.size() > 2 && name.at(0).isLetter() &&
                          name.at(1) == QLatin1Char(':') && name.at(2) == QLatin1Char('/');
    return name.startsWith(QLatin1Char('/')) || hasDrive;
}

} // namespace

ArchiveContainment::ArchiveContainment(const Extractors::ArchiveListing &listing, QString folder)
    : m_listing(listing)
    , m_folder(std::move(folder))
{
    for (const ArchiveEntry &entry : listing.entries) {
        if (isLink(entry))
            m_links.insert(cleanPath(entry.path), entry.target);
    }
    if (m_links.isEmpty())
        return;
    for (const ArchiveEntry &entry : listing.entries) {
        const QString path = cleanPath(entry.path);
        if (m_links.contains(path))
            ++m_linksByPath[path];
    }
}

std::optional<QString> ArchiveContainment::wayOut() const
{
    const auto &entries = m_listing.entries;
    const auto found = std::find_if(entries.cbegin(), entries.cend(),
                                    [this](const ArchiveEntry &entry) { return leadsOut(entry); });
    return found == entries.cend() ? std::nullopt : std::make_optional(found->path);
}

bool ArchiveContainment::leadsOut(const ArchiveEntry &entry) const
{
    if (entry.kind == Kind::DEVICE || isAbsolute(entry.path) || entry.path.contains(QChar::Null))
        return true;
    if (entry.path.contains(Above) && partsOf(withSlashes(entry.path)).contains(Above))
        return true;
    if (goesThroughLink(entry))
        return true;
    switch (entry.kind) {
    case Kind::FILE:
    case Kind::FOLDER:
    case Kind::DEVICE:
        return false;
    case Kind::SYMBOLIC_LINK: {
        QStringList base = partsOf(entry.path);
        if (base.isEmpty())
            return true;
        base.removeLast();
        return targetLeadsOut(base, entry.target) ||
               targetLeadsOut(base, withSlashes(entry.target));
    }
    case Kind::HARD_LINK:
        return targetLeadsOut({}, entry.target) || targetLeadsOut({}, withSlashes(entry.target));
    }
    Q_UNREACHABLE();
}

/// This includes an entry with the same path as a link: writing to a link may write to its target.
bool ArchiveContainment::goesThroughLink(const ArchiveEntry &entry) const
{
    if (m_links.isEmpty())
        return false;
    const QStringList parts = partsOf(entry.path);
    if (m_linksByPath.value(parts.join(QLatin1Char('/'))) > 1)
        return true;
    QString path;
    for (int count = 0; count + 1 < parts.size(); ++count) {
        path += (count > 0 ? QStringLiteral("/") : QString()) + parts.at(count);
        if (m_links.contains(path))
            return true;
    }
    return false;
}

/// Resolves a target as the kernel would after unpacking.
bool ArchiveContainment::targetLeadsOut(const QStringList &base, const QString &target) const
{
    if (target.isEmpty() || isAbsolute(target) || target.contains(QChar::Null))
        return true;
    QStringList at = base;
    QStringList ahead = partsOf(target);
    int followed = 0;
    while (!ahead.isEmpty()) {
        const QString part = ahead.takeFirst();
        if (part == Above) {
            if (at.isEmpty() || isLinkOnDisk(at))
                return true;
            at.removeLast();
            continue;
        }
        at.append(part);
        const auto link = m_links.constFind(at.join(QLatin1Char('/')));
        if (link == m_links.constEnd())
            continue;
        if (++followed > MostLinks || link->isEmpty() || isAbsolute(*link))
            return true;
        at.removeLast();
        ahead = partsOf(*link) + ahead;
    }
    return false;
}

/// Whether the path is a link of the user: ".." after its target does not lead back to its own
/// parent.
bool ArchiveContainment::isLinkOnDisk(const QStringList &parts) const
{
    return QFileInfo(m_folder + QLatin1Char('/') + parts.join(QLatin1Char('/'))).isSymLink();
}

} // namespace Kavo
