#pragma once

#include <QByteArray>
#include <QJsonValue>

#include <functional>
#include <optional>

namespace Kavo::Models {

/// Reads a JSON document whose top level is an array, one element at a time.
///
/// It accepts exactly what QJsonDocument accepts. But it never holds more than one element as JSON,
/// which takes a fraction of the memory and of the time to free it, and the reader may pause
/// between two elements. To be used by one thread at a time.
class JsonElements final
{
public:
    explicit JsonElements(const QByteArray &bytes);

    /// Returns the next element; nothing after the last one and after an error.
    std::optional<QJsonValue> next();
    /// Whether the whole document is a well-formed array. Valid after next() has returned nothing.
    bool isWhole() const { return m_isWhole; }

private:
    void end(bool isWhole);

    QByteArray m_bytes;
    QByteArray m_element;
    const char *m_at;
    const char *m_end;
    bool m_isWhole = false;
};

/// Calls the function for each element of such a document, in order. Returns whether the document
/// is well formed to its end; the elements before an error were passed on by then. May be called on
/// any thread.
bool readJsonElements(const QByteArray &bytes, const std::function<void(const QJsonValue &)> &take);

} // namespace Kavo::Models
