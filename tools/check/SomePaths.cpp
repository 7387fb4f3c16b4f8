#include "tools/check/SomePaths.h"

namespace Kavo::Tools {

void SomePaths::add(const QString &path)
{
    if (++m_count == 1)
        m_first = path;
}

QString SomePaths::text() const
{
    const QString quoted = QLatin1Char('"') + m_first + QLatin1Char('"');
    return m_count > 1 ? quoted + QStringLiteral(" and %1 more").arg(m_count - 1) : quoted;
}

} // namespace Kavo::Tools
