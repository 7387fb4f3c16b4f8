#include "tests/support/ScratchProfile.h"

#include "core/Paths.h"
#include "tests/support/Literals.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSettings>

namespace Kavo::Testing {

namespace {

/// The folder for user settings that was last passed to Qt. Qt reads it from the environment only
/// once and has no getter for it, so every change is set explicitly and remembered here.
QString &settingsFolderInUse()
{
    static QString folder;
    return folder;
}

void useSettingsFolder(const QString &folder)
{
    settingsFolderInUse() = folder;
    if (!folder.isEmpty())
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder);
}

void makeExecutable(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        qFatal("The simulator's executable cannot be made");
    file.write("#!/bin/sh\nexit 0\n");
    file.setPermissions(file.permissions() | QFile::ExeOwner | QFile::ExeUser);
}

} // namespace

ScratchProfile::ScratchProfile()
    : m_currentFolder(QDir::currentPath())
    , m_settingsFolder(settingsFolderInUse())
{
    if (!m_root.isValid())
        qFatal("No temporary folder");
    const QString home = folder("home"_s);
    setVariable("HOME", this->home());
    setVariable("XDG_CONFIG_HOME", home + ".config"_s);
    setVariable("XDG_DATA_HOME", home + ".local/share"_s);
    setVariable("XDG_CACHE_HOME", home + ".cache"_s);
    setVariable("XDG_RUNTIME_DIR", folder("runtime"_s));
    // Qt rejects a runtime folder that other users may enter.
    QFile::setPermissions(m_root.filePath("runtime"_s),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    useSettingsFolder(home + ".config"_s);
    QCoreApplication::setOrganizationName("Quarnell"_s);
    QCoreApplication::setApplicationName("Kavo Suite"_s);
    makeExecutable(simulatorFolder() + "X-Plane-x86_64"_s);
}

ScratchProfile::~ScratchProfile()
{
    for (auto variable = m_variables.cbegin(); variable != m_variables.cend(); ++variable) {
        if (variable.value().isNull())
            qunsetenv(variable.key().constData());
        else
            qputenv(variable.key().constData(), variable.value());
    }
    useSettingsFolder(m_settingsFolder);
    QDir::setCurrent(m_currentFolder);
}

QString ScratchProfile::home() const
{
    return m_root.filePath("home"_s);
}

QString ScratchProfile::dataFolder() const
{
    return folder("home/.local/share/Quarnell/Kavo Suite"_s);
}

QString ScratchProfile::cacheFolder() const
{
    return dataFolder() + "cache/"_s;
}

QString ScratchProfile::preserveFolder() const
{
    return dataFolder() + "preserve/"_s;
}

QString ScratchProfile::backupFolder() const
{
    return dataFolder() + "backup/"_s;
}

QString ScratchProfile::simulatorFolder() const
{
    return folder("home/X-Plane"_s);
}

QString ScratchProfile::settingsFile() const
{
    return home() + "/.config/Quarnell/Kavo Suite.ini"_s;
}

QString ScratchProfile::logFile() const
{
    return dataFolder() + "log.txt"_s;
}

QString ScratchProfile::folder(const QString &name) const
{
    const QString path = m_root.filePath(name);
    if (!QDir().mkpath(path))
        qFatal("A folder of the profile cannot be made");
    return path + QDir::separator();
}

QSharedPointer<Settings> ScratchProfile::makeSettings() const
{
    const auto settings = QSharedPointer<Settings>::create();
    settings->setPending(Settings::INSTALLATION, simulatorFolder());
    settings->setPending(Settings::LANGUAGE, "en"_s);
    settings->setPending(Settings::CACHE, cacheDirectory());
    settings->setPending(Settings::PRESERVE, preserveDirectory());
    settings->setPending(Settings::BACKUP, backupDirectory());
    settings->setPending(Settings::SHOW_FILTER, "false"_s);
    settings->setPending(Settings::LOCAL_REPO, "false"_s);
    settings->apply();
    return settings;
}

void ScratchProfile::setVariable(const char *name, const QString &value)
{
    m_variables.insert(QByteArray(name),
                       qEnvironmentVariableIsSet(name) ? qgetenv(name) : QByteArray());
    qputenv(name, QFile::encodeName(value));
}

} // namespace Kavo::Testing
