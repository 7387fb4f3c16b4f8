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

/// Everything a test of transfers needs: an account, a server, a log and a download manager that
/// writes into the account's cache folder.
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
    /// The next start of the program.
    void restartManager();
    /// The end of the program.
    void endManager() { m_manager.reset(); }

    /// Downloads as the program creates them: the archive of a package, an image or the catalogue.
    static Pointer resumable(const QString &url);
    static Pointer restart(const QString &url);

    /// Where the manager puts a file of this name.
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
