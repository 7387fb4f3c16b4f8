#pragma once

#include "tests/support/Literals.h"

#include <QStringList>

namespace Kavo::Testing {

/// A 7-Zip that records when it begins and when it ends, for tests of the order of extractions.
class ExtractionWitness final
{
public:
    /// Installs the program in the folder, whose path ends in a separator.
    explicit ExtractionWitness(const QString &folder);

    QString program() const { return m_folder + "7z"_s; }
    /// "begin NAME" and "end NAME" with the archives' file names, in order.
    QStringList lines() const;
    /// Whether each extraction ended before the next one began.
    bool sawOneAtATime() const;

private:
    QString notes() const { return m_folder + "witness"_s; }

    QString m_folder;
};

} // namespace Kavo::Testing
