#include "tools/probe/ServerProbe.h"

#include "tools/probe/CatalogueProbe.h"
#include "tools/probe/PictureProbe.h"
#include "tools/probe/ServerAddress.h"

#include <QSet>

namespace Kavo::Tools {

using Models::PackageList;
using Models::PackagePointer;

namespace {

constexpr int SampleSize = 3;

} // namespace

ProbeReport ServerProbe::run(const QString &server, Extent extent)
{
    m_report = ProbeReport();
    const ServerAddress address = ServerAddress::of(server);
    if (!address.fault.isEmpty()) {
        m_report.add({Observation::Subject::Catalogue, QUrl(), QStringLiteral("its address"),
                      server, Verdict::Unreachable,
                      QStringLiteral("This is no address of a catalogue server: ") + address.fault +
                          QLatin1Char('.')});
        return m_report;
    }
    TransportCheck transport(m_report);
    const PackageList packages =
        CatalogueProbe(m_fetcher, m_report, transport).run(address.catalogue);
    PictureProbe(m_fetcher, m_report, transport).run(icons(packages, extent));
    ArchiveProbe(m_fetcher, m_report, transport).run(archives(packages, extent));
    return m_report;
}

QVector<QUrl> ServerProbe::icons(const PackageList &packages, Extent extent)
{
    QVector<QUrl> addresses;
    QSet<QUrl> known;
    for (const PackagePointer &package : packages) {
        if (extent == Extent::Sample && known.size() >= SampleSize)
            break;
        const QUrl address(package->icon());
        if (package->icon().isEmpty() || known.contains(address))
            continue;
        known.insert(address);
        if (canBeAsked(address, Observation::Subject::Picture))
            addresses.append(address);
    }
    return addresses;
}

QVector<ArchiveProbe::Archive> ServerProbe::archives(const PackageList &packages, Extent extent)
{
    QVector<ArchiveProbe::Archive> archives;
    QSet<QUrl> known;
    for (const PackagePointer &package : packages) {
        if (extent == Extent::Sample && known.size() >= SampleSize)
            break;
        const auto &versions = package->versions();
        for (const auto &version : extent == Extent::All ? versions : versions.mid(0, 1)) {
            const QUrl address(version->link);
            if (known.contains(address))
                continue;
            known.insert(address);
            if (canBeAsked(address, Observation::Subject::Archive))
                archives.append({address, version->size});
        }
    }
    return archives;
}

/// Whether it is a web address; adds an observation if not.
bool ServerProbe::canBeAsked(const QUrl &address, Observation::Subject subject)
{
    const bool isWeb =
        address.scheme() == QLatin1String("http") || address.scheme() == QLatin1String("https");
    if (isWeb && !address.host().isEmpty())
        return true;
    const bool isArchive = subject == Observation::Subject::Archive;
    m_report.add({subject, address, QStringLiteral("an address in the web"),
                  address.isEmpty() ? QStringLiteral("none") : address.toDisplayString(),
                  isArchive ? Verdict::Unusable : Verdict::Costs,
                  isArchive ? QStringLiteral("The version cannot be installed. Write an address "
                                             "that begins with https:// into the catalogue.")
                            : QStringLiteral("The card shows no icon. Write an address that "
                                             "begins with https:// into the catalogue.")});
    return false;
}

} // namespace Kavo::Tools
