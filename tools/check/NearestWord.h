#pragma once

#include <QString>
#include <QStringList>

namespace Kavo::Tools {

/// The candidate that is most similar to `word` by the number of changed letters, ignoring case.
/// Empty if none is similar.
QString nearestWord(const QString &word, const QStringList &candidates);

} // namespace Kavo::Tools
