#include "ui/list/WordIndex.h"

#include <algorithm>

namespace Kavo::Ui {

namespace {

constexpr uint Follows = 0x80;
constexpr uint Group = 0x7f;
constexpr uint GroupBits = 7;

/// The last set bit, -1 if there is none.
int lastBit(const QBitArray &bits)
{
    int last = bits.size() - 1;
    while (last >= 0 && !bits.testBit(last))
        --last;
    return last;
}

} // namespace

void WordIndex::append(const QByteArrayList &words)
{
    QVector<int> numbers;
    numbers.reserve(words.size());
    for (const QByteArray &word : words)
        numbers.append(m_vocabulary.add(word));
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    int before = 0;
    for (const int number : qAsConst(numbers)) {
        appendNumber(static_cast<uint>(number - before));
        before = number;
    }
    m_ends.append(m_numbers.size());
}

QBitArray WordIndex::textsWith(const QByteArray &part, const QBitArray &among, int first) const
{
    const QBitArray words = m_vocabulary.containing(part);
    const int last = lastBit(words);
    QBitArray texts(among.size());
    for (int text = first; last >= 0 && text < size(); ++text) {
        if (among.testBit(text) && hasAny(text, words, static_cast<uint>(last)))
            texts.setBit(text);
    }
    return texts;
}

void WordIndex::squeeze()
{
    m_vocabulary.squeeze();
    m_numbers.squeeze();
    m_ends.squeeze();
}

/// Whether the text has a word whose bit is set. `last` is the last such word, after which the
/// search can stop.
bool WordIndex::hasAny(int text, const QBitArray &words, uint last) const
{
    const char *byte = m_numbers.constData() + (text > 0 ? m_ends.at(text - 1) : 0);
    const char *end = m_numbers.constData() + m_ends.at(text);
    uint number = 0;
    while (byte != end) {
        uint distance = 0;
        uint shift = 0;
        for (uint group = Follows; group & Follows; shift += GroupBits) {
            group = static_cast<uchar>(*byte++);
            distance |= (group & Group) << shift;
        }
        number += distance;
        if (number >= last)
            return number == last;
        if (words.testBit(static_cast<int>(number)))
            return true;
    }
    return false;
}

void WordIndex::appendNumber(uint number)
{
    for (; number > Group; number >>= GroupBits)
        m_numbers += static_cast<char>((number & Group) | Follows);
    m_numbers += static_cast<char>(number);
}

} // namespace Kavo::Ui
