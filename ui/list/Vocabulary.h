#pragma once

#include <QBitArray>
#include <QByteArray>
#include <QVector>

namespace Kavo::Ui {

/// Distinct words, each with a number: 0, 1 and so on, in the order in which they came. Many
/// thousands of words take little more room than their letters. No word may hold a line feed.
class Vocabulary final
{
public:
    int size() const { return m_starts.size(); }
    /// The number of the word, a new one for a new word.
    int add(const QByteArray &word);
    /// A bit for every word, set where the word contains the part.
    QBitArray containing(const QByteArray &part) const;
    /// Gives back the room that was kept for further words.
    void squeeze();

private:
    int slotOf(const QByteArray &word) const;
    bool stands(const QByteArray &word, int number) const;
    int endOf(int number) const;
    void grow();

    QByteArray m_text;     ///< the words, each with a line feed behind it
    QVector<int> m_starts; ///< where they begin
    /// Numbers of words, each at the first free place from the one that its hash gives.
    QVector<int> m_slots;
};

} // namespace Kavo::Ui
