#include "tools/check/VersionsCheck.h"

#include <QRegularExpression>

#include <algorithm>

namespace Kavo::Tools {

namespace {

QString placed(const QString &message, const VersionView &other)
{
    return message.arg(other.version);
}

} // namespace

VersionsCheck::VersionsCheck(Findings &findings) : m_findings(findings) {}

void VersionsCheck::check(const CatalogueView &catalogue)
{
    for (const PackageView &package : catalogue.packages()) {
        for (const VersionView &version : package.versions) {
            if (!version.node->isObject())
                continue;
            checkText(version);
            checkChecksum(version);
        }
        compare(package);
    }
}

void VersionsCheck::checkText(const VersionView &version)
{
    const JsonNode *const node = version.node->member(QLatin1String("version"));
    if (!node || node->isEmptyText()) {
        m_findings.add(Rule::VERSION_MISSING, node ? *node : *version.node,
                       QStringLiteral("The version has no text."));
        return;
    }
    if (!node->isText())
        return;
    if (version.number.isNull())
        m_findings.add(Rule::VERSION_NOT_NUMBERS, *node,
                       QStringLiteral("\"%1\" does not begin with a number.").arg(version.version));
    else if (version.numberEnd != version.version.size())
        m_findings.add(Rule::VERSION_IGNORED_END, *node,
                       QStringLiteral("Of \"%1\" the end \"%2\" does not count.")
                           .arg(version.version, version.version.mid(version.numberEnd)));
}

void VersionsCheck::checkChecksum(const VersionView &version)
{
    static const QRegularExpression digits(QStringLiteral("\\A[0-9A-Fa-f]{64}\\z"));
    const JsonNode *const node = version.node->member(QLatin1String("sha256"));
    // Clients treat an empty value as missing.
    if (node && node->isText() && !node->isEmptyText() && !digits.match(node->text()).hasMatch())
        m_findings.add(Rule::CHECKSUM_MALFORMED, *node,
                       QStringLiteral("This is no SHA-256 in hexadecimal digits."));
}

/// Compares each version with the next one; equal ones are neighbours.
void VersionsCheck::compare(const PackageView &package)
{
    std::vector<const VersionView *> versions;
    for (const VersionView &version : package.versions) {
        if (!version.number.isNull())
            versions.push_back(&version);
    }
    std::stable_sort(versions.begin(), versions.end(), [](const auto *first, const auto *second) {
        const int order = QVersionNumber::compare(first->number, second->number);
        return order != 0 ? order < 0 : first->version < second->version;
    });
    for (std::size_t position = 1; position < versions.size(); ++position)
        compare(*versions[position - 1], *versions[position]);
}

void VersionsCheck::compare(const VersionView &older, const VersionView &newer)
{
    const bool isBehind = newer.node->start > older.node->start;
    const VersionView &first = isBehind ? older : newer;
    const VersionView &second = isBehind ? newer : older;
    const JsonNode &place = *second.node->member(QLatin1String("version"));
    if (older.version == newer.version)
        m_findings.add(Rule::VERSION_TWICE, place,
                       placed(QStringLiteral("\"%1\" stands here once more."), first));
    else if (QVersionNumber::compare(older.number, newer.number) == 0)
        m_findings.add(Rule::VERSION_SAME_NUMBERS, place,
                       placed(QStringLiteral("The numbers are those of \"%1\"."), first));
    else if (older.number.normalized() == newer.number.normalized())
        m_findings.add(
            Rule::VERSION_TRAILING_ZEROS, place,
            placed(QStringLiteral("This differs from \"%1\" by zeros at the end only."), first));
}

} // namespace Kavo::Tools
