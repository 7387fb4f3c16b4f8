#pragma once

#include "tools/check/CheckReport.h"
#include "tools/check/JsonNode.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <vector>

namespace Kavo::Tools {

/// The findings of the checks of one document. For one thread at a time.
class Findings final
{
public:
    /// Offsets refer to `document`.
    explicit Findings(QByteArray document);

    /// Whether further findings of a rule are only counted. Their details need not be computed
    /// then.
    bool isFull(Rule rule) const;

    /// Adds a finding at a value.
    void add(Rule rule, const JsonNode &node, const QString &message);
    /// Adds a finding at the key of a member.
    void addAtKey(Rule rule, const JsonNode &member, const QString &message);
    void addAt(Rule rule, int offset, const QString &message);

    /// All findings in the order of the document, each with its line and column.
    CheckReport report() const;

private:
    bool isWanted(Rule rule);

    QByteArray m_document;
    std::vector<Finding> m_findings;
    QHash<int, int> m_counts; ///< by rule
    int m_leftOut = 0;
};

} // namespace Kavo::Tools
