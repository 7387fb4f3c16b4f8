#include "tools/check/ShippedFiles.h"

#include <climits>

namespace Kavo::Tools {

using Extractors::ArchiveEntry;

namespace {

QString cleaned(const QString &path)
{
    QStringList names = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    names.removeAll(QStringLiteral("."));
    return names.join(QLatin1Char('/'));
}

} // namespace

/// The caller has checked that no entry leaves the folder.
ShippedFiles::ShippedFiles(const Extractors::ArchiveListing &listing, const QString &folder)
{
    m_tree.add(folder);
    m_firstInside = m_tree.size();
    m_kinds.resize(static_cast<std::size_t>(m_firstInside), Kind::FOLDER);
    for (const ArchiveEntry &entry : listing.entries) {
        const QString path = cleaned(folder + QLatin1Char('/') + entry.path);
        if (path.toUtf8().size() >= PATH_MAX)
            m_tooLong.add(path);
        else if (!entry.path.isEmpty())
            addEntry(entry.kind, path);
    }
}

void ShippedFiles::addEntry(ArchiveEntry::Kind kind, const QString &path)
{
    const int known = m_tree.size();
    int node = PathTree::Root;
    bool isBelowFile = false;
    for (const QString &name : path.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        isBelowFile = isBelowFile || isFile(node);
        node = m_tree.add(node, name);
        m_kinds.resize(static_cast<std::size_t>(m_tree.size()), Kind::FOLDER);
    }
    const bool isFolder = kind == ArchiveEntry::Kind::FOLDER;
    if (isBelowFile || (node < known && isFile(node) == isFolder))
        m_clashes.add(path);
    else if (!isFolder)
        m_kinds[static_cast<std::size_t>(node)] = Kind::FILE;
}

ShippedFiles::Kind ShippedFiles::kindOf(const QString &path) const
{
    const int node = m_tree.find(path);
    return node == PathTree::None ? Kind::NOTHING : kindOf(node);
}

SomePaths ShippedFiles::without(const QStringList &deleted) const
{
    std::vector<bool> isGone(m_kinds.size());
    for (const QString &path : deleted) {
        const int node = m_tree.find(path);
        if (node != PathTree::None)
            isGone[static_cast<std::size_t>(node)] = true;
    }
    SomePaths left;
    for (int node = 1; node < m_tree.size(); ++node) {
        const auto position = static_cast<std::size_t>(node);
        isGone[position] =
            isGone[position] || isGone[static_cast<std::size_t>(m_tree.parent(node))];
        if (isFile(node) && !isGone[position])
            left.add(left.isEmpty() ? m_tree.path(node) : QString());
    }
    return left;
}

} // namespace Kavo::Tools
