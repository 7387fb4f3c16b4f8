#pragma once

#include "tools/check/Finding.h"

#include <vector>

namespace Kavo::Tools {

/// The result of a check, in the order of the document.
class CheckReport final
{
public:
    CheckReport() = default;
    CheckReport(std::vector<Finding> findings, int leftOut);

    const std::vector<Finding> &findings() const { return m_findings; }
    /// The number of further findings of rules with too many of them.
    int leftOut() const { return m_leftOut; }

    int count(Severity severity) const;
    bool has(Rule rule) const;

private:
    std::vector<Finding> m_findings;
    int m_leftOut = 0;
};

} // namespace Kavo::Tools
