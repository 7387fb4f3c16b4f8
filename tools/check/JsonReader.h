#pragma once

#include "tools/check/JsonFault.h"
#include "tools/check/JsonNode.h"

#include <vector>

namespace Kavo::Tools {

class JsonTree;

/// Parses the bytes of a JsonTree into its nodes, once. It uses no recursion, so that very deep
/// nesting is a fault and not a crash.
class JsonReader final
{
public:
    explicit JsonReader(JsonTree &tree);

    void read();

private:
    /// An array or object that is not complete yet.
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

    /// Records a fault after which parsing continues.
    void note(JsonFault::Kind kind, const char *at, const QString &reason);
    void noteEncoding(const QString &reason);
    /// Records a fault that ends the parsing; always returns false.
    bool fail(const QString &reason);

    JsonTree &m_tree;
    const char *m_begin;
    const char *m_end;
    const char *m_at;
    std::vector<Open> m_open;
    bool m_isWrongEncoding = false; ///< of the current string
    int m_encodingFaults = 0;
    int m_toleratedFaults = 0;
};

} // namespace Kavo::Tools
