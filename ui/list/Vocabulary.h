#pragma once

#include <QBitArray>
#include <QByteArray>
#include <QVector>

namespace Kavo::Ui {

/// Distinct words, numbered 0, 1 and so on in the order in which they were added. Many thousands of
/// words take little more memory than their letters. No word may contain a line feed.
class Vocabulary final
{
public:
    int size() const { return m_starts.size(); }
    /// Returns the number of a word and adds it if it is new.
    int add(const QByteArray &word);
    /// Returns a bit for every word, set if the word contains the part.
    QBitArray containing(const QByteArray &part) const;
    /// Releases the memory reserved for further words.
    void squeeze();

private:
    int slotOf(const QByteArray &word) const;
    bool stands(const QByteArray &word, int number) const;
    int endOf(int number) const;
    void grow();

    QByteArray m_text;     ///< the words, each followed by a line feed
    QVector<int> m_starts; ///< their offsets
    /// A hash table of word numbers with linear probing.
    QVector<int> m_slots;
};

} // namespace Kavo::Ui
