#pragma once

#include "tests/support/Literals.h"

#include <QStringList>

namespace Kavo::Testing {

/// A wrapper script for 7-Zip that logs the beginning and the end of each extraction, for tests of
/// their order.
class ExtractionWitness final
{
public:
    /// Writes the script to the folder, whose path ends in a separator.
    explicit ExtractionWitness(const QString &folder);

    QString program() const { return m_folder + "7z"_s; }
    /// The log so far: "begin NAME" and "end NAME", where NAME is the archive's file name.
    QStringList lines() const;
    /// Whether each extraction ended before the next one began.
    bool sawOneAtATime() const;

private:
    QString notes() const { return m_folder + "witness"_s; }

    QString m_folder;
};

} // namespace Kavo::Testing
