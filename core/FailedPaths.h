#pragma once

#include <QString>
#include <QStringList>

namespace Kavo {

/// Paths with which something could not be done. A folder on a disk that fails may hold any number
/// of them: the first are kept, the others are counted.
class FailedPaths final
{
public:
    /// How many are kept.
    static constexpr int Most = 100;

    void add(const QString &path);
    void add(const FailedPaths &others);

    bool isEmpty() const { return m_paths.isEmpty(); }
    const QStringList &paths() const { return m_paths; }
    /// How many more there were.
    int notKept() const { return m_notKept; }

private:
    QStringList m_paths;
    int m_notKept = 0;
};

} // namespace Kavo
