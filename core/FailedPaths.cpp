#include "core/FailedPaths.h"

namespace Kavo {

void FailedPaths::add(const QString &path)
{
    // Several rules or packages may name the same path.
    if (m_paths.contains(path))
        return;
    if (m_paths.size() < Most)
        m_paths.append(path);
    else
        ++m_notKept;
}

void FailedPaths::add(const FailedPaths &others)
{
    for (const QString &path : others.m_paths)
        add(path);
    m_notKept += others.m_notKept;
}

} // namespace Kavo
