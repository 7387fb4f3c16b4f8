#include "tools/probe/ArchiveProbe.h"

#include "core/ByteSize.h"
#include "tools/probe/Fetcher.h"

namespace Kavo::Tools {

using Managers::FileOrigin;

namespace {

/// The number of archives that are requested before they are judged, which limits the memory.
constexpr int Portion = 60;
/// The number of bytes that are fetched from the beginning of an archive, and of each part.
constexpr qint64 BeginningSize = Q_INT64_C(64) * 1024;
constexpr qint64 PartSize = 1024;

using Headers = QList<QPair<QByteArray, QByteArray>>;

/// The request of the program for an archive.
Question questionFor(const QUrl &address, Question::Method method, qint64 enough,
                     const Headers &more = {})
{
    const Headers headers{{"Cache-Control", "no-transform"}, {"Accept-Encoding", "identity"}};
    return {address, method, headers + more, enough, enough};
}

Question partOf(const QUrl &address, qint64 offset, const QByteArray &validator = QByteArray())
{
    Headers headers{{"Range", "bytes=" + QByteArray::number(offset) + '-'}};
    if (!validator.isEmpty())
        headers.append({"If-Range", validator});
    // One byte more shows whether the file ends there.
    return questionFor(address, Question::Method::Get, PartSize + 1, headers);
}

bool isWebPage(const Answer &file)
{
    const QByteArray begin = file.body.left(256).trimmed().toLower();
    return begin.startsWith("<!doctype html") || begin.startsWith("<html");
}

/// The validators of another state of the file.
FileOrigin otherThan(const FileOrigin &origin)
{
    FileOrigin other = origin;
    if (!other.entityTag.isEmpty())
        other.entityTag = "\"another-" + origin.entityTag.mid(1);
    if (!other.lastModified.isEmpty())
        other.lastModified = "Sat, 01 Jan 2000 00:00:00 GMT";
    return other;
}

} // namespace

ArchiveProbe::ArchiveProbe(Fetcher &fetcher, ProbeReport &report, TransportCheck &transport)
    : m_fetcher(fetcher)
    , m_report(report)
    , m_transport(transport)
{}

void ArchiveProbe::run(const QVector<Archive> &archives)
{
    for (int begin = 0; begin < archives.size(); begin += Portion)
        runPortion(archives.mid(begin, Portion));
}

void ArchiveProbe::runPortion(const QVector<Archive> &archives)
{
    askForParts(askForBeginnings(askForHeads(archives)));
}

QVector<Answer> ArchiveProbe::askForHeads(const QVector<Archive> &archives)
{
    QVector<Question> questions;
    for (const Archive &archive : archives)
        questions.append(questionFor(archive.address, Question::Method::Head, 1));
    const QVector<Answer> heads = m_fetcher.ask(questions);
    QVector<Answer> good;
    for (int place = 0; place < heads.size(); ++place) {
        m_transport.look(heads.at(place), Observation::Subject::Archive);
        if (judgeHead(archives.at(place), heads.at(place)))
            good.append(heads.at(place));
    }
    return good;
}

bool ArchiveProbe::judgeHead(const Archive &archive, const Answer &head)
{
    const QString asked = QStringLiteral("HEAD");
    if (!head.isFile()) {
        add(head, asked, head.summary(), Verdict::Unusable, TransportCheck::adviceFor(head));
        return false;
    }
    const QString size = head.length ? formatByteSize(*head.length) : QStringLiteral("no length");
    if (archive.size && head.length && *archive.size != *head.length)
        add(head, QStringLiteral("the size in the catalogue"),
            QStringLiteral("%1 instead of %2 bytes").arg(*head.length).arg(*archive.size),
            Verdict::Unusable,
            QStringLiteral("The program refuses the archive. Put the right one there, or its size "
                           "in the catalogue."));
    if (head.length && head.hasDate)
        add(head, asked, size + QStringLiteral(", dated"), Verdict::Good);
    else
        add(head, asked,
            size + (head.hasDate ? QStringLiteral(", dated") : QStringLiteral(", no date")),
            Verdict::Costs,
            QStringLiteral("An interrupted download begins anew or comes out damaged. Have the "
                           "server answer HEAD with Content-Length and Last-Modified."));
    return true;
}

QVector<ArchiveProbe::Beginning> ArchiveProbe::askForBeginnings(const QVector<Answer> &heads)
{
    QVector<Question> questions;
    for (const Answer &head : heads)
        questions.append(questionFor(head.address, Question::Method::Get, BeginningSize));
    const QVector<Answer> files = m_fetcher.ask(questions);
    QVector<Beginning> good;
    for (int place = 0; place < files.size(); ++place) {
        const Beginning beginning{heads.at(place), files.at(place)};
        if (judgeFile(beginning))
            good.append(beginning);
    }
    return good;
}

/// Whether the bytes are those of the file, so that parts can be compared with them.
bool ArchiveProbe::judgeFile(const Beginning &beginning)
{
    const Answer &file = beginning.file;
    const QString asked = QStringLiteral("the file as it is");
    if (!file.isFile()) {
        add(file, asked, file.summary(), Verdict::Unusable, TransportCheck::adviceFor(file));
        return false;
    }
    if (isWebPage(file)) {
        add(file, asked, QStringLiteral("a web page"), Verdict::Unusable,
            QStringLiteral("The installation fails. Name the address of the archive itself in the "
                           "catalogue, not that of a page about it."));
        return false;
    }
    if (!file.contentEncoding.isEmpty() && file.contentEncoding != "identity") {
        add(file, asked, QString::fromLatin1(file.contentEncoding), Verdict::Costs,
            QStringLiteral("No interrupted download can be resumed. Have the server leave archives "
                           "as they are, and send them without Content-Encoding."));
        return false;
    }
    add(file, asked, QStringLiteral("as it is"), Verdict::Good);
    judgeAgreement(beginning);
    return beginning.head.length && beginning.head.hasDate;
}

void ArchiveProbe::judgeAgreement(const Beginning &beginning)
{
    const QString asked = QStringLiteral("GET as HEAD said");
    const bool isLong = !beginning.head.length || !beginning.file.length ||
                        *beginning.head.length == *beginning.file.length;
    if (isLong && beginning.head.origin.agreesWith(beginning.file.origin))
        add(beginning.file, asked, QStringLiteral("the same"), Verdict::Good);
    else
        add(beginning.file, asked,
            isLong ? QStringLiteral("another date or ETag") : QStringLiteral("another length"),
            Verdict::Costs,
            QStringLiteral(
                "Interrupted downloads begin anew. Where several machines serve the "
                "file, give it the same date on all, and make ETag of date and length."));
}

void ArchiveProbe::askForParts(const QVector<Beginning> &beginnings)
{
    QVector<Part> parts;
    QVector<Question> questions;
    for (const Beginning &beginning : beginnings) {
        const qint64 offset = qMin(*beginning.head.length, BeginningSize) / 2;
        // A single byte has no part.
        if (offset == 0)
            continue;
        parts.append({beginning, offset});
        questions.append(partOf(beginning.head.address, offset));
    }
    const QVector<Answer> answers = m_fetcher.ask(questions);
    QVector<Part> good;
    for (int place = 0; place < answers.size(); ++place) {
        if (judgePart(parts.at(place), answers.at(place)))
            good.append(parts.at(place));
    }
    askForEnds(good);
    askWithValidators(good);
}

bool ArchiveProbe::judgePart(const Part &part, const Answer &answer)
{
    const QString asked = QStringLiteral("a part from the middle");
    const int compared = qMin(answer.body.size(), part.whole.file.body.size() - int(part.offset));
    if (!answer.isPart()) {
        add(answer, asked, answer.status == 200 ? QStringLiteral("the whole") : answer.summary(),
            Verdict::Costs,
            QStringLiteral("An interrupted download begins anew. Serve archives with a server that "
                           "honours Range."));
        return false;
    }
    if (answer.firstByte != part.offset) {
        add(answer, asked, QStringLiteral("another part"), Verdict::Costs,
            QStringLiteral("An interrupted download begins anew. Have the server send the part "
                           "that is asked for, and say in Content-Range which it is."));
        return false;
    }
    if (compared <= 0 ||
        answer.body.left(compared) != part.whole.file.body.mid(int(part.offset), compared)) {
        add(answer, asked, QStringLiteral("other bytes than in the whole"), Verdict::Unusable,
            QStringLiteral("A resumed download is damaged. Use no server, and no cache before it, "
                           "that sends wrong parts."));
        return false;
    }
    add(answer, asked, QStringLiteral("the same bytes"), Verdict::Good);
    return true;
}

void ArchiveProbe::askForEnds(const QVector<Part> &parts)
{
    QVector<Question> questions;
    QVector<qint64> offsets;
    for (const Part &part : parts) {
        const qint64 length = *part.whole.head.length;
        offsets.append(length - qMin(length - 1, PartSize));
        questions.append(partOf(part.whole.head.address, offsets.last()));
    }
    const QVector<Answer> answers = m_fetcher.ask(questions);
    for (int place = 0; place < answers.size(); ++place)
        judgeEnd(parts.at(place), offsets.at(place), answers.at(place));
}

void ArchiveProbe::judgeEnd(const Part &part, qint64 offset, const Answer &answer)
{
    const QString asked = QStringLiteral("the end of it");
    const qint64 expected = *part.whole.head.length - offset;
    if (answer.isPart() && answer.firstByte == offset && answer.bodySize == expected)
        add(answer, asked, QStringLiteral("all of it"), Verdict::Good);
    else
        add(answer, asked,
            answer.isPart() ? QStringLiteral("%1 of %2 bytes").arg(answer.bodySize).arg(expected)
                            : answer.summary(),
            Verdict::Unusable,
            QStringLiteral("A resumed download is damaged or never ends. Use no server, and no "
                           "cache before it, that sends wrong parts."));
}

void ArchiveProbe::askWithValidators(const QVector<Part> &parts)
{
    QVector<Question> questions;
    for (const Part &part : parts) {
        const QUrl address = part.whole.head.address;
        const FileOrigin origin = part.whole.file.origin;
        questions.append(partOf(address, part.offset, origin.validator()));
        questions.append(partOf(address, part.offset, otherThan(origin).validator()));
    }
    const QVector<Answer> answers = m_fetcher.ask(questions);
    for (int place = 0; place < parts.size(); ++place) {
        judgeSame(parts.at(place), answers.at(2 * place));
        judgeOther(parts.at(place), answers.at(2 * place + 1));
    }
}

void ArchiveProbe::judgeSame(const Part &part, const Answer &answer)
{
    const QString asked = QStringLiteral("If-Range, unchanged");
    const bool isRest = answer.isPart() && answer.firstByte == part.offset &&
                        part.whole.file.origin.agreesWith(answer.origin);
    if (isRest)
        add(answer, asked, QStringLiteral("the part"), Verdict::Good);
    else
        add(answer, asked, answer.status == 200 ? QStringLiteral("the whole") : answer.summary(),
            Verdict::Costs,
            QStringLiteral("An interrupted download begins anew. Have the server send the part to "
                           "who names the ETag or the date that it has sent."));
}

void ArchiveProbe::judgeOther(const Part &part, const Answer &answer)
{
    const QString asked = QStringLiteral("If-Range, replaced");
    const bool isNoticed = !otherThan(part.whole.file.origin).agreesWith(answer.origin);
    if (answer.isFile())
        add(answer, asked, QStringLiteral("the whole"), Verdict::Good);
    else if (!answer.isPart())
        add(answer, asked, answer.summary(), Verdict::Costs, TransportCheck::adviceFor(answer));
    else if (isNoticed)
        add(answer, asked, QStringLiteral("the part"), Verdict::Note,
            QStringLiteral("The server does not heed If-Range. The program notices by the date or "
                           "the ETag that the archive is another, and asks once more."));
    else
        add(answer, asked, QStringLiteral("the part"), Verdict::Costs,
            QStringLiteral("When an archive is replaced, halves of two are put together, and the "
                           "installation fails. Give each version an address of its own, or heed "
                           "If-Range."));
}

void ArchiveProbe::add(const Answer &archive, const QString &asked, const QString &came,
                       Verdict verdict, const QString &advice)
{
    m_report.add({Observation::Subject::Archive, archive.address, asked, came, verdict, advice});
}

} // namespace Kavo::Tools
