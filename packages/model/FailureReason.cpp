#include "packages/model/FailureReason.h"

#include "core/OneLine.h"

#include <utility>

namespace Kavo::Models {

namespace {

/// The longest part of a name that a message box shows, in characters.
constexpr int LongestDetail = 160;

/// Shortens a name to fit into a sentence. The middle is left out, because it says the least.
QString forPeople(const QString &name)
{
    const QString detail = oneLine(name);
    if (detail.size() <= LongestDetail)
        return detail;
    return detail.left(LongestDetail / 2) + QChar(0x2026) + detail.right(LongestDetail / 2);
}

/// QString::arg() is not used, because a name may contain a place marker.
QString filled(QString text, const QStringList &details)
{
    for (int number = details.size(); number > 0; --number) {
        const QString place = QLatin1Char('%') + QString::number(number);
        const int position = text.indexOf(place);
        if (position >= 0)
            text.replace(position, place.size(), details.at(number - 1));
    }
    return text;
}

} // namespace

FailureReason::FailureReason(Kind kind, QStringList details)
    : m_kind(kind)
    , m_details(std::move(details))
{}

bool FailureReason::isHarmless() const
{
    return m_kind != Kind::UNPACKING_FAILED;
}

QString FailureReason::logText() const
{
    return filled(QString::fromUtf8(pattern()), m_details);
}

QString FailureReason::text() const
{
    if (isNone())
        return QString();
    QStringList details;
    for (const QString &detail : m_details)
        details.append(forPeople(detail));
    const QString reason = filled(tr(pattern()), details);
    if (!isHarmless())
        return reason;
    return reason + QStringLiteral("\n\n") +
           tr("Nothing was changed. What was installed before is still installed.");
}

const char *FailureReason::pattern() const
{
    switch (m_kind) {
    case Kind::NONE:
        return "";
    case Kind::SIMULATOR_MISSING:
        return QT_TR_NOOP("There is no simulator in this folder: %1");
    case Kind::FOLDER_OUTSIDE:
        return QT_TR_NOOP("The package wants to be unpacked outside of the simulator: %1");
    case Kind::ARCHIVE_MISSING:
        return QT_TR_NOOP("The downloaded archive is missing or no file: %1");
    case Kind::ARCHIVE_UNREADABLE:
        return QT_TR_NOOP("The downloaded archive is damaged, incomplete or no archive at all.");
    case Kind::ARCHIVE_ENCRYPTED:
        return QT_TR_NOOP("The downloaded archive asks for a password.");
    case Kind::EXTRACTOR_MISSING:
        return QT_TR_NOOP("7-Zip, which unpacks the archives, could not be run.");
    case Kind::ENTRY_LEADS_OUT:
        return QT_TR_NOOP("The archive leads out of the folder that it is unpacked into: %1");
    case Kind::ROOM_MISSING:
        return QT_TR_NOOP("There is too little room on the disk: %1 are needed, %2 are free.");
    case Kind::SIZE_DIFFERS:
        return QT_TR_NOOP("The downloaded archive has %1 bytes; the catalogue says %2.");
    case Kind::CHECKSUM_DIFFERS:
        return QT_TR_NOOP("The downloaded archive is not the one that the catalogue names: its "
                          "checksum is another one.");
    case Kind::COPY_FAILED:
        return QT_TR_NOOP("A file that is to be kept could not be copied: %1");
    case Kind::UNPACKING_FAILED:
        return QT_TR_NOOP("The archive could not be unpacked. The log file tells more.");
    }
    Q_UNREACHABLE();
}

} // namespace Kavo::Models
