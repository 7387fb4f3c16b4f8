#pragma once

#include "tools/check/JsonTree.h"
#include "tools/publish/JsonStyle.h"

#include <QByteArray>
#include <QMap>
#include <QString>

namespace Kavo::Tools {

/// Determines the style of a JSON document by counting how its values are laid out. For one thread
/// at a time.
class StyleVotes final
{
public:
    template<typename Choice>
    using Votes = QMap<Choice, qint64>;

    /// Values in `near` have more weight than all others together.
    StyleVotes(const JsonTree &tree, const JsonNode *near);

    Votes<QByteArray> indentations;
    Votes<QByteArray> colons;
    Votes<QByteArray> commas;
    QMap<JsonNode::Kind, Votes<QByteArray>> paddings;
    QMap<QString, Votes<JsonStyle::Layout>> layouts; ///< by role
    QMap<JsonNode::Kind, Votes<JsonStyle::Layout>> plainLayouts;
    int longestLine = 0; ///< length of the longest line with a whole array or object

    /// The most frequent choice; `otherwise` if there is none.
    template<typename Choice>
    static Choice winner(const Votes<Choice> &votes, const Choice &otherwise)
    {
        Choice most = otherwise;
        qint64 count = 0;
        for (auto vote = votes.cbegin(); vote != votes.cend(); ++vote) {
            if (vote.value() >= count) {
                most = vote.key();
                count = vote.value();
            }
        }
        return most;
    }

private:
    void countAll(const JsonNode &top);
    void count(const JsonNode &node);
    void countLines(const JsonNode &node);
    void countOneLine(const JsonNode &node);
    int lineUpTo(int end) const;
    void countColon(const JsonNode &member);
    QByteArray between(int start, int end) const;

    const JsonTree &m_tree;
    qint64 m_weight = 1;
};

} // namespace Kavo::Tools
