#pragma once

#include "packages/model/Package.h"
#include "tools/probe/ArchiveProbe.h"
#include "tools/probe/Fetcher.h"
#include "tools/probe/ProbeReport.h"

#include <chrono>

namespace Kavo::Tools {

/// Sends all requests of the program to a catalogue server and reports the results. It always ends,
/// whatever the server does. Main thread; runs an event loop.
class ServerProbe final
{
public:
    enum class Extent {
        Sample, ///< icons and newest archives of the first packages
        All,    ///< every icon and every archive
    };

    /// The time limit for a silent server.
    explicit ServerProbe(std::chrono::milliseconds patience) : m_fetcher(patience) {}

    /// `server` is the address that is built into the program, or that of the catalogue.
    ProbeReport run(const QString &server, Extent extent);

private:
    QVector<QUrl> icons(const Models::PackageList &packages, Extent extent);
    QVector<ArchiveProbe::Archive> archives(const Models::PackageList &packages, Extent extent);
    bool canBeAsked(const QUrl &address, Observation::Subject subject);

    Fetcher m_fetcher;
    ProbeReport m_report;
};

} // namespace Kavo::Tools
