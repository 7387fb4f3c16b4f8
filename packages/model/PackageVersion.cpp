#include "packages/model/PackageVersion.h"

#include <QVersionNumber>

#include <algorithm>
#include <utility>

namespace Kavo::Models {

int compareVersions(const QString &first, const QString &second)
{
    return QVersionNumber::compare(QVersionNumber::fromString(first),
                                   QVersionNumber::fromString(second));
}

void sortNewestFirst(QVector<PackageVersionPointer> &versions)
{
    // Each text is parsed once, not at each comparison.
    using Numbered = std::pair<QVersionNumber, PackageVersionPointer>;
    std::vector<Numbered> numbered;
    numbered.reserve(static_cast<std::size_t>(versions.size()));
    for (PackageVersionPointer &version : versions)
        numbered.emplace_back(QVersionNumber::fromString(version->version), std::move(version));
    std::stable_sort(numbered.begin(), numbered.end(), [](const Numbered &a, const Numbered &b) {
        return QVersionNumber::compare(a.first, b.first) >= 1;
    });
    std::transform(numbered.begin(), numbered.end(), versions.begin(),
                   [](Numbered &entry) { return std::move(entry.second); });
}

bool isOutdated(const QString &installed, const QString &newest)
{
    const QVersionNumber installedNumber = QVersionNumber::fromString(installed);
    const QVersionNumber newestNumber = QVersionNumber::fromString(newest);
    if (installedNumber.isNull())
        return true;
    return !newestNumber.isNull() && QVersionNumber::compare(newestNumber, installedNumber) > 0;
}

} // namespace Kavo::Models
