#pragma once

#include "core/Settings.h"

#include <QByteArray>
#include <QMap>
#include <QSharedPointer>
#include <QString>
#include <QTemporaryDir>

namespace Kavo::Testing {

/// A user account for one test: home, settings, data and cache folders in a temporary folder, under
/// the program's names, and a simulator folder with an executable.
///
/// Make the first profile before the application object (KAVO_TEST_MAIN does), so that nothing in
/// the real home is read or written. Profiles nest: the latest one is in use. Its destructor
/// restores the environment and the current folder and deletes all files. Main thread.
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
    /// Stands for the X-Plane folder, with a trailing separator.
    QString simulatorFolder() const;
    QString settingsFile() const;
    QString logFile() const;
    /// A folder of the given relative name inside the profile, made when missing, with a trailing
    /// separator.
    QString folder(const QString &name) const;

    /// Settings as start-up leaves them: the defaults, and the simulator folder above. Nothing is
    /// written to the file.
    QSharedPointer<Settings> makeSettings() const;

private:
    void setVariable(const char *name, const QString &value);

    QTemporaryDir m_root;
    QMap<QByteArray, QByteArray> m_variables;
    QString m_currentFolder;
    QString m_settingsFolder;
};

} // namespace Kavo::Testing
