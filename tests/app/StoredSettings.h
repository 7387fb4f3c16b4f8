#pragma once

#include "tests/support/ScratchProfile.h"

#include <QSettings>

namespace Kavo::Testing {

/// A value in the account's settings file, or "(missing)", as another program reads it.
inline QString stored(const ScratchProfile &profile, const char *key)
{
    const QSettings file(profile.settingsFile(), QSettings::IniFormat);
    return file.value(QLatin1String(key), QStringLiteral("(missing)")).toString();
}

inline void store(const ScratchProfile &profile, const char *key, const QString &value)
{
    QSettings file(profile.settingsFile(), QSettings::IniFormat);
    file.setValue(QLatin1String(key), value);
}

/// Stores the simulator's folder, so that the program asks for nothing when it starts.
inline void settle(const ScratchProfile &profile)
{
    store(profile, "Installation", profile.simulatorFolder());
}

} // namespace Kavo::Testing
