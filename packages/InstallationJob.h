#pragma once

#include "downloads/Download.h"
#include "packages/Package.h"

#include <QObject>
#include <QSharedPointer>

namespace Kavo::Models {

/// One version on its way into the simulator: follows its download until the archive is there or
/// an error came, and carries the download's progress to the package. Lives until the package is
/// installed or has failed, and keeps the download until then, so that the archive's path stays
/// its own. Main thread.
class InstallationJob final : public QObject
{
    Q_OBJECT

public:
    InstallationJob(const PackagePointer &package, const PackageVersionPointer &version,
                    const QSharedPointer<Download> &download, QObject *parent);

    const PackagePointer &package() const { return m_package; }
    const PackageVersionPointer &version() const { return m_version; }
    QString archive() const { return m_download->getPath(); }

signals:
    /// The package's state changed in a way to be remembered.
    void recordable();
    /// The archive is complete.
    void downloaded();
    /// The download failed; nothing of it is followed any more.
    void failed();

private:
    void onProcessChanged(Download::Process process);
    void onError();

    PackagePointer m_package;
    PackageVersionPointer m_version;
    QSharedPointer<Download> m_download;
};

} // namespace Kavo::Models
