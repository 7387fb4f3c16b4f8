#pragma once

#include <QString>
#include <QUrl>
#include <QVector>

namespace Kavo::Tools {

/// What one thing that was asked of a server is worth to those who use the catalogue.
enum class Verdict {
    Good,
    Note,        ///< costs nobody anything, but the publisher may want to know
    Costs,       ///< costs users time, traffic or safety
    Unusable,    ///< the program can do nothing with it
    Unreachable, ///< there is no server to ask
};

/// One thing that was asked, and what came.
struct Observation
{
    enum class Subject { Server, Catalogue, Picture, Archive };

    Subject subject = Subject::Server;
    QUrl address;
    QString asked;
    QString came;
    Verdict verdict = Verdict::Good;
    /// What it costs users and how it is mended. The same words for all addresses of one fault.
    QString advice;
};

/// Collects observations and says them: a table, in which equal ones share a row, and below it
/// every advice once with the addresses that it is for.
class ProbeReport final
{
public:
    void add(const Observation &observation) { m_observations.append(observation); }
    const QVector<Observation> &observations() const { return m_observations; }

    Verdict worst() const;
    QString text() const;

    static QString nameOf(Verdict verdict);

private:
    QVector<Observation> m_observations;
};

} // namespace Kavo::Tools
