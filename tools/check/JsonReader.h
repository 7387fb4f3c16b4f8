#pragma once

#include "tools/check/JsonFault.h"
#include "tools/check/JsonNode.h"

#include <vector>

namespace Kavo::Tools {

class JsonTree;

/// Reads the bytes of a JsonTree into its nodes, once. It needs no stack for nested values, so that
/// hostile depth ends in a fault and not in a crash.
class JsonReader final
{
public:
    explicit JsonReader(JsonTree &tree);

    void read();

private:
    /// An array or object whose end is yet to come.
    struct Open
    {
        JsonNode *node;
        JsonNode *lastChild;
    };

    bool readDocument();
    bool readKey(JsonNode &node);
    bool readValue(JsonNode &node);
    bool readText(const char *&raw, int &length);
    void skipPlain();
    bool readEscape();
    bool readCharacter();
    bool readNumber(JsonNode &node);
    bool readLiteral(JsonNode &node);
    bool readBehindValue();
    bool skipDigits();

    JsonNode &append();
    void skipSpace();
    bool isAtEnd() const { return m_at == m_end; }
    bool isAt(char byte) const { return m_at != m_end && *m_at == byte; }
    int offset(const char *at) const { return static_cast<int>(at - m_begin); }

    /// Notes what does not end the reading.
    void note(JsonFault::Kind kind, const char *at, const QString &reason);
    void noteEncoding(const QString &reason);
    /// Notes what ends the reading; always false.
    bool fail(const QString &reason);

    JsonTree &m_tree;
    const char *m_begin;
    const char *m_end;
    const char *m_at;
    std::vector<Open> m_open;
    bool m_isWrongEncoding = false; ///< of the present text
    int m_encodingFaults = 0;
    int m_toleratedFaults = 0;
};

} // namespace Kavo::Tools
