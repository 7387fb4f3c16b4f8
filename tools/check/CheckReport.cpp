#include "tools/check/CheckReport.h"

#include <algorithm>
#include <utility>

namespace Kavo::Tools {

CheckReport::CheckReport(std::vector<Finding> findings, int leftOut)
    : m_findings(std::move(findings))
    , m_leftOut(leftOut)
{}

int CheckReport::count(Severity severity) const
{
    return static_cast<int>(
        std::count_if(m_findings.cbegin(), m_findings.cend(), [severity](const Finding &finding) {
            return describe(finding.rule).severity == severity;
        }));
}

bool CheckReport::has(Rule rule) const
{
    return std::any_of(m_findings.cbegin(), m_findings.cend(),
                       [rule](const Finding &finding) { return finding.rule == rule; });
}

} // namespace Kavo::Tools
