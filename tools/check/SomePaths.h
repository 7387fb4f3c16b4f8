#pragma once

#include <QString>

namespace Kavo::Tools {

/// Summarises a set of paths in an archive, which may be very large: one path and the number of
/// paths.
class SomePaths final
{
public:
    /// Whether add() needs the path; afterwards it ignores the text.
    bool isEmpty() const { return m_count == 0; }
    void add(const QString &path);

    /// The first path in quotes, and the number of others.
    QString text() const;

private:
    int m_count = 0;
    QString m_first;
};

} // namespace Kavo::Tools
