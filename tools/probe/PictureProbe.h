#pragma once

#include "tools/probe/ProbeReport.h"
#include "tools/probe/TransportCheck.h"

#include <QSize>
#include <QVector>

namespace Kavo::Tools {

class Fetcher;

/// Requests icons as the cards do, and checks whether the next start could fetch less.
class PictureProbe final
{
public:
    PictureProbe(Fetcher &fetcher, ProbeReport &report, TransportCheck &transport);

    void run(const QVector<QUrl> &addresses);

private:
    bool judge(const Answer &picture);
    void judgeSize(const Answer &picture, const QSize &size);
    void judgeRepetition(const Answer &picture, const Answer &again);
    void add(const Answer &picture, const QString &asked, const QString &came, Verdict verdict,
             const QString &advice = QString());

    Fetcher &m_fetcher;
    ProbeReport &m_report;
    TransportCheck &m_transport;
};

} // namespace Kavo::Tools
