#pragma once

#include <QString>
#include <QStringList>

namespace Kavo::Tools {

/// The candidate that `word` was most likely meant to be: the one with the fewest changes of a
/// letter, whatever the case. Empty when none is near.
QString nearestWord(const QString &word, const QStringList &candidates);

} // namespace Kavo::Tools
