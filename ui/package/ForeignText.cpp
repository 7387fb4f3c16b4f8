#include "ui/package/ForeignText.h"

#include "ui/package/ForeignDocument.h"

#include <QLabel>
#include <QRegularExpression>
#include <QSet>
#include <QTextDocument>

namespace Kavo::Ui {

namespace {

/// In characters.
constexpr int LongestText = 50000;
/// The largest nesting depth; Qt's time grows with its square.
constexpr int DeepestMarkup = 500;
/// The longest word without a break; hardly any word is longer.
constexpr int LongestWord = 40;

/// The zero-width joiner, which joins two characters.
constexpr ushort Joiner = 0x200d;
/// The zero-width space, which allows a line break.
constexpr ushort BreakingSpace = 0x200b;

QString cut(const QString &text)
{
    return text.size() <= LongestText ? text : QString(text.left(LongestText) + QChar(0x2026));
}

/// Returns the end of the markup that begins here: a tag, an entity, or a style sheet with all its
/// rules.
int endOfMarkup(const QString &text, int start)
{
    if (text.at(start) == QLatin1Char('&')) {
        const int length = text.midRef(start, LongestWord).indexOf(QLatin1Char(';'));
        return qMax(start, start + length);
    }
    const bool isSheet =
        text.midRef(start, 6).compare(QLatin1String("<style"), Qt::CaseInsensitive) == 0;
    const int from =
        isSheet ? text.indexOf(QLatin1String("</style"), start, Qt::CaseInsensitive) : start;
    const int end = from < 0 ? -1 : text.indexOf(QLatin1Char('>'), from);
    return end < 0 ? text.size() - 1 : end;
}

/// Whether a break before the character does not split a visible character.
bool mayBreakBefore(QChar character)
{
    return !character.isLowSurrogate() && !character.isMark() && character != Joiner;
}

QString withBreaks(const QString &text, bool rich)
{
    QString broken;
    int length = 0;
    for (int i = 0; i < text.size(); ++i) {
        const QChar character = text.at(i);
        const bool isTag = rich && character == QLatin1Char('<');
        if (character.isSpace())
            length = 0;
        else if (!isTag && ++length > LongestWord && mayBreakBefore(character)) {
            broken += QChar(BreakingSpace);
            length = 1;
        }
        const int end = isTag || (rich && character == QLatin1Char('&')) ? endOfMarkup(text, i) : i;
        broken += text.midRef(i, end - i + 1);
        i = end;
    }
    return broken;
}

bool isNestedTooDeep(const QString &text)
{
    // These elements end implicitly when the next one begins.
    static const QSet<QString> shallow{
        QStringLiteral("br"), QStringLiteral("dd"), QStringLiteral("dt"),
        QStringLiteral("hr"), QStringLiteral("li"), QStringLiteral("p"),
        QStringLiteral("td"), QStringLiteral("th"), QStringLiteral("tr")};
    static const QRegularExpression tag(QStringLiteral("<(/?)([a-z][a-z0-9]*)"),
                                        QRegularExpression::CaseInsensitiveOption);
    int depth = 0;
    auto tags = tag.globalMatch(text);
    while (tags.hasNext() && depth <= DeepestMarkup) {
        const auto match = tags.next();
        if (shallow.contains(match.captured(2).toLower()))
            continue;
        depth = match.capturedLength(1) == 0 ? depth + 1 : qMax(0, depth - 1);
    }
    return depth > DeepestMarkup;
}

/// Qt treats everything after a style sheet link as part of it and shows nothing.
QString withoutSheets(QString text)
{
    static const QRegularExpression sheet(QStringLiteral("<\\s*link\\b[^<>]*>"),
                                          QRegularExpression::CaseInsensitiveOption);
    return text.remove(sheet);
}

QString judged(const QString &foreign)
{
    const QString text = withoutSheets(foreign);
    if (isNestedTooDeep(text))
        return QStringLiteral("<p>") + text.toHtmlEscaped() + QStringLiteral("</p>");
    ForeignDocument document(text);
    return document.hasReferences() ? document.takeSafeHtml() : text;
}

} // namespace

QString foreignRichText(const QString &text)
{
    return judged(cut(text));
}

QString foreignText(const QString &text)
{
    const QString shown = cut(text);
    const bool rich = Qt::mightBeRichText(shown);
    const QString broken = withBreaks(shown, rich);
    return rich ? judged(broken) : broken;
}

QString foreignPlainText(const QString &text)
{
    const QString shown = cut(text);
    if (!Qt::mightBeRichText(shown))
        return shown;
    const QString rich = withoutSheets(shown);
    if (isNestedTooDeep(rich))
        return rich;
    return ForeignDocument(rich).toPlainText().remove(QChar::ObjectReplacementCharacter);
}

void showForeignText(QLabel &label, const QString &text)
{
    const bool rich = label.textFormat() == Qt::RichText || Qt::mightBeRichText(text);
    Qt::TextInteractionFlags flags = Qt::LinksAccessibleByMouse;
    if (rich && ForeignDocument(text).hasLinks())
        flags |= Qt::LinksAccessibleByKeyboard;
    label.setTextInteractionFlags(flags);
    label.setOpenExternalLinks(true);
    label.setText(text);
}

} // namespace Kavo::Ui
