#include "core/Settings.h"

namespace Kavo {

namespace {

Settings::Configuration emptyConfiguration()
{
    // Fixed, see docs/compatibility.md.
    return {{{QStringLiteral("Installation"), {}},
             {QStringLiteral("Language"), {}},
             {QStringLiteral("Cache"), {}},
             {QStringLiteral("Preserve"), {}},
             {QStringLiteral("Backup"), {}},
             {QStringLiteral("ShowFilter"), {}},
             {QStringLiteral("LocalRepo"), {}}}};
}

} // namespace

Settings::Settings(QObject *parent)
    : QSettings(QSettings::IniFormat, QSettings::UserScope, tr("Quarnell"), tr("Kavo Suite"),
                parent)
    , m_current(emptyConfiguration())
    , m_pending(emptyConfiguration())
{
    read();
    apply();
}

bool Settings::showsFilter() const
{
    // Fixed, see docs/compatibility.md.
    return current(SHOW_FILTER) != QLatin1String("false");
}

bool Settings::usesLocalRepository() const
{
    return current(LOCAL_REPO).compare(QLatin1String("true"), Qt::CaseInsensitive) == 0;
}

void Settings::apply()
{
    m_current = m_pending;
}

void Settings::commit()
{
    save();
    apply();
}

void Settings::revert()
{
    m_pending = m_current;
}

void Settings::save()
{
    for (const Entry &entry : m_pending)
        setValue(entry.key, entry.value);
}

void Settings::reset()
{
    for (Entry &entry : m_pending)
        entry.value = QString();
    save();
}

void Settings::read()
{
    for (Entry &entry : m_pending) {
        if (contains(entry.key))
            entry.value = value(entry.key).toString();
    }
}

} // namespace Kavo
