// Tests the catalogue parser with input from libFuzzer, and the code that evaluates the rules of
// the parsed packages. Aborts the process if one of them violates a condition.
//
// Empty dependency entries are skipped, as the program does when it loads a catalogue. Resolving an
// empty entry would abort the process on purpose.

#include "core/ContainedPath.h"
#include "packages/catalogue/CatalogueParser.h"
#include "packages/model/DependencyEntry.h"
#include "tests/fuzz/Require.h"

#include <QDir>

using Kavo::Testing::require;
using namespace Kavo::Models;

namespace {

bool areEqual(const PackageVersion &a, const PackageVersion &b)
{
    return a.version == b.version && a.link == b.link && a.size == b.size && a.sha256 == b.sha256 &&
           a.depends == b.depends && a.log == b.log && a.install->extract == b.install->extract &&
           a.install->preserve == b.install->preserve && a.install->backup == b.install->backup &&
           a.uninstall->remove == b.uninstall->remove;
}

bool haveEqualVersions(const Package &a, const Package &b)
{
    bool equal = a.versions().size() == b.versions().size();
    for (int index = 0; equal && index < a.versions().size(); ++index)
        equal = areEqual(*a.versions().at(index), *b.versions().at(index));
    return equal;
}

/// All values that do not depend on the language.
bool haveEqualData(const Package &a, const Package &b)
{
    return a.id() == b.id() && a.productId() == b.productId() && a.icon() == b.icon() &&
           a.type() == b.type() && a.manualUrl() == b.manualUrl() && a.helpUrl() == b.helpUrl() &&
           a.banner() == b.banner() && haveEqualVersions(a, b);
}

bool haveEqualTexts(const Package &a, const Package &b)
{
    return a.name() == b.name() && a.description() == b.description() &&
           a.shortDescription() == b.shortDescription();
}

/// A second implementation of the rule for entries. It counts the depth below the folder.
bool shouldBeAccepted(const QString &entry)
{
    if (entry.startsWith(QLatin1Char('/')) || entry.contains(QChar::Null))
        return false;
    int depth = 0;
    for (const QString &part : entry.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        if (part == QLatin1String("."))
            continue;
        depth += part == QLatin1String("..") ? -1 : 1;
        if (depth < 0)
            return false;
    }
    return depth > 0;
}

void checkEntry(const QString &entry)
{
    const QString folder = QStringLiteral("/simulator/");
    const QString path = Kavo::containedPath(folder, entry);
    require(path.isEmpty() != shouldBeAccepted(entry),
            "an entry is accepted if and only if it stays in the folder");
    if (path.isEmpty())
        return;
    require(path.startsWith(folder) && path.size() > folder.size(), "the path is in the folder");
    require(QDir::cleanPath(path) == path, "the path is clean");
    require(Kavo::containedPath(folder, path.mid(folder.size())) == path,
            "a clean entry gives the same path");
}

void checkVersion(const PackageVersion &version)
{
    for (const QStringList &entries :
         {QStringList(version.install->extract), version.install->preserve, version.install->backup,
          version.uninstall->remove}) {
        for (const QString &entry : entries)
            checkEntry(entry);
    }
    for (const QString &entry : version.depends) {
        if (entry.isEmpty())
            continue;
        const DependencyEntry dependency = DependencyEntry::parse(entry);
        require(entry.contains(QLatin1Char(':')) || dependency.requiredVersion.isEmpty(),
                "a dependency without a colon has no minimum");
        require(dependency.isMetBy(dependency.requiredVersion), "a version meets itself");
    }
}

void checkVersions(const QVector<PackageVersionPointer> &versions)
{
    for (int index = 0; index < versions.size(); ++index) {
        require(versions.at(index) && versions.at(index)->install && versions.at(index)->uninstall,
                "versions and their rules are never null");
        require(index == 0 || compareVersions(versions.at(index - 1)->version,
                                              versions.at(index)->version) >= 0,
                "versions are ordered from the newest to the oldest");
        checkVersion(*versions.at(index));
    }
}

void checkPackage(const Package &package)
{
    require(package.state() == Package::AVAILABLE, "parsed packages are available");
    require(!package.isUpdateAvailable(), "parsed packages have no update");
    require(package.versionIndex(package.newestVersion()) == 0, "the newest version comes first");
    require(!package.findVersion(QString()) == package.versions().isEmpty(),
            "an empty text means the newest version");
    checkVersions(package.versions());
}

} // namespace

// The name is libFuzzer's.
// NOLINTNEXTLINE(readability-identifier-naming)
extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const PackageList english = parseCatalogue(bytes, QStringLiteral("en"));
    const PackageList again = parseCatalogue(bytes, QStringLiteral("en"));
    const PackageList german = parseCatalogue(bytes, QStringLiteral("de"));
    require(english.size() == again.size() && english.size() == german.size(),
            "one file always gives the same number of packages");
    for (int index = 0; index < english.size(); ++index) {
        const Package &package = *english.at(index);
        checkPackage(package);
        require(haveEqualData(package, *again.at(index)) &&
                    haveEqualTexts(package, *again.at(index)),
                "one file always gives the same packages");
        require(haveEqualData(package, *german.at(index)), "the language changes only texts");
    }
    return 0;
}
