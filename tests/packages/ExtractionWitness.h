#pragma once

#include "tests/support/Literals.h"

#include <QStringList>

namespace Kavo::Testing {

/// A 7-Zip that does its work and writes down when it begins and when it ends, for tests of what
/// runs one after the other.
class ExtractionWitness final
{
public:
    /// Puts the program into the folder, which ends in a separator.
    explicit ExtractionWitness(const QString &folder);

    QString program() const { return m_folder + "7z"_s; }
    /// "begin NAME" and "end NAME" with the archives' file names, in order.
    QStringList lines() const;
    /// Whether no extraction began before the one ahead of it had ended.
    bool sawOneAtATime() const;

private:
    QString notes() const { return m_folder + "witness"_s; }

    QString m_folder;
};

} // namespace Kavo::Testing
