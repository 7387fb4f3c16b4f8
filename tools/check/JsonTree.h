#pragma once

#include "tools/check/JsonFault.h"
#include "tools/check/JsonNode.h"

#include <QByteArray>

#include <deque>
#include <vector>

namespace Kavo::Tools {

/// A JSON document that knows where each of its values stands, and all that is wrong with its
/// notation. It is read as the clients' parser reads it: what that lets pass is a fault here, but
/// does not end the reading. For one thread at a time.
class JsonTree final
{
public:
    explicit JsonTree(const QByteArray &bytes);
    JsonTree(const JsonTree &) = delete;
    JsonTree &operator=(const JsonTree &) = delete;

    /// The value at the top, null where the document could not be read to its end.
    const JsonNode *root() const { return m_root; }

    /// In the order of the document.
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
