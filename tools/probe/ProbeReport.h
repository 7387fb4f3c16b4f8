#pragma once

#include <QString>
#include <QUrl>
#include <QVector>

namespace Kavo::Tools {

/// The effect of an observation on users.
enum class Verdict {
    Good,
    Note,        ///< harmless, but worth knowing for the publisher
    Costs,       ///< costs users time, traffic or security
    Unusable,    ///< the program cannot use it
    Unreachable, ///< no server answers
};

/// One request and its result.
struct Observation
{
    enum class Subject { Server, Catalogue, Picture, Archive };

    Subject subject = Subject::Server;
    QUrl address;
    QString asked;
    QString came;
    Verdict verdict = Verdict::Good;
    /// The effect on users and the remedy. The same text for all addresses with the same fault.
    QString advice;
};

/// Collects observations and prints them: a table in which equal ones share a row, and below it
/// each advice once with its addresses.
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
