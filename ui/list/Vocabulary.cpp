#include "ui/list/Vocabulary.h"

#include <QHash>

#include <algorithm>
#include <cstring>

namespace Kavo::Ui {

namespace {

constexpr char Separator = '\n';
constexpr int FewestSlots = 1024;
constexpr int Free = -1;

} // namespace

int Vocabulary::add(const QByteArray &word)
{
    // A third of the table stays free, so that free slots are close.
    if (3 * size() >= 2 * m_slots.size())
        grow();
    const int slot = slotOf(word);
    if (m_slots.at(slot) == Free) {
        m_slots[slot] = size();
        m_starts.append(m_text.size());
        m_text += word;
        m_text += Separator;
    }
    return m_slots.at(slot);
}

QBitArray Vocabulary::containing(const QByteArray &part) const
{
    if (part.isEmpty())
        return QBitArray(size(), true);
    QBitArray words(size());
    int number = 0;
    // One search through all words at once; a part cannot match across the end of a word.
    for (int at = m_text.indexOf(part); at >= 0; at = m_text.indexOf(part, endOf(number))) {
        number = static_cast<int>(std::upper_bound(m_starts.begin() + number, m_starts.end(), at) -
                                  m_starts.begin()) -
                 1;
        words.setBit(number);
    }
    return words;
}

void Vocabulary::squeeze()
{
    m_text.squeeze();
    m_starts.squeeze();
}

/// The slot of a word, or the free slot for it.
int Vocabulary::slotOf(const QByteArray &word) const
{
    const uint hash = qHashBits(word.constData(), static_cast<std::size_t>(word.size()));
    int slot = static_cast<int>(hash % static_cast<uint>(m_slots.size()));
    while (m_slots.at(slot) != Free && !stands(word, m_slots.at(slot)))
        slot = (slot + 1) % m_slots.size();
    return slot;
}

bool Vocabulary::stands(const QByteArray &word, int number) const
{
    const int start = m_starts.at(number);
    return endOf(number) - start == word.size() &&
           std::memcmp(m_text.constData() + start, word.constData(),
                       static_cast<std::size_t>(word.size())) == 0;
}

int Vocabulary::endOf(int number) const
{
    return (number + 1 < size() ? m_starts.at(number + 1) : m_text.size()) - 1;
}

void Vocabulary::grow()
{
    m_slots.fill(Free, qMax(FewestSlots, 2 * m_slots.size()));
    for (int number = 0; number < size(); ++number) {
        const int start = m_starts.at(number);
        const auto word =
            QByteArray::fromRawData(m_text.constData() + start, endOf(number) - start);
        m_slots[slotOf(word)] = number;
    }
}

} // namespace Kavo::Ui
