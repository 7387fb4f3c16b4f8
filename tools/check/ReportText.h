#pragma once

#include "tools/check/CheckReport.h"

#include <QByteArray>
#include <QString>

namespace Kavo::Tools {

/// A report for people: a finding with its place, what clients do and how to mend it, and a line
/// with the counts at the end. `file` is how the user named the catalogue.
QByteArray reportAsText(const CheckReport &report, const QString &file);

/// The same for programs: one JSON object.
QByteArray reportAsJson(const CheckReport &report, const QString &file);

/// "1 update" or "2 updates".
QString counted(int count, const QString &word);

} // namespace Kavo::Tools
