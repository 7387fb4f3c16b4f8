#include "tools/check/SharedFilesCheck.h"

namespace Kavo::Tools {

SharedFilesCheck::SharedFilesCheck(const CatalogueView &catalogue, Findings &findings)
    : m_catalogue(catalogue)
    , m_findings(findings)
{}

void SharedFilesCheck::add(int package, bool isNewest, const JsonNode &link,
                           const ShippedFiles &shipped)
{
    const PathTree &tree = shipped.tree();
    std::vector<int> nodes(static_cast<std::size_t>(tree.size()), PathTree::Root);
    for (int node = 1; node < tree.size(); ++node) {
        const int parent = nodes[static_cast<std::size_t>(tree.parent(node))];
        const int own = m_tree.add(parent, tree.name(node));
        nodes[static_cast<std::size_t>(node)] = own;
        m_owners.resize(static_cast<std::size_t>(m_tree.size()));
        if (shipped.isFile(node))
            addFile(package, isNewest, link, own);
    }
}

void SharedFilesCheck::addFile(int package, bool isNewest, const JsonNode &link, int node)
{
    Owners &owners = m_owners[static_cast<std::size_t>(node)];
    if (owners.any == None)
        owners.any = package;
    else if (owners.any != package)
        note(m_sharedAny, owners.any, link, node);
    if (!isNewest)
        return;
    if (owners.newest == None)
        owners.newest = package;
    else if (owners.newest != package)
        note(m_sharedNewest, owners.newest, link, node);
}

void SharedFilesCheck::note(QMap<int, Shared> &shared, int other, const JsonNode &link,
                            int node) const
{
    Shared &known = shared[other];
    // The versions of a package mostly have the same files; the first one is enough.
    if (!known.link)
        known.link = &link;
    if (known.link == &link)
        known.files.add(known.files.isEmpty() ? m_tree.path(node) : QString());
}

void SharedFilesCheck::finishPackage()
{
    for (auto shared = m_sharedNewest.cbegin(); shared != m_sharedNewest.cend(); ++shared)
        report(Rule::ARCHIVE_SHARED_FILE, shared.key(), *shared, QStringLiteral("also brings "));
    for (auto shared = m_sharedAny.cbegin(); shared != m_sharedAny.cend(); ++shared) {
        if (!m_sharedNewest.contains(shared.key()))
            report(Rule::ARCHIVE_SHARED_WITH_OLDER, shared.key(), *shared,
                   QStringLiteral("also brings, in an older version of one of the two, "));
    }
    m_sharedNewest.clear();
    m_sharedAny.clear();
}

void SharedFilesCheck::report(Rule rule, int other, const Shared &shared, const QString &message)
{
    const QString label = m_catalogue.packages()[static_cast<std::size_t>(other)].label();
    m_findings.add(rule, *shared.link,
                   label + QLatin1Char(' ') + message + shared.files.text() + QLatin1Char('.'));
}

} // namespace Kavo::Tools
