#pragma once

#include "tools/check/CheckReport.h"
#include "tools/check/JsonNode.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <vector>

namespace Kavo::Tools {

/// What the checks of one document have found. For one thread at a time.
class Findings final
{
public:
    /// `document` is what offsets count in.
    explicit Findings(QByteArray document);

    /// Whether further findings of a rule are only counted. What takes long to tell need not be
    /// told then.
    bool isFull(Rule rule) const;

    /// At the place of a value.
    void add(Rule rule, const JsonNode &node, const QString &message);
    /// At the key of a member.
    void addAtKey(Rule rule, const JsonNode &member, const QString &message);
    void addAt(Rule rule, int offset, const QString &message);

    /// All of them, in the order of the document, each with its line and column.
    CheckReport report() const;

private:
    bool isWanted(Rule rule);

    QByteArray m_document;
    std::vector<Finding> m_findings;
    QHash<int, int> m_counts; ///< by rule
    int m_leftOut = 0;
};

} // namespace Kavo::Tools
