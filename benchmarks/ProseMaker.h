#pragma once

#include "benchmarks/Random.h"

#include <QStringList>

namespace Kavo::Benchmarks {

/// Makes random texts whose words are distributed as in natural texts: a few words occur in all
/// texts, and each text has some words that hardly any other text has. The same in every run.
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
