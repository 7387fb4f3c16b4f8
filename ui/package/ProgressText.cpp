#include "ui/package/ProgressText.h"

#include "core/OneLine.h"

#include <QLocale>
#include <QStringList>

namespace Kavo::Ui {

using Models::Package;
using Models::WorkProgress;

namespace {

constexpr qint64 SecondsOfAMinute = 60;
constexpr qint64 SecondsOfAnHour = 60 * SecondsOfAMinute;
/// The longest shown part of another package's name, in characters.
constexpr int LongestName = 80;

/// Divides and rounds to the nearest whole number.
int rounded(qint64 count, qint64 part)
{
    return static_cast<int>((count + part / 2) / part);
}

QString shortName(const QString &name)
{
    const QString line = oneLine(name.left(LongestName + 1));
    return line.size() <= LongestName ? line : line.left(LongestName - 1) + QChar(0x2026);
}

} // namespace

QString ProgressText::of(const WorkProgress &progress, Package::State state)
{
    if (state == Package::PREPARING && progress.isSilent)
        return tr("waiting for the server");
    if (state == Package::DOWNLOADING)
        return ofDownload(progress);
    if (state == Package::INSTALLING && !progress.waitsFor.isEmpty())
        return tr("waits for %1").arg(shortName(progress.waitsFor));
    return QString();
}

QString ProgressText::ofDownload(const WorkProgress &progress)
{
    QString text = sizes(progress.received, progress.total);
    if (progress.isSilent)
        text += QLatin1String(", ") + tr("waiting for the server");
    else if (progress.secondsLeft)
        text += QLatin1String(", ") + timeLeft(*progress.secondsLeft);
    return text;
}

/// Both in the unit that fits the larger one.
QString ProgressText::sizes(qint64 received, qint64 total)
{
    const QStringList units{QStringLiteral("KB"), QStringLiteral("MB"), QStringLiteral("GB"),
                            QStringLiteral("TB")};
    const bool isTotalKnown = total > 0 && received <= total;
    const auto largest = static_cast<double>(isTotalKnown ? total : received);
    double step = 1024;
    int unit = 0;
    while (largest >= step * 1024 && unit < units.size() - 1) {
        step *= 1024;
        ++unit;
    }
    const QLocale locale(tr("en", "code of the language that these texts are in"));
    const auto number = [&locale, step](qint64 bytes) {
        return locale.toString(static_cast<double>(bytes) / step, 'f', 1);
    };
    if (!isTotalKnown)
        return number(received) + QLatin1Char(' ') + units.at(unit);
    return tr("%1 of %2 %3", "bytes so far, all bytes, unit")
        .arg(number(received), number(total), units.at(unit));
}

QString ProgressText::timeLeft(qint64 seconds)
{
    if (seconds < SecondsOfAMinute)
        return tr("less than a minute left");
    const int minutes = rounded(seconds, SecondsOfAMinute);
    if (minutes == 1)
        return tr("1 minute left");
    if (seconds < 2 * SecondsOfAnHour)
        return tr("%n minutes left", nullptr, minutes);
    return tr("%n hours left", nullptr, rounded(seconds, SecondsOfAnHour));
}

} // namespace Kavo::Ui
