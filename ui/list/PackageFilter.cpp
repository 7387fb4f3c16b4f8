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

/// The length of a turn in milliseconds: half a frame at 60 Hz.
constexpr int TurnLength = 8;
/// The number of remembered words: those of a long search typed letter by letter.
constexpr int MostKnownWords = 64;

/// The words of a search. A word that is part of another one is redundant and left out.
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

/// Whether the text of a package's action button contains a word. Thousands of packages share few
/// texts.
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

/// Reads packages for one turn, searches them, and schedules the next turn.
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

/// Searches the packages that were read, starting with the given one.
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

/// A text that contains a word contains each part of it. So while somebody types, only the texts
/// with the shorter word are searched, and none when letters are deleted. Only for a complete
/// index.
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
