#pragma once

#include "ui/list/Vocabulary.h"

#include <QBitArray>
#include <QByteArrayList>
#include <QVector>

namespace Kavo::Ui {

/// Says in which of many texts a part of a word stands, in less time than reading the texts would
/// take and in less room than they have. Texts are numbered in the order in which they came.
class WordIndex final
{
public:
    /// Of so many texts.
    int size() const { return m_ends.size(); }
    /// Adds a text by its words, in any order and as often as they stand there.
    void append(const QByteArrayList &words);
    /// Of the texts whose bit is set, from the first one asked for on, those with a word that
    /// contains the part. There may be more bits than texts.
    QBitArray textsWith(const QByteArray &part, const QBitArray &among, int first = 0) const;
    /// Gives back the room that was kept for further texts.
    void squeeze();

private:
    bool hasAny(int text, const QBitArray &words, uint last) const;
    void appendNumber(uint number);

    Vocabulary m_vocabulary;
    /// Of every text the numbers of its words, ascending. Each stands as its distance from the one
    /// before, in groups of seven bits; the eighth says that another group follows.
    QByteArray m_numbers;
    QVector<int> m_ends; ///< of the texts, in m_numbers
};

} // namespace Kavo::Ui
