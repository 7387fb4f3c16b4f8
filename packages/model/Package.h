#pragma once

#include "packages/model/FailureReason.h"
#include "packages/model/PackageVersion.h"

#include <QMetaType>
#include <QObject>
#include <QSharedPointer>
#include <QStringList>
#include <QVector>

#include <atomic>

namespace Kavo::Models {

/// One entry of the catalogue with its versions, newest first, and its state.
///
/// Created and filled on the main thread. The installation task also sets the state and the update
/// mark on its worker thread; nothing else changes after loading. stateChanged() is emitted on the
/// thread that sets the state. Receivers connect with a context object, so that Qt delivers the
/// signal on their own thread.
class Package final : public QObject
{
    Q_OBJECT

public:
    /// Fixed, see docs/compatibility.md.
    enum State : int {
        AVAILABLE = 0,
        INSTALLED = 1,
        PREPARING = 2,
        DOWNLOADING = 3,
        INSTALLING = 4, ///< archive complete; queued or being unpacked
        UNINSTALLING = 5,
        INSTALL_ERROR = 6,
        DOWNLOAD_ERROR = 7,
        DEPENDENCY_ERROR = 8,
        UNKNOWN = 9,
    };
    Q_ENUM(State)

    Package() = default;

    int id() const { return m_id; }
    void setId(int id) { m_id = id; }

    /// The product id; less than 1 for a free package.
    int productId() const { return m_productId; }
    void setProductId(int productId) { m_productId = productId; }

    QString name() const { return m_name; }
    void setName(const QString &name) { m_name = name; }

    QString description() const { return m_description; }
    void setDescription(const QString &description) { m_description = description; }

    QString shortDescription() const { return m_shortDescription; }
    void setShortDescription(const QString &description) { m_shortDescription = description; }

    QString icon() const { return m_icon; }
    void setIcon(const QString &icon) { m_icon = icon; }

    QString type() const { return m_type; }
    void setType(const QString &type) { m_type = type; }

    QString manualUrl() const { return m_manualUrl; }
    void setManualUrl(const QString &url) { m_manualUrl = url; }

    QString helpUrl() const { return m_helpUrl; }
    void setHelpUrl(const QString &url) { m_helpUrl = url; }

    QStringList banner() const { return m_banner; }
    void setBanner(const QStringList &banner) { m_banner = banner; }

    State state() const { return m_state; }
    /// Sets the state and announces it if it has changed.
    void setState(State state);
    static bool isError(State state);
    /// Whether the package is preparing, downloading, installing or uninstalling.
    bool isBusy() const;

    /// Why the last installation failed, as far as is known. Main thread.
    FailureReason failure() const { return m_failure; }
    void setFailure(const FailureReason &reason) { m_failure = reason; }

    /// Whether the catalogue has a newer version than the installed one.
    bool isUpdateAvailable() const { return m_updateAvailable; }
    void setUpdateAvailable(bool available) { m_updateAvailable = available; }

    const QVector<PackageVersionPointer> &versions() const { return m_versions; }
    void setVersions(const QVector<PackageVersionPointer> &versions) { m_versions = versions; }

    /// The index of the first version with exactly this text; 0, the newest, for any other text.
    /// Fixed, see docs/compatibility.md.
    int versionIndex(const QString &version) const;
    /// The version at versionIndex(), or null for a package without versions.
    PackageVersionPointer findVersion(const QString &version) const;
    /// Returns a version with the backup rules of all versions. An older installed version may have
    /// replaced a file that this version does not list, and its original has to be restored, too.
    PackageVersion withAllBackups(const PackageVersion &version) const;
    /// The text of the newest version, empty without versions.
    QString newestVersion() const;

    /// Whether an update would be available with this version installed. Always false for the
    /// newest version in the catalogue, whatever its text.
    bool hasUpdateAfter(const QString &version) const;

signals:
    /// The order is fixed, see docs/compatibility.md.
    void stateChanged(Kavo::Models::Package::State state);
    void totalSize(qint64 size);
    void downloadedSize(qint64 size);
    void error(QString error);
    void downloadFinished(QString path);
    void installed();

private:
    int m_id = 0;
    int m_productId = 0;
    QString m_name;
    QString m_description;
    QString m_icon;
    QString m_type;
    QString m_shortDescription;
    QString m_manualUrl;
    QString m_helpUrl;
    std::atomic<State> m_state = UNKNOWN;
    QStringList m_banner;
    FailureReason m_failure;
    std::atomic<bool> m_updateAvailable = false;
    QVector<PackageVersionPointer> m_versions;
};

/// Registers the state for signals between threads. To be called once, before any package is shown.
void registerPackageState();

using PackagePointer = QSharedPointer<Package>;
using PackageList = QVector<PackagePointer>;

/// The package types that the sidebar offers; other types are allowed.
QStringList knownPackageTypes();

} // namespace Kavo::Models
