#pragma once

#include "packages/model/Package.h"
#include "ui/list/WordIndex.h"

#include <QBitArray>
#include <QByteArrayList>
#include <QHash>
#include <QObject>
#include <QTimer>

namespace Kavo::Ui {

/// Finds the packages that match a search text: every word of it must be a part of a word in the
/// name, a description, the type, the price or the text of the action button. Case and accents are
/// ignored.
///
/// The packages' texts are read once, into an index, in short turns of the event loop and in the
/// order of the packages. Reading starts with prepare() or the first search; results are reported
/// as they are found. The states are those at the time of the search: a package that was found
/// stays in the result until the next search. Main thread.
class PackageFilter final : public QObject
{
    Q_OBJECT

public:
    explicit PackageFilter(QObject *parent = nullptr);

    /// Replaces the packages and searches them for the same text.
    void setPackages(const Models::PackageList &packages);
    /// Searches for a text, or again for the same one.
    void search(const QString &text);
    /// Reads the texts of the packages before the first search.
    void prepare();

    /// Whether the search has any word. If not, every package counts as found.
    bool isActive() const { return !m_words.isEmpty(); }
    /// Whether all packages have been searched.
    bool isComplete() const;
    /// A bit for every package; not set for packages that were not searched yet.
    const QBitArray &found() const { return m_found; }
    int foundCount() const { return m_found.count(true); }

signals:
    /// Further packages were searched; isComplete() tells whether any are left.
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
    QHash<QByteArray, QBitArray> m_known; ///< recent search words with the matching texts
    QBitArray m_found;
    QTimer m_turns;
};

} // namespace Kavo::Ui
