#include "tools/check/IdentityCheck.h"

#include "core/Languages.h"
#include "packages/model/Package.h"
#include "tools/check/NearestWord.h"

namespace Kavo::Tools {

IdentityCheck::IdentityCheck(Findings &findings) : m_findings(findings) {}

void IdentityCheck::check(const CatalogueView &catalogue)
{
    for (const PackageView &package : catalogue.packages()) {
        if (!package.node->isObject())
            continue;
        checkId(package);
        checkName(package);
        for (const char *key : {"name", "description", "short_description"})
            checkLanguages(package, QLatin1String(key));
        checkKind(package);
        checkOffer(package);
    }
}

void IdentityCheck::checkId(const PackageView &package)
{
    const JsonNode *const node = package.node->member(QLatin1String("id"));
    if (!node) {
        m_findings.add(Rule::ID_MISSING, *package.node,
                       QStringLiteral("The package has no \"id\"."));
        return;
    }
    // A number with more than 32 bits is another finding.
    if (!node->isNumber() || (package.id == 0 && node->number() != 0))
        return;
    if (package.id == 0)
        m_findings.add(Rule::ID_ZERO, *node, QStringLiteral("The number of the package is 0."));
    if (package.id < 0)
        m_findings.add(Rule::ID_NEGATIVE, *node,
                       QStringLiteral("The number of the package is below 0."));
    const PackageView *const other = m_known.value(package.id);
    if (other)
        m_findings.add(Rule::ID_TWICE, *node,
                       QStringLiteral("%1 has the same number.").arg(other->label()));
    else
        m_known.insert(package.id, &package);
}

void IdentityCheck::checkName(const PackageView &package)
{
    const JsonNode *const names = package.node->member(QLatin1String("name"));
    if (!names || (names->isObject() && !names->firstChild)) {
        m_findings.add(Rule::NAME_MISSING, names ? *names : *package.node,
                       QStringLiteral("The package has no name."));
        return;
    }
    for (const JsonNode &name : JsonChildren(names->isObject() ? names : nullptr)) {
        if (name.isText() && name.text().trimmed().isEmpty())
            m_findings.add(Rule::NAME_EMPTY, name, QStringLiteral("The name is empty."));
    }
}

void IdentityCheck::checkLanguages(const PackageView &package, QLatin1String key)
{
    const JsonNode *const texts = package.node->member(key);
    if (!texts || !texts->isObject() || !texts->firstChild)
        return;
    const QStringList known = languages();
    for (const JsonNode &text : JsonChildren(texts)) {
        const QString language = text.key();
        if (known.contains(language))
            continue;
        m_findings.addAtKey(Rule::LANGUAGE_UNKNOWN, text,
                            QStringLiteral("\"%1\" is none of the languages of clients: %2.")
                                .arg(language, known.join(QStringLiteral(", "))));
    }
    if (!texts->member(QLatin1String("en")))
        m_findings.add(Rule::LANGUAGE_NO_ENGLISH, *texts,
                       QStringLiteral("There is no text under \"en\"."));
}

void IdentityCheck::checkKind(const PackageView &package)
{
    const JsonNode *const node = package.node->member(QLatin1String("type"));
    if (!node || node->isEmptyText()) {
        m_findings.add(Rule::KIND_MISSING, node ? *node : *package.node,
                       QStringLiteral("The package has no \"type\"."));
        return;
    }
    if (!node->isText())
        return;
    const QString kind = node->text();
    const QStringList known = Models::knownPackageTypes();
    const QString nearest = known.contains(kind) ? QString() : nearestWord(kind, known);
    if (!nearest.isEmpty())
        m_findings.add(Rule::KIND_SPELLING, *node,
                       QStringLiteral("\"%1\" is no kind that clients know. Was \"%2\" meant?")
                           .arg(kind, nearest));
}

void IdentityCheck::checkOffer(const PackageView &package)
{
    const JsonNode *const versions = package.node->member(QLatin1String("versions"));
    if (!versions || (versions->isArray() && !versions->firstChild))
        m_findings.add(Rule::VERSIONS_NONE, versions ? *versions : *package.node,
                       QStringLiteral("The package has no version."));
}

} // namespace Kavo::Tools
