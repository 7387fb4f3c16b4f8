#include "tests/support/ScratchProfile.h"

#include "core/Paths.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSettings>

namespace Kavo::Testing {

namespace {

/// Qt reads the place of user settings from the environment only once; afterwards it has to be told
/// of every change. It cannot be asked for it either, hence the memory.
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
    const QString home = folder(QStringLiteral("home"));
    setVariable("HOME", this->home());
    setVariable("XDG_CONFIG_HOME", home + QStringLiteral(".config"));
    setVariable("XDG_DATA_HOME", home + QStringLiteral(".local/share"));
    setVariable("XDG_CACHE_HOME", home + QStringLiteral(".cache"));
    setVariable("XDG_RUNTIME_DIR", folder(QStringLiteral("runtime")));
    // Qt refuses a runtime folder that others may enter.
    QFile::setPermissions(m_root.filePath(QStringLiteral("runtime")),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    useSettingsFolder(home + QStringLiteral(".config"));
    QCoreApplication::setOrganizationName(QStringLiteral("Quarnell"));
    QCoreApplication::setApplicationName(QStringLiteral("Kavo Suite"));
    makeExecutable(simulatorFolder() + QStringLiteral("X-Plane-x86_64"));
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
    return m_root.filePath(QStringLiteral("home"));
}

QString ScratchProfile::dataFolder() const
{
    return folder(QStringLiteral("home/.local/share/Quarnell/Kavo Suite"));
}

QString ScratchProfile::cacheFolder() const
{
    return dataFolder() + QStringLiteral("cache/");
}

QString ScratchProfile::preserveFolder() const
{
    return dataFolder() + QStringLiteral("preserve/");
}

QString ScratchProfile::backupFolder() const
{
    return dataFolder() + QStringLiteral("backup/");
}

QString ScratchProfile::simulatorFolder() const
{
    return folder(QStringLiteral("home/X-Plane"));
}

QString ScratchProfile::settingsFile() const
{
    return home() + QStringLiteral("/.config/Quarnell/Kavo Suite.ini");
}

QString ScratchProfile::logFile() const
{
    return dataFolder() + QStringLiteral("log.txt");
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
    settings->setPending(Settings::LANGUAGE, QStringLiteral("en"));
    settings->setPending(Settings::CACHE, cacheDirectory());
    settings->setPending(Settings::PRESERVE, preserveDirectory());
    settings->setPending(Settings::BACKUP, backupDirectory());
    settings->setPending(Settings::SHOW_FILTER, QStringLiteral("false"));
    settings->setPending(Settings::LOCAL_REPO, QStringLiteral("false"));
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
