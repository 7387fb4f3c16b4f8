#pragma once

#include "tools/check/JsonFault.h"
#include "tools/check/JsonNode.h"

#include <QByteArray>

#include <deque>
#include <vector>

namespace Kavo::Tools {

/// A JSON document with the positions of its values and all faults in its notation. It is parsed as
/// the clients' parser does: a deviation that clients tolerate is a fault here but does not end the
/// parsing. For one thread at a time.
class JsonTree final
{
public:
    explicit JsonTree(const QByteArray &bytes);
    JsonTree(const JsonTree &) = delete;
    JsonTree &operator=(const JsonTree &) = delete;

    /// The top-level value, null if the document could not be parsed to its end.
    const JsonNode *root() const { return m_root; }

    /// The faults in the order of the document.
    const std::vector<JsonFault> &faults() const { return m_faults; }

    const QByteArray &bytes() const { return m_bytes; }

private:
    friend class JsonReader;

    QByteArray m_bytes;
    std::deque<JsonNode> m_nodes;
    std::vector<JsonFault> m_faults;
    const JsonNode *m_root = nullptr;
};

} // namespace Kavo::Tools
