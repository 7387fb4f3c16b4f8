#include "tests/tools/PublishedArchive.h"

#include "packages/PackageEnvironment.h"
#include "tests/support/Archives.h"

namespace Kavo::Testing {

PublishedArchive::PublishedArchive(const QString &name, const Files &files)
    : m_name(name)
    , m_isThere(makeArchive(path(), files))
    , m_look(path(), PackageEnvironment::standard().extractor)
    , m_outcome(m_look.look())
{}

QByteArray PublishedArchive::filledIn(QByteArray text) const
{
    return text.replace('\'', '"')
        .replace("@SIZE@", QByteArray::number(m_look.size()))
        .replace("@SHA@", m_look.sha256().toLatin1());
}

Tools::AdditionOrder orderFor(int id, const QString &version)
{
    Tools::AdditionOrder order;
    order.package.id = id;
    order.version = version;
    return order;
}

} // namespace Kavo::Testing
