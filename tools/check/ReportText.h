#pragma once

#include "tools/check/CheckReport.h"

#include <QByteArray>
#include <QString>

namespace Kavo::Tools {

/// The report as text: each finding with its place, its effect and its remedy, and a line with the
/// counts. `file` is the name of the catalogue as the user gave it.
QByteArray reportAsText(const CheckReport &report, const QString &file);

/// The report as a JSON object.
QByteArray reportAsJson(const CheckReport &report, const QString &file);

/// "1 update" or "2 updates".
QString counted(int count, const QString &word);

} // namespace Kavo::Tools
