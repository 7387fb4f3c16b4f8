#pragma once

#include <QLatin1String>
#include <QString>

namespace Kavo::Tools {

/// One value of a JSON document, with the place where it stands. Nodes belong to their JsonTree and
/// live as long as it does.
class JsonNode final
{
public:
    enum class Kind { NOTHING, BOOLEAN, NUMBER, TEXT, ARRAY, OBJECT };

    Kind kind = Kind::NOTHING;
    int start = 0; ///< offset of the first byte
    int end = 0;   ///< offset behind the last byte

    const JsonNode *parent = nullptr;
    const JsonNode *firstChild = nullptr; ///< element or member, in the order of the document
    const JsonNode *nextSibling = nullptr;
    int index = 0; ///< of an element in its array or a member in its object

    bool isObject() const { return kind == Kind::OBJECT; }
    bool isArray() const { return kind == Kind::ARRAY; }
    bool isText() const { return kind == Kind::TEXT; }
    bool isNumber() const { return kind == Kind::NUMBER; }

    /// Whether the node is a member of an object.
    bool isMember() const { return keyStart >= 0; }
    /// The key of a member.
    QString key() const { return decoded(m_rawKey, m_keyLength); }
    bool hasKey(QLatin1String name) const;
    /// Offset of the quote in front of the key, negative when there is none.
    int keyStart = -1;

    /// The content of a text; empty for other values, as clients read them.
    QString text() const;
    bool isEmptyText() const { return isText() && m_rawLength == 0; }
    /// A number as clients read it; 0 for other values.
    double number() const;

    /// The member with this key, null when there is none or this is no object. Of two with one key
    /// it is the last, as it is for clients.
    const JsonNode *member(QLatin1String name) const;

    /// Where the node stands in the document, as a JSON pointer.
    QString pointer() const;

private:
    friend class JsonReader;

    static QString decoded(const char *bytes, int length);

    const char *m_raw = nullptr; ///< of texts what is between the quotes, of numbers all
    int m_rawLength = 0;
    const char *m_rawKey = nullptr;
    int m_keyLength = 0;
    bool m_hasEscapeInKey = false;
};

/// For loops over the elements of an array or the members of an object; none of a null node.
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
