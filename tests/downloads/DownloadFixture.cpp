#include "tests/downloads/DownloadFixture.h"

namespace Kavo::Testing {

void DownloadFixture::init()
{
    m_setup = std::make_unique<DownloadSetup>();
}

void DownloadFixture::cleanup()
{
    m_setup.reset();
}

HttpResource &DownloadFixture::serve(const QByteArray &body, const QString &path) const
{
    return server().serve(path, body);
}

DownloadSetup::Pointer DownloadFixture::resumable(const QString &path) const
{
    return DownloadSetup::resumable(url(path));
}

DownloadSetup::Pointer DownloadFixture::restart(const QString &path) const
{
    return DownloadSetup::restart(url(path));
}

QStringList DownloadFixture::transfer(const Pointer &download) const
{
    DownloadEvents events(manager(), download);
    return events.waitForFinished() ? events.list() : QStringList("no end"_s);
}

bool DownloadFixture::put(const QByteArray &content, const QString &name) const
{
    return m_setup->put(name, content);
}

} // namespace Kavo::Testing
