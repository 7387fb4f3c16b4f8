#include "ui/list/PackageFilter.h"

#include "ui/list/FoldedText.h"
#include "ui/list/PackageWidget.h"
#include "ui/package/ForeignText.h"
#include "ui/package/StateLook.h"

#include <QElapsedTimer>
#include <QMap>

#include <algorithm>

namespace Kavo::Ui {

using Models::Package;
using Models::PackageList;

namespace {

/// Milliseconds of one turn: half of what a frame of a plain screen may take.
constexpr int TurnLength = 8;
/// So many words are kept with the texts that have them: those of a long search, letter by letter.
constexpr int MostKnownWords = 64;

/// The words of a search. One that is a part of another, which stands for both, is left out.
QByteArrayList searchedWords(const QString &text)
{
    const QByteArrayList all = foldedWords(text);
    QByteArrayList words;
    for (const QByteArray &word : all) {
        const bool isPart = std::any_of(all.begin(), all.end(), [&word](const QByteArray &other) {
            return other != word && other.contains(word);
        });
        if (!isPart && !words.contains(word))
            words.append(word);
    }
    return words;
}

/// Whether a word stands on the action buttons of packages. Thousands of packages have few states.
class ActionWord final
{
public:
    explicit ActionWord(const QByteArray &word) : m_word(word) {}

    bool standsOn(const Package &package)
    {
        const QPair<int, bool> look(package.state(), package.isUpdateAvailable());
        auto known = m_known.find(look);
        if (known == m_known.end())
            known = m_known.insert(look, isIn(StateLook::of(package.state(), look.second).text));
        return known.value();
    }

private:
    bool isIn(const QString &text) const { return foldedText(text).toUtf8().contains(m_word); }

    QByteArray m_word;
    QMap<QPair<int, bool>, bool> m_known;
};

} // namespace

PackageFilter::PackageFilter(QObject *parent) : QObject(parent)
{
    connect(&m_turns, &QTimer::timeout, this, &PackageFilter::takeTurn);
}

void PackageFilter::setPackages(const PackageList &packages)
{
    m_turns.stop();
    m_packages = packages;
    m_index = WordIndex();
    m_known.clear();
    m_found.fill(!isActive(), m_packages.size());
    if (isActive())
        readSome();
}

void PackageFilter::search(const QString &text)
{
    m_words = searchedWords(text);
    m_found.fill(!isActive(), m_packages.size());
    if (!isActive())
        return;
    lookAt(0);
    if (!isComplete() && !m_turns.isActive())
        readSome();
}

void PackageFilter::prepare()
{
    if (!isComplete())
        m_turns.start();
}

bool PackageFilter::isComplete() const
{
    return m_index.size() == m_packages.size();
}

void PackageFilter::takeTurn()
{
    readSome();
    if (isActive())
        emit advanced();
}

/// Reads packages for as long as a turn may last, looks at them, and sees to the next turn.
void PackageFilter::readSome()
{
    QElapsedTimer turn;
    turn.start();
    const int first = m_index.size();
    while (!isComplete() && turn.elapsed() < TurnLength)
        m_index.append(wordsOf(*m_packages.at(m_index.size())));
    if (isActive())
        lookAt(first);
    if (isComplete()) {
        m_index.squeeze();
        m_turns.stop();
    } else {
        m_turns.start();
    }
}

/// Settles what is found of the packages that were read, from the first one given on.
void PackageFilter::lookAt(int first)
{
    m_found.fill(true, first, m_index.size());
    for (const QByteArray &word : qAsConst(m_words)) {
        const QBitArray texts =
            isComplete() ? textsWith(word) : m_index.textsWith(word, m_found, first);
        ActionWord action(word);
        for (int i = first; i < m_index.size(); ++i) {
            if (m_found.testBit(i) && !texts.testBit(i) && !action.standsOn(*m_packages.at(i)))
                m_found.clearBit(i);
        }
    }
}

/// A text with the word has each part of it, too: while somebody types, few texts are left to look
/// at, and none when letters are taken back. Only for an index that is complete.
QBitArray PackageFilter::textsWith(const QByteArray &word)
{
    const auto known = m_known.constFind(word);
    if (known != m_known.constEnd())
        return *known;
    QBitArray among(m_index.size(), true);
    for (auto part = m_known.constBegin(); part != m_known.constEnd(); ++part) {
        if (word.contains(part.key()))
            among &= *part;
    }
    if (m_known.size() == MostKnownWords)
        m_known.clear();
    return *m_known.insert(word, m_index.textsWith(word, among));
}

QByteArrayList PackageFilter::wordsOf(const Package &package)
{
    const QString texts[] = {package.name(), foreignPlainText(package.shortDescription()),
                             package.type(), PackageWidget::priceText(package),
                             foreignPlainText(package.description())};
    QByteArrayList words;
    for (const QString &text : texts)
        words += foldedWords(text);
    return words;
}

} // namespace Kavo::Ui
