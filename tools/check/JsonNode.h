#pragma once

#include <QLatin1String>
#include <QString>

namespace Kavo::Tools {

/// One value of a JSON document with its position. Nodes belong to their JsonTree and are valid
/// during its lifetime.
class JsonNode final
{
public:
    enum class Kind { NOTHING, BOOLEAN, NUMBER, TEXT, ARRAY, OBJECT };

    Kind kind = Kind::NOTHING;
    int start = 0; ///< offset of the first byte
    int end = 0;   ///< offset after the last byte

    const JsonNode *parent = nullptr;
    const JsonNode *firstChild = nullptr; ///< element or member, in the order of the document
    const JsonNode *nextSibling = nullptr;
    int index = 0; ///< index of an element in its array or a member in its object

    bool isObject() const { return kind == Kind::OBJECT; }
    bool isArray() const { return kind == Kind::ARRAY; }
    bool isText() const { return kind == Kind::TEXT; }
    bool isNumber() const { return kind == Kind::NUMBER; }

    /// Whether the node is a member of an object.
    bool isMember() const { return keyStart >= 0; }
    /// The key of a member.
    QString key() const { return decoded(m_rawKey, m_keyLength); }
    bool hasKey(QLatin1String name) const;
    /// Offset of the quote before the key, negative if there is none.
    int keyStart = -1;

    /// The content of a string; empty for other values, as clients read them.
    QString text() const;
    bool isEmptyText() const { return isText() && m_rawLength == 0; }
    /// A number as clients read it; 0 for other values.
    double number() const;

    /// The member with this key, null if there is none or this is not an object. If a key occurs
    /// twice, the last member counts, as for clients.
    const JsonNode *member(QLatin1String name) const;

    /// The position of the node in the document as a JSON pointer.
    QString pointer() const;

private:
    friend class JsonReader;

    static QString decoded(const char *bytes, int length);

    const char *m_raw = nullptr; ///< the text between the quotes, or the whole number
    int m_rawLength = 0;
    const char *m_rawKey = nullptr;
    int m_keyLength = 0;
    bool m_hasEscapeInKey = false;
};

/// A range for loops over the elements of an array or the members of an object; empty for a null
/// node.
class JsonChildren final
{
public:
    class Iterator final
    {
    public:
        explicit Iterator(const JsonNode *node) : m_node(node) {}
        const JsonNode &operator*() const { return *m_node; }
        Iterator &operator++()
        {
            m_node = m_node->nextSibling;
            return *this;
        }
        bool operator!=(const Iterator &other) const { return m_node != other.m_node; }

    private:
        const JsonNode *m_node;
    };

    explicit JsonChildren(const JsonNode *parent) : m_first(parent ? parent->firstChild : nullptr)
    {}

    Iterator begin() const { return Iterator(m_first); }
    Iterator end() const { return Iterator(nullptr); }

private:
    const JsonNode *m_first;
};

} // namespace Kavo::Tools
