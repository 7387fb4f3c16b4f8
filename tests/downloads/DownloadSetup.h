#pragma once

#include "core/Settings.h"
#include "downloads/DownloadManager.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScratchProfile.h"
#include "tests/support/TestHttpServer.h"

#include <QNetworkAccessManager>
#include <QSharedPointer>

#include <memory>

namespace Kavo::Testing {

/// The objects that a transfer test needs: a temporary profile, a server, a log and a download
/// manager that writes into the cache folder of the profile. All but the manager survive its
/// restart.
class DownloadSetup final
{
public:
    DownloadSetup();

    using Pointer = QSharedPointer<Models::Download>;

    TestHttpServer &server() { return m_server; }
    const ScratchProfile &profile() const { return m_profile; }
    LogCapture &log() { return m_log; }
    Managers::DownloadManager &manager() { return *m_manager; }
    const QSharedPointer<Settings> &settings() const { return m_settings; }
    /// Replaces the manager by a new one, as the next start of the program does.
    void restartManager();
    /// Deletes the manager, as the end of the program does.
    void endManager() { m_manager.reset(); }

    /// Creates a download with the options that the program uses for archives of packages.
    static Pointer resumable(const QString &url);
    /// Creates a download with the options that the program uses for images and the catalogue.
    static Pointer restart(const QString &url);

    /// The path of a file in the cache folder.
    QString path(const QString &name) const;
    bool put(const QString &name, const QByteArray &content) const;
    QByteArray content(const QString &name) const;

private:
    ScratchProfile m_profile;
    LogCapture m_log;
    TestHttpServer m_server;
    QSharedPointer<Settings> m_settings;
    QSharedPointer<QNetworkAccessManager> m_network;
    std::unique_ptr<Managers::DownloadManager> m_manager;
};

} // namespace Kavo::Testing
