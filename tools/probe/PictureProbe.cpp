#include "tools/probe/PictureProbe.h"

#include "core/ByteSize.h"
#include "tools/probe/Fetcher.h"
#include "tools/probe/PictureHead.h"
#include "tools/probe/Repetition.h"

namespace Kavo::Tools {

namespace {

using Format = PictureHead::Format;

/// The number of icons that are requested before they are judged, which limits the memory.
constexpr int Portion = 60;
/// The number of bytes that contain the size of a picture, even after the metadata of a camera.
constexpr qint64 HeadSize = Q_INT64_C(256) * 1024;
constexpr qint64 LargestIcon = Q_INT64_C(16) * 1024 * 1024;
/// The largest sensible size of an icon file in bytes.
constexpr qint64 HeavyIcon = Q_INT64_C(256) * 1024;
/// The side lengths in pixels. A card shows 96, or 192 with a pixel ratio of 2.
constexpr int ShownSide = 96;
constexpr int WideSide = 1024;

/// The formats that every client supports; others need a plug-in for the user's Qt.
bool isCommon(Format format)
{
    return format == Format::Png || format == Format::Jpeg || format == Format::Gif;
}

Question questionFor(const QUrl &address)
{
    return {address, Question::Method::Get, {}, LargestIcon + 1, HeadSize};
}

} // namespace

PictureProbe::PictureProbe(Fetcher &fetcher, ProbeReport &report, TransportCheck &transport)
    : m_fetcher(fetcher)
    , m_report(report)
    , m_transport(transport)
{}

void PictureProbe::run(const QVector<QUrl> &addresses)
{
    for (int begin = 0; begin < addresses.size(); begin += Portion) {
        QVector<Question> questions;
        for (const QUrl &address : addresses.mid(begin, Portion))
            questions.append(questionFor(address));
        QVector<Answer> pictures;
        QVector<Question> repetitions;
        for (const Answer &picture : m_fetcher.ask(questions)) {
            m_transport.look(picture, Observation::Subject::Picture);
            if (!judge(picture))
                continue;
            pictures.append(picture);
            repetitions.append(repetitionOf(picture));
        }
        const QVector<Answer> again = m_fetcher.ask(repetitions);
        for (int place = 0; place < pictures.size(); ++place)
            judgeRepetition(pictures.at(place), again.at(place));
    }
}

/// Whether it is a picture, so that further requests make sense.
bool PictureProbe::judge(const Answer &picture)
{
    const QString asked = QStringLiteral("a picture");
    if (!picture.isFile()) {
        add(picture, asked, picture.summary(), Verdict::Costs,
            QStringLiteral("The card shows no icon. Put a picture there, or name another address "
                           "in the catalogue."));
        return false;
    }
    const PictureHead head = PictureHead::of(picture.body);
    const QString name = PictureHead::nameOf(head.format);
    if (head.format == Format::None) {
        add(picture, asked,
            QStringLiteral("none, %1").arg(QString::fromLatin1(picture.contentType)),
            Verdict::Costs,
            QStringLiteral("The card shows no icon. Put a PNG there, or a JPEG or a GIF."));
        return false;
    }
    if (!isCommon(head.format)) {
        add(picture, asked, name, Verdict::Costs,
            QStringLiteral("Most users see no icon, because their Qt has no plug-in for this "
                           "format. Put a PNG there."));
        return false;
    }
    add(picture, asked, name, Verdict::Good);
    judgeSize(picture, head.size);
    return true;
}

void PictureProbe::judgeSize(const Answer &picture, const QSize &size)
{
    const QString asked = QStringLiteral("a fitting size");
    const QString came = QStringLiteral("%1 x %2, %3")
                             .arg(size.width())
                             .arg(size.height())
                             .arg(formatByteSize(picture.bodySize));
    if (!size.isValid())
        add(picture, asked, QStringLiteral("none"), Verdict::Costs,
            QStringLiteral("The card may show no icon, because the picture is damaged. Put it "
                           "there once more."));
    else if (size.width() > WideSide || size.height() > WideSide || picture.bodySize > HeavyIcon)
        add(picture, asked, came, Verdict::Costs,
            QStringLiteral("Users wait for more than a card shows, which is 192 pixels at most. "
                           "Scale it down, and compress it well."));
    else if (size.width() < ShownSide || size.height() < ShownSide)
        add(picture, asked, came, Verdict::Note,
            QStringLiteral("The icon looks blurred: a card shows 96 pixels, or 192 on a screen "
                           "of high resolution. Put a larger one there."));
    else
        add(picture, asked, came, Verdict::Good);
}

void PictureProbe::judgeRepetition(const Answer &picture, const Answer &again)
{
    const QString asked = QStringLiteral("to be kept by the program");
    if (!picture.isMeasured)
        add(picture, asked, QStringLiteral("no length of the file as it is"), Verdict::Costs,
            QStringLiteral("Users fetch the icon whole at every start. Have the server send it "
                           "as it is, with Content-Length."));
    else if (picture.forbidsKeeping())
        add(picture, asked, QStringLiteral("forbidden"), Verdict::Costs,
            QStringLiteral("Users fetch the icon whole at every start. Take no-store out of "
                           "Cache-Control, and the asterisk out of Vary."));
    else if (picture.expiration.isValid())
        add(picture, asked, QStringLiteral("until a given time"), Verdict::Good);
    else if (picture.isUnmarked())
        add(picture, asked, QStringLiteral("neither time nor ETag nor date"), Verdict::Costs,
            QStringLiteral("Users fetch the icon whole at every start. Have the server send "
                           "Cache-Control: max-age, and ETag or Last-Modified."));
    else if (again.status != 304)
        add(picture, asked, QStringLiteral("%1 when asked again").arg(again.summary()),
            Verdict::Costs,
            QStringLiteral("Users fetch the icon whole at every start. Have the server answer 304 "
                           "to who names the ETag or the date that it has sent."));
    else
        add(picture, asked, QStringLiteral("304 when asked again"), Verdict::Note,
            QStringLiteral("Each start asks for each icon. Have the server send Cache-Control: "
                           "max-age=86400 for pictures, and it is one request a day."));
}

void PictureProbe::add(const Answer &picture, const QString &asked, const QString &came,
                       Verdict verdict, const QString &advice)
{
    m_report.add({Observation::Subject::Picture, picture.address, asked, came, verdict, advice});
}

} // namespace Kavo::Tools
