#pragma once

#include "tools/probe/ProbeReport.h"
#include "tools/probe/Question.h"
#include "tools/probe/TransportCheck.h"

#include <QVector>

#include <optional>

namespace Kavo::Tools {

class Fetcher;

/// Requests archives as downloads do: the headers, the unencoded file, and the rest of a partial
/// file. It fetches only a small part of each.
class ArchiveProbe final
{
public:
    struct Archive
    {
        QUrl address;
        std::optional<qint64> size; ///< size in the catalogue in bytes
    };

    ArchiveProbe(Fetcher &fetcher, ProbeReport &report, TransportCheck &transport);

    void run(const QVector<Archive> &archives);

private:
    /// An archive whose headers and beginning have arrived.
    struct Beginning
    {
        Answer head;
        Answer file;
    };
    /// A part whose offset is known.
    struct Part
    {
        Beginning whole;
        qint64 offset = 0;
    };

    void runPortion(const QVector<Archive> &archives);
    QVector<Answer> askForHeads(const QVector<Archive> &archives);
    QVector<Beginning> askForBeginnings(const QVector<Answer> &heads);
    void askForParts(const QVector<Beginning> &beginnings);
    void askForEnds(const QVector<Part> &parts);
    void askWithValidators(const QVector<Part> &parts);

    bool judgeHead(const Archive &archive, const Answer &head);
    bool judgeFile(const Beginning &beginning);
    void judgeAgreement(const Beginning &beginning);
    bool judgePart(const Part &part, const Answer &answer);
    void judgeEnd(const Part &part, qint64 offset, const Answer &answer);
    void judgeSame(const Part &part, const Answer &answer);
    void judgeOther(const Part &part, const Answer &answer);
    void add(const Answer &archive, const QString &asked, const QString &came, Verdict verdict,
             const QString &advice = QString());

    Fetcher &m_fetcher;
    ProbeReport &m_report;
    TransportCheck &m_transport;
};

} // namespace Kavo::Tools
