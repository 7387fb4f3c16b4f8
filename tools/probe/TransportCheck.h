#pragma once

#include "tools/probe/Answer.h"
#include "tools/probe/ProbeReport.h"

#include <QSet>
#include <QString>

namespace Kavo::Tools {

/// Judges how answers came: over which connection, and over how many redirects. What holds for a
/// whole server is said once for it.
class TransportCheck final
{
public:
    explicit TransportCheck(ProbeReport &report) : m_report(report) {}

    void look(const Answer &answer, Observation::Subject subject);

    /// What to do about an answer that never came.
    static QString adviceFor(const Answer &answer);

private:
    void lookAtRedirects(const Answer &answer, Observation::Subject subject);
    void lookAtServer(const Answer &answer);
    void lookAtCertificates(const Answer &answer);

    ProbeReport &m_report;
    QSet<QString> m_seen; ///< servers
};

} // namespace Kavo::Tools
