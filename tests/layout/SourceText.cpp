#include "tests/layout/SourceText.h"

#include <QRegularExpression>

namespace Kavo::Testing {

namespace {

/// The position after a literal that begins at `start`.
int endOfLiteral(const QString &text, int start)
{
    const QChar quote = text.at(start);
    if (quote == QLatin1Char('"') && start > 0 && text.at(start - 1) == QLatin1Char('R')) {
        const int bracket = text.indexOf(QLatin1Char('('), start);
        const QString mark = text.mid(start + 1, bracket - start - 1);
        const QString closing = QLatin1Char(')') + mark + QLatin1Char('"');
        const int end = text.indexOf(closing, bracket);
        return end < 0 ? text.size() : end + closing.size();
    }
    int position = start + 1;
    while (position < text.size() && text.at(position) != quote)
        position += text.at(position) == QLatin1Char('\\') ? 2 : 1;
    return qMin(position + 1, text.size());
}

bool isDigitSeparator(const QString &text, int position)
{
    return text.at(position) == QLatin1Char('\'') && position > 0 &&
           text.at(position - 1).isLetterOrNumber();
}

/// The position after the bracket that closes the one at `start`.
int endOfBrackets(const QString &code, int start)
{
    int depth = 0;
    for (int position = start; position < code.size(); ++position) {
        if (QStringLiteral("([{").contains(code.at(position)))
            ++depth;
        else if (QStringLiteral(")]}").contains(code.at(position)) && --depth == 0)
            return position + 1;
    }
    return code.size();
}

QStringList argumentsOf(const QString &list)
{
    QStringList arguments;
    int start = 0;
    for (int position = 0; position < list.size(); ++position) {
        if (QStringLiteral("([{").contains(list.at(position)))
            position = endOfBrackets(list, position) - 1;
        else if (list.at(position) == QLatin1Char(',')) {
            arguments.append(list.mid(start, position - start).trimmed());
            start = position + 1;
        }
    }
    arguments.append(list.mid(start).trimmed());
    return arguments;
}

/// The first group of the pattern, for each match.
QStringList capturedIn(const QString &text, const QRegularExpression &pattern)
{
    QStringList found;
    auto matches = pattern.globalMatch(text);
    while (matches.hasNext())
        found.append(matches.next().captured(1));
    return found;
}

} // namespace

QString codeOf(const QString &text)
{
    QString code;
    int position = 0;
    while (position < text.size()) {
        const QStringRef rest = text.midRef(position);
        int end = position + 1;
        if (rest.startsWith(QLatin1String("//")))
            end = text.indexOf(QLatin1Char('\n'), position);
        else if (rest.startsWith(QLatin1String("/*")))
            end = text.indexOf(QLatin1String("*/"), position) + 2;
        else if (rest.at(0) == QLatin1Char('"') ||
                 (rest.at(0) == QLatin1Char('\'') && !isDigitSeparator(text, position)))
            end = endOfLiteral(text, position);
        if (end <= position)
            end = text.size();
        if (end == position + 1)
            code.append(text.at(position));
        else
            code.append(QString(text.midRef(position, end - position).count(QLatin1Char('\n')),
                                QLatin1Char('\n')));
        position = end;
    }
    return code;
}

QStringList includesOf(const QString &text)
{
    static const QRegularExpression pattern(QStringLiteral("^#include \"([^\"]+)\""),
                                            QRegularExpression::MultilineOption);
    return capturedIn(text, pattern);
}

QStringList libraryIncludesOf(const QString &text)
{
    static const QRegularExpression pattern(QStringLiteral("^\\s*#\\s*include\\s*<([^>]+)>"),
                                            QRegularExpression::MultilineOption);
    return capturedIn(text, pattern);
}

bool declaresClassWithFunctions(const QString &code)
{
    static const QRegularExpression head(QStringLiteral("\\b(class|struct)\\s+\\w+[^;{}()]*\\{"));
    static const QRegularExpression function(
        QStringLiteral("\\w+\\s*\\([^;{}]*\\)\\s*(const|override|noexcept|\\s)*;"));
    auto heads = head.globalMatch(code);
    while (heads.hasNext()) {
        const int start = heads.next().capturedEnd() - 1;
        QString body = code.mid(start, endOfBrackets(code, start) - start);
        body.remove(QRegularExpression(QStringLiteral("\\bQ_\\w+\\([^)]*\\)")));
        if (function.match(body).hasMatch())
            return true;
    }
    return false;
}

QList<QStringList> connectCallsOf(const QString &code)
{
    static const QRegularExpression call(QStringLiteral("(?<![\\w.>])(QObject::)?connect\\("));
    QList<QStringList> calls;
    auto matches = call.globalMatch(code);
    while (matches.hasNext()) {
        const int start = matches.next().capturedEnd() - 1;
        const int end = endOfBrackets(code, start);
        calls.append(argumentsOf(code.mid(start + 1, end - start - 2)));
    }
    return calls;
}

} // namespace Kavo::Testing
