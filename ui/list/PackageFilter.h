#pragma once

#include "packages/model/Package.h"
#include "ui/list/WordIndex.h"

#include <QBitArray>
#include <QByteArrayList>
#include <QHash>
#include <QObject>
#include <QTimer>

namespace Kavo::Ui {

/// Finds the packages whose cards answer to a text: every word of it stands, or a word begins,
/// goes on or ends with it, in the name, a description, the type, the price or on the action
/// button. Neither case nor accents count.
///
/// Texts are read once, into an index. That goes in short turns of the event loop, in the order of
/// the packages, from prepare() or the first search on; what is found is told as it comes. States
/// are those of the moment of the search: a package that was found stays found until the next one.
/// Main thread.
class PackageFilter final : public QObject
{
    Q_OBJECT

public:
    explicit PackageFilter(QObject *parent = nullptr);

    /// Forgets the packages before and searches these for the same text.
    void setPackages(const Models::PackageList &packages);
    /// Searches for another text, or once more for the same.
    void search(const QString &text);
    /// Reads the texts of the packages ahead of the first search.
    void prepare();

    /// Whether there is anything to search for. Without it every package counts as found.
    bool isActive() const { return !m_words.isEmpty(); }
    /// Whether every package has been looked at.
    bool isComplete() const;
    /// A bit for every package; not set for those that were not looked at yet.
    const QBitArray &found() const { return m_found; }
    int foundCount() const { return m_found.count(true); }

signals:
    /// Further packages were looked at, and none is left when isComplete().
    void advanced();

private:
    void takeTurn();
    void readSome();
    void lookAt(int first);
    QBitArray textsWith(const QByteArray &word);
    static QByteArrayList wordsOf(const Models::Package &package);

    Models::PackageList m_packages;
    WordIndex m_index;
    QByteArrayList m_words;
    QHash<QByteArray, QBitArray> m_known; ///< words that were searched for, and the texts with them
    QBitArray m_found;
    QTimer m_turns;
};

} // namespace Kavo::Ui
