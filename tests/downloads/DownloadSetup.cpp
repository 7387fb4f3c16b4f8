#include "tests/downloads/DownloadSetup.h"

#include "tests/support/Files.h"

#include <QDir>

namespace Kavo::Testing {

using Managers::DownloadManager;
using Models::Download;

DownloadSetup::DownloadSetup()
    : m_settings(m_profile.makeSettings())
    , m_network(QSharedPointer<QNetworkAccessManager>::create())
    , m_manager(std::make_unique<DownloadManager>(m_settings, m_network))
{}

void DownloadSetup::restartManager()
{
    m_manager.reset();
    m_manager = std::make_unique<DownloadManager>(m_settings, m_network);
}

DownloadSetup::Pointer DownloadSetup::resumable(const QString &url)
{
    return QSharedPointer<Download>::create(url, true, false);
}

DownloadSetup::Pointer DownloadSetup::restart(const QString &url)
{
    return QSharedPointer<Download>::create(url, true, true);
}

QString DownloadSetup::path(const QString &name) const
{
    return m_profile.cacheFolder() + QDir::separator() + name;
}

bool DownloadSetup::put(const QString &name, const QByteArray &content) const
{
    return writeFile(path(name), content);
}

QByteArray DownloadSetup::content(const QString &name) const
{
    return readFile(path(name));
}

} // namespace Kavo::Testing
