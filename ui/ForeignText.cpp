#include "ui/ForeignText.h"

#include <QRegularExpression>

namespace Kavo::Ui {

namespace {

/// In characters.
constexpr int LongestText = 50000;

bool refersToFiles(const QString &text)
{
    static const QRegularExpression reference(
        QStringLiteral("<\\s*(img|link|style)\\b|\\b(background|src)\\s*="),
        QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression style(QStringLiteral("\\bstyle\\s*="),
                                          QRegularExpression::CaseInsensitiveOption);
    // Entities and escapes could spell the address in another way.
    static const QRegularExpression address(QStringLiteral("url|&|\\\\"),
                                            QRegularExpression::CaseInsensitiveOption);
    return reference.match(text).hasMatch() ||
           (style.match(text).hasMatch() && address.match(text).hasMatch());
}

/// Most texts that do are meant well, and read better without their pictures.
QString withoutReferences(QString text)
{
    static const QRegularExpression tag(QStringLiteral("<\\s*(img|link)\\b[^<>]*>"),
                                        QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression sheet(QStringLiteral("<\\s*style\\b.*?</\\s*style\\s*>"),
                                          QRegularExpression::CaseInsensitiveOption |
                                              QRegularExpression::DotMatchesEverythingOption);
    return text.remove(sheet).remove(tag);
}

} // namespace

QString foreignRichText(const QString &text)
{
    QString shown =
        text.size() <= LongestText ? text : QString(text.left(LongestText) + QChar(0x2026));
    if (refersToFiles(shown))
        shown = withoutReferences(shown);
    if (!refersToFiles(shown))
        return shown;
    return QStringLiteral("<p>") + shown.toHtmlEscaped() + QStringLiteral("</p>");
}

} // namespace Kavo::Ui
