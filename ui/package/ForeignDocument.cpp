#include "ui/package/ForeignDocument.h"

#include "ui/package/WebPage.h"

#include <QRegularExpression>
#include <QTextBlock>
#include <QTextCursor>
#include <QUrl>
#include <QVector>

#include <algorithm>

namespace Kavo::Ui {

namespace {

bool isLink(const QTextFormat &format)
{
    return format.hasProperty(QTextFormat::AnchorHref);
}

bool leadsToWebPage(const QTextFormat &format)
{
    return isWebPage(QUrl(format.stringProperty(QTextFormat::AnchorHref)));
}

bool isReference(const QTextFormat &format)
{
    return format.isImageFormat() || (isLink(format) && !leadsToWebPage(format));
}

QTextCharFormat withoutLink(QTextCharFormat format)
{
    format.setAnchor(false);
    format.clearProperty(QTextFormat::AnchorHref);
    format.clearProperty(QTextFormat::ForegroundBrush);
    format.clearProperty(QTextFormat::TextUnderlineStyle);
    format.clearProperty(QTextFormat::FontUnderline);
    return format;
}

QVector<QTextFragment> fragmentsOf(const QTextDocument &document)
{
    QVector<QTextFragment> fragments;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        for (auto part = block.begin(); !part.atEnd(); ++part)
            fragments.append(part.fragment());
    }
    return fragments;
}

} // namespace

ForeignDocument::ForeignDocument(const QString &html)
{
    setUndoRedoEnabled(false);
    setHtml(html);
}

bool ForeignDocument::hasReferences() const
{
    const auto formats = allFormats();
    return m_wasAsked || std::any_of(formats.begin(), formats.end(), isReference);
}

bool ForeignDocument::hasLinks() const
{
    const auto formats = allFormats();
    return std::any_of(formats.begin(), formats.end(), leadsToWebPage);
}

QString ForeignDocument::takeSafeHtml()
{
    const auto fragments = fragmentsOf(*this);
    // From the end, so that the other positions stay valid.
    for (auto fragment = fragments.rbegin(); fragment != fragments.rend(); ++fragment) {
        const QTextCharFormat format = fragment->charFormat();
        if (!isReference(format))
            continue;
        QTextCursor cursor(this);
        cursor.setPosition(fragment->position());
        cursor.setPosition(fragment->position() + fragment->length(), QTextCursor::KeepAnchor);
        if (format.isImageFormat())
            cursor.removeSelectedText();
        else
            cursor.setCharFormat(withoutLink(format));
    }
    // Quotes in the text are entities here, and only this attribute names a background.
    static const QRegularExpression background(QStringLiteral(" background=\"[^\"]*\""));
    static const QRegularExpression body(QStringLiteral("<body[^>]*>(.*)</body>"),
                                         QRegularExpression::DotMatchesEverythingOption);
    return body.match(toHtml()).captured(1).remove(background).trimmed();
}

QVariant ForeignDocument::loadResource(int type, const QUrl &name)
{
    Q_UNUSED(type)
    Q_UNUSED(name)
    m_wasAsked = true;
    return {};
}

} // namespace Kavo::Ui
