#include "tools/probe/CatalogueProbe.h"

#include "core/ByteSize.h"
#include "packages/catalogue/CatalogueFeed.h"
#include "packages/catalogue/CatalogueParser.h"
#include "tools/probe/Fetcher.h"
#include "tools/probe/Repetition.h"

namespace Kavo::Tools {

using Models::LargestCatalogue;
using Models::PackageList;

namespace {

/// In smaller files, in bytes, the headers outweigh the savings by compression.
constexpr qint64 WorthCompressing = 4096;
/// Enough bytes to detect that it is too large.
constexpr qint64 TooMany = LargestCatalogue + 1;

/// Nothing arrived that shows that there is a server.
bool isUnreachable(const Answer &answer)
{
    return answer.status == 0 && answer.isTrusted && !answer.isLost;
}

} // namespace

CatalogueProbe::CatalogueProbe(Fetcher &fetcher, ProbeReport &report, TransportCheck &transport)
    : m_fetcher(fetcher)
    , m_report(report)
    , m_transport(transport)
{}

PackageList CatalogueProbe::run(const QUrl &address)
{
    m_address = address;
    const Answer whole =
        m_fetcher.ask(Question{address, Question::Method::Get, {}, TooMany, TooMany});
    m_transport.look(whole, Observation::Subject::Catalogue);
    const PackageList packages = read(whole);
    if (m_report.worst() >= Verdict::Unusable)
        return {};
    lookAtType(whole);
    lookAtCompression(whole);
    lookAtRepetition(whole);
    lookAtMemory(whole);
    return packages;
}

PackageList CatalogueProbe::read(const Answer &whole)
{
    const QString asked = QStringLiteral("the whole file");
    if (!whole.isFile()) {
        add(asked, whole.summary(), isUnreachable(whole) ? Verdict::Unreachable : Verdict::Unusable,
            TransportCheck::adviceFor(whole));
        return {};
    }
    if (whole.bodySize > LargestCatalogue) {
        add(asked, QStringLiteral("more than %1").arg(formatByteSize(LargestCatalogue)),
            Verdict::Unusable,
            QStringLiteral("The program takes no catalogue as large as this. Leave out old "
                           "versions."));
        return {};
    }
    Models::CatalogueParser parser(whole.body, QStringLiteral("en"));
    PackageList packages;
    while (const Models::PackagePointer package = parser.next())
        packages.append(package);
    if (!parser.isWhole()) {
        add(asked, QStringLiteral("%1, no JSON array").arg(formatByteSize(whole.bodySize)),
            Verdict::Unusable,
            QStringLiteral("Users see an empty list. Put a catalogue there: a JSON array of "
                           "packages to its last byte."));
        return {};
    }
    add(asked,
        QStringLiteral("%1, packages: %2").arg(formatByteSize(whole.bodySize)).arg(packages.size()),
        Verdict::Good, QString());
    return packages;
}

void CatalogueProbe::lookAtType(const Answer &whole)
{
    const QString asked = QStringLiteral("its type");
    const QString came = whole.contentType.isEmpty() ? QStringLiteral("none")
                                                     : QString::fromLatin1(whole.contentType);
    if (whole.contentType.toLower().contains("json"))
        add(asked, came, Verdict::Good, QString());
    else
        add(asked, came, Verdict::Note,
            QStringLiteral("The program takes any type, but servers choose by it what they "
                           "compress. Send application/json."));
}

void CatalogueProbe::lookAtCompression(const Answer &whole)
{
    const QString asked = QStringLiteral("compression");
    const Answer packed = m_fetcher.ask(
        Question{m_address, Question::Method::Get, {{"Accept-Encoding", "gzip"}}, TooMany, 0});
    const QString sent = formatByteSize(packed.bodySize);
    if (packed.isFile() && packed.isCompressed)
        add(asked, QStringLiteral("gzip, %1").arg(sent), Verdict::Good, QString());
    else if (!packed.isFile())
        add(asked, packed.summary(), Verdict::Costs, TransportCheck::adviceFor(packed));
    else if (whole.bodySize < WorthCompressing)
        add(asked, QStringLiteral("none, %1").arg(sent), Verdict::Note,
            QStringLiteral("So small a catalogue needs none. Let the server offer gzip for JSON "
                           "before it grows."));
    else
        add(asked, QStringLiteral("none, %1").arg(sent), Verdict::Costs,
            QStringLiteral("Users fetch several times as many bytes as they need to. Let the "
                           "server offer gzip for JSON."));
}

/// A client that has the catalogue should not have to fetch it again.
void CatalogueProbe::lookAtRepetition(const Answer &whole)
{
    const QString asked = QStringLiteral("whether it has changed");
    if (whole.isUnmarked()) {
        add(asked, QStringLiteral("neither ETag nor date"), Verdict::Costs,
            QStringLiteral("Users fetch the whole catalogue at every start. Have the server send "
                           "ETag or Last-Modified."));
        return;
    }
    const Answer again = m_fetcher.ask(repetitionOf(whole));
    if (again.status == 304)
        add(asked, again.summary(), Verdict::Good, QString());
    else
        add(asked, again.summary(), Verdict::Costs,
            QStringLiteral("Users fetch the whole catalogue at every start. Have the server answer "
                           "304 to who names the ETag or the date that it has sent."));
}

/// The program's own code decides whether it is kept.
void CatalogueProbe::lookAtMemory(const Answer &whole)
{
    const QString asked = QStringLiteral("to be kept by the program");
    if (whole.isUnmarked())
        return;
    if (whole.isMeasured && whole.mayBeKept)
        add(asked, QStringLiteral("allowed"), Verdict::Good, QString());
    else if (whole.forbidsKeeping())
        add(asked, QStringLiteral("forbidden"), Verdict::Costs,
            QStringLiteral("Users fetch the whole catalogue at every start. Take no-store out of "
                           "Cache-Control, and the asterisk out of Vary."));
    else if (whole.isCompressed)
        add(asked, QStringLiteral("compressed"), Verdict::Note,
            QStringLiteral("The program keeps no compressed answers: it fetches this one at every "
                           "start, compressed as it is."));
    else if (!whole.isMeasured)
        add(asked, QStringLiteral("no Content-Length"), Verdict::Costs,
            QStringLiteral("Users fetch the whole catalogue at every start, and a cut goes "
                           "unnoticed. Have the server say how long it is."));
    else
        add(asked, QStringLiteral("changed just now"), Verdict::Note,
            QStringLiteral("What has changed within the last second is not kept, because it may "
                           "change once more. Ask again."));
}

void CatalogueProbe::add(const QString &asked, const QString &came, Verdict verdict,
                         const QString &advice)
{
    m_report.add({Observation::Subject::Catalogue, m_address, asked, came, verdict, advice});
}

} // namespace Kavo::Tools
