#pragma once

#include "ui/list/Vocabulary.h"

#include <QBitArray>
#include <QByteArrayList>
#include <QVector>

namespace Kavo::Ui {

/// Finds the texts that contain a part of a word, faster than a search through the texts and in
/// less memory than they take. Texts are numbered in the order in which they were added.
class WordIndex final
{
public:
    /// The number of texts.
    int size() const { return m_ends.size(); }
    /// Adds a text by its words, in any order and with repetitions.
    void append(const QByteArrayList &words);
    /// Of the texts whose bit is set, starting with `first`, returns those with a word that
    /// contains the part. There may be more bits than texts.
    QBitArray textsWith(const QByteArray &part, const QBitArray &among, int first = 0) const;
    /// Releases the memory reserved for further texts.
    void squeeze();

private:
    bool hasAny(int text, const QBitArray &words, uint last) const;
    void appendNumber(uint number);

    Vocabulary m_vocabulary;
    /// The word numbers of every text, ascending. Each is stored as the difference to the previous
    /// one, in groups of seven bits; the eighth bit means that another group follows.
    QByteArray m_numbers;
    QVector<int> m_ends; ///< ends of the texts in m_numbers
};

} // namespace Kavo::Ui
