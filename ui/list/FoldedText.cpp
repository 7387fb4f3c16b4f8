#include "ui/list/FoldedText.h"

#include <QVector>

#include <algorithm>

namespace Kavo::Ui {

namespace {

struct Replacement
{
    char16_t letter;
    const char *letters;
};

/// Letters without a Unicode decomposition, with their folded forms.
constexpr Replacement WithoutParts[] = {
    {u'ß', "ss"}, {u'æ', "ae"}, {u'ð', "d"}, {u'ø', "o"},  {u'þ', "th"}, {u'đ', "d"},
    {u'ħ', "h"},  {u'ı', "i"},  {u'ł', "l"}, {u'œ', "oe"}, {u'ŧ', "t"},
};

bool isPlain(const QString &text)
{
    return std::all_of(text.begin(), text.end(),
                       [](QChar character) { return character.unicode() < 0x80; });
}

void appendFolded(QString &folded, QChar letter)
{
    if (letter.isMark())
        return;
    for (const Replacement &each : WithoutParts) {
        if (letter == each.letter) {
            folded += QLatin1String(each.letters);
            return;
        }
    }
    folded += letter;
}

/// A surrogate counts as a letter, because most of these characters are letters.
bool isPartOfWord(QChar character)
{
    return character.isLetterOrNumber() || character.isSurrogate();
}

QStringRef trimmed(const QString &text, int first, int behind)
{
    while (first < behind && !isPartOfWord(text.at(first)))
        ++first;
    while (first < behind && !isPartOfWord(text.at(behind - 1)))
        --behind;
    return text.midRef(first, behind - first);
}

} // namespace

QString foldedText(const QString &text)
{
    if (isPlain(text))
        return text.toLower();
    const QString parts = text.normalized(QString::NormalizationForm_KD).toCaseFolded();
    QString folded;
    folded.reserve(parts.size());
    for (const QChar letter : parts)
        appendFolded(folded, letter);
    return folded;
}

QByteArrayList foldedWords(const QString &text)
{
    const QString folded = foldedText(text);
    QByteArrayList words;
    int first = 0;
    for (int i = 0; i <= folded.size(); ++i) {
        if (i < folded.size() && !folded.at(i).isSpace())
            continue;
        const QStringRef word = trimmed(folded, first, i);
        if (!word.isEmpty())
            words.append(word.toUtf8());
        first = i + 1;
    }
    return words;
}

} // namespace Kavo::Ui
