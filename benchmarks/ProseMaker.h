#pragma once

#include "benchmarks/Random.h"

#include <QStringList>

namespace Kavo::Benchmarks {

/// Texts with as many different words as natural ones: a few words occur everywhere, and every text
/// has some words that hardly any other text has.
class ProseMaker final
{
public:
    ProseMaker();

    QString word();
    QString text(int words);
    /// The same with markup.
    QString richText(int words);

private:
    Random m_random;
    QStringList m_words; ///< the most frequent one first
};

} // namespace Kavo::Benchmarks
