#include "benchmarks/ProseMaker.h"

#include <QSet>

namespace Kavo::Benchmarks {

namespace {

constexpr std::uint64_t Seed = 36;
constexpr int WordCount = 30000;
constexpr int WordsInAParagraph = 30;

const char *const Syllables[] = {"ru", "tor", "lan", "ge", "ver", "ti",  "mo", "schä", "ken", "al",
                                 "by", "dre", "fu",  "ß",  "pi",  "che", "za", "ö",    "nd",  "ou"};

} // namespace

ProseMaker::ProseMaker() : m_random(Seed)
{
    QSet<QString> known;
    while (m_words.size() < WordCount) {
        QString word;
        for (int count = 2 + m_random.below(4); count > 0; --count)
            word += QString::fromUtf8(Syllables[m_random.below(20)]);
        if (!known.contains(word))
            m_words.append(word);
        known.insert(word);
    }
}

/// The word at rank n occurs half as often as the word at rank n/2, as in natural texts.
QString ProseMaker::word()
{
    constexpr int Steps = 1 << 30;
    const double place = static_cast<double>(m_random.below(Steps)) / Steps;
    return m_words.at(static_cast<int>(std::pow(WordCount, place)) - 1);
}

QString ProseMaker::text(int words)
{
    QStringList text;
    for (int i = 0; i < words; ++i)
        text.append(word());
    return text.join(QLatin1Char(' '));
}

QString ProseMaker::richText(int words)
{
    QString paragraphs;
    for (; words > 0; words -= WordsInAParagraph)
        paragraphs += QStringLiteral("<p><b>%1</b> %2</p>").arg(word(), text(WordsInAParagraph));
    return paragraphs;
}

} // namespace Kavo::Benchmarks
