#pragma once

#include "tools/probe/Answer.h"
#include "tools/probe/ProbeReport.h"

#include <QSet>
#include <QString>

namespace Kavo::Tools {

/// Judges the transport of answers: the connection and the redirects. Observations about a whole
/// server are reported once.
class TransportCheck final
{
public:
    explicit TransportCheck(ProbeReport &report) : m_report(report) {}

    void look(const Answer &answer, Observation::Subject subject);

    /// The advice for a missing answer.
    static QString adviceFor(const Answer &answer);

private:
    void lookAtRedirects(const Answer &answer, Observation::Subject subject);
    void lookAtServer(const Answer &answer);
    void lookAtCertificates(const Answer &answer);

    ProbeReport &m_report;
    QSet<QString> m_seen; ///< servers
};

} // namespace Kavo::Tools
