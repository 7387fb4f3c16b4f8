#pragma once

#include "packages/model/Package.h"
#include "tools/probe/ProbeReport.h"
#include "tools/probe/TransportCheck.h"

namespace Kavo::Tools {

class Fetcher;

/// Requests the catalogue as each start of the program does, and checks whether that could be
/// cheaper.
class CatalogueProbe final
{
public:
    CatalogueProbe(Fetcher &fetcher, ProbeReport &report, TransportCheck &transport);

    /// The packages as users would see them; none without a catalogue.
    Models::PackageList run(const QUrl &address);

private:
    Models::PackageList read(const Answer &whole);
    void lookAtType(const Answer &whole);
    void lookAtCompression(const Answer &whole);
    void lookAtMemory(const Answer &whole);
    void lookAtRepetition(const Answer &whole);
    void add(const QString &asked, const QString &came, Verdict verdict, const QString &advice);

    Fetcher &m_fetcher;
    ProbeReport &m_report;
    TransportCheck &m_transport;
    QUrl m_address;
};

} // namespace Kavo::Tools
