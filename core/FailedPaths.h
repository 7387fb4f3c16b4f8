#pragma once

#include <QString>
#include <QStringList>

namespace Kavo {

/// The paths for which an operation failed. A folder on a failing disk may hold any number of them,
/// so only the first ones are kept and the rest are counted.
class FailedPaths final
{
public:
    /// The number of paths that are kept.
    static constexpr int Most = 100;

    void add(const QString &path);
    void add(const FailedPaths &others);

    bool isEmpty() const { return m_paths.isEmpty(); }
    const QStringList &paths() const { return m_paths; }
    /// The number of further paths.
    int notKept() const { return m_notKept; }

private:
    QStringList m_paths;
    int m_notKept = 0;
};

} // namespace Kavo
