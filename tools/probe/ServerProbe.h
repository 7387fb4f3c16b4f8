#pragma once

#include "packages/model/Package.h"
#include "tools/probe/ArchiveProbe.h"
#include "tools/probe/Fetcher.h"
#include "tools/probe/ProbeReport.h"

#include <chrono>

namespace Kavo::Tools {

/// Asks a catalogue server for all that the program asks it for, the way the program does, and
/// reports what came. Comes to an end whatever the server does. Main thread; runs an event loop.
class ServerProbe final
{
public:
    enum class Extent {
        Sample, ///< icons and newest archives of the first packages
        All,    ///< every icon and every archive
    };

    /// How long the server may be silent.
    explicit ServerProbe(std::chrono::milliseconds patience) : m_fetcher(patience) {}

    /// `server` is its address as the program is built with it, or that of its catalogue.
    ProbeReport run(const QString &server, Extent extent);

private:
    QVector<QUrl> icons(const Models::PackageList &packages, Extent extent);
    QVector<ArchiveProbe::Archive> archives(const Models::PackageList &packages, Extent extent);
    bool canBeAsked(const QUrl &address, Observation::Subject subject);

    Fetcher m_fetcher;
    ProbeReport m_report;
};

} // namespace Kavo::Tools
