#pragma once

#include "core/Settings.h"

#include <QByteArray>
#include <QMap>
#include <QSharedPointer>
#include <QString>
#include <QTemporaryDir>

namespace Kavo::Testing {

/// A user account for one test: a temporary folder that contains the home, settings, data and cache
/// folders, named as the program expects them, and a simulator folder with an executable.
///
/// Create the first profile before the application object, as KAVO_TEST_MAIN does, so that nothing
/// in the real home folder is read or written. Profiles may be nested; the latest one is in use.
/// The destructor restores the environment and the current folder and deletes all files. Main
/// thread.
class ScratchProfile final
{
public:
    ScratchProfile();
    ~ScratchProfile();
    Q_DISABLE_COPY_MOVE(ScratchProfile)

    /// The home folder, without a trailing separator.
    QString home() const;
    /// The application data folder, which exists, with a trailing separator.
    QString dataFolder() const;
    QString cacheFolder() const;
    QString preserveFolder() const;
    QString backupFolder() const;
    /// The X-Plane folder, with a trailing separator.
    QString simulatorFolder() const;
    QString settingsFile() const;
    QString logFile() const;
    /// The path of a folder with this relative name inside the profile, with a trailing separator.
    /// The folder is created if missing.
    QString folder(const QString &name) const;

    /// Settings as they are after start-up: the defaults and simulatorFolder(). The settings file
    /// is not written.
    QSharedPointer<Settings> makeSettings() const;

private:
    void setVariable(const char *name, const QString &value);

    QTemporaryDir m_root;
    QMap<QByteArray, QByteArray> m_variables;
    QString m_currentFolder;
    QString m_settingsFolder;
};

} // namespace Kavo::Testing
