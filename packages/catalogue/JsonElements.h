#pragma once

#include <QByteArray>
#include <QJsonValue>

#include <functional>
#include <optional>

namespace Kavo::Models {

/// Reads a JSON document whose top level is an array, one element after another.
///
/// What QJsonDocument accepts is accepted here, and the other way round; but never more than one
/// element is held as JSON, which takes a fraction of the memory and of the time to free it, and
/// the reader may pause between two. For one thread at a time.
class JsonElements final
{
public:
    explicit JsonElements(const QByteArray &bytes);

    /// The next element; nothing at the end and at a fault, and from then on.
    std::optional<QJsonValue> next();
    /// Whether the document is such an array and well formed to its end, once next() has given
    /// nothing.
    bool isWhole() const { return m_isWhole; }

private:
    void end(bool isWhole);

    QByteArray m_bytes;
    QByteArray m_element;
    const char *m_at;
    const char *m_end;
    bool m_isWhole = false;
};

/// Hands the elements of such a document on one by one, in order. Returns whether it is well formed
/// to its end; elements in front of a fault have been handed on by then. Callable from any thread.
bool readJsonElements(const QByteArray &bytes, const std::function<void(const QJsonValue &)> &take);

} // namespace Kavo::Models
