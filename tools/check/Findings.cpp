#include "tools/check/Findings.h"

#include <algorithm>
#include <utility>

namespace Kavo::Tools {

namespace {

/// The number of findings of one rule that are kept.
constexpr int MostOfARule = 1000;

} // namespace

Findings::Findings(QByteArray document) : m_document(std::move(document)) {}

bool Findings::isFull(Rule rule) const
{
    return m_counts.value(static_cast<int>(rule)) >= MostOfARule;
}

void Findings::add(Rule rule, const JsonNode &node, const QString &message)
{
    if (isWanted(rule))
        m_findings.push_back({rule, node.pointer(), node.start, 1, 1, message});
}

void Findings::addAtKey(Rule rule, const JsonNode &member, const QString &message)
{
    if (isWanted(rule))
        m_findings.push_back({rule, member.pointer(), member.keyStart, 1, 1, message});
}

void Findings::addAt(Rule rule, int offset, const QString &message)
{
    if (isWanted(rule))
        m_findings.push_back({rule, QString(), offset, 1, 1, message});
}

CheckReport Findings::report() const
{
    std::vector<Finding> findings = m_findings;
    std::stable_sort(
        findings.begin(), findings.end(),
        [](const Finding &first, const Finding &second) { return first.offset < second.offset; });
    int line = 1;
    int column = 1;
    int at = 0;
    for (Finding &finding : findings) {
        for (; at < finding.offset; ++at) {
            const char byte = m_document.at(at);
            // A character of several bytes counts once, by its first byte.
            if (byte == '\n') {
                ++line;
                column = 1;
            } else if ((static_cast<uchar>(byte) & 0xc0U) != 0x80U) {
                ++column;
            }
        }
        finding.line = line;
        finding.column = column;
    }
    return CheckReport(std::move(findings), m_leftOut);
}

bool Findings::isWanted(Rule rule)
{
    const bool isWanted = ++m_counts[static_cast<int>(rule)] <= MostOfARule;
    m_leftOut += isWanted ? 0 : 1;
    return isWanted;
}

} // namespace Kavo::Tools
