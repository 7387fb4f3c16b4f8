#include "tools/check/CatalogueView.h"

#include "tools/check/VersionNumber.h"

#include <cmath>
#include <limits>

namespace Kavo::Tools {

namespace {

/// The index of the version that clients sort first; of equal ones the first.
int newestOf(const std::vector<VersionView> &versions)
{
    int newest = -1;
    for (std::size_t position = 0; position < versions.size(); ++position) {
        if (newest < 0 ||
            QVersionNumber::compare(versions[position].number,
                                    versions[static_cast<std::size_t>(newest)].number) >= 1)
            newest = static_cast<int>(position);
    }
    return newest;
}

PackageView viewOf(const JsonNode &node)
{
    PackageView package;
    package.node = &node;
    package.id = readInteger(node.member(QLatin1String("id")));
    for (const JsonNode &child : JsonChildren(arrayIn(&node, QLatin1String("versions")))) {
        VersionView version;
        version.node = &child;
        version.version = readText(child.member(QLatin1String("version")));
        const VersionNumber read = readVersionNumber(version.version);
        version.number = read.number;
        version.numberEnd = read.end;
        package.versions.push_back(std::move(version));
    }
    package.newest = newestOf(package.versions);
    return package;
}

} // namespace

const JsonNode *VersionView::entries(QLatin1String object, QLatin1String key) const
{
    return arrayIn(node->member(object), key);
}

QString VersionView::link() const
{
    return readText(node->member(QLatin1String("link")));
}

QString PackageView::label() const
{
    const JsonNode *const names = node->member(QLatin1String("name"));
    const QString name = names ? readText(names->member(QLatin1String("en"))) : QString();
    return name.isEmpty() ? QStringLiteral("package %1").arg(id)
                          : QStringLiteral("\"%1\" (%2)").arg(name).arg(id);
}

const VersionView *PackageView::newestVersion() const
{
    return newest < 0 ? nullptr : &versions[static_cast<std::size_t>(newest)];
}

CatalogueView::CatalogueView(const JsonNode *root)
{
    for (const JsonNode &child : JsonChildren(root && root->isArray() ? root : nullptr)) {
        m_packages.push_back(viewOf(child));
        const int id = m_packages.back().id;
        if (!m_positions.contains(id))
            m_positions.insert(id, static_cast<int>(m_packages.size()) - 1);
    }
}

int readInteger(const JsonNode *node)
{
    const double number = node ? node->number() : 0.0;
    constexpr double smallest = std::numeric_limits<int>::min();
    constexpr double largest = std::numeric_limits<int>::max();
    if (number < smallest || number > largest || std::floor(number) != number)
        return 0;
    return static_cast<int>(number);
}

QString readText(const JsonNode *node)
{
    return node ? node->text() : QString();
}

const JsonNode *arrayIn(const JsonNode *object, QLatin1String key)
{
    const JsonNode *const found = object ? object->member(key) : nullptr;
    return found && found->isArray() ? found : nullptr;
}

} // namespace Kavo::Tools
