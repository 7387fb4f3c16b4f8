#pragma once

#include <QTextDocument>

namespace Kavo::Ui {

/// Parses rich text as Qt does, to check it before a label shows it. It reads no file that the text
/// names, as long as it is not laid out: Qt paints pictures without asking `loadResource`.
class ForeignDocument final : public QTextDocument
{
    Q_OBJECT

public:
    explicit ForeignDocument(const QString &html);

    /// Whether a label would read files for this text or follow links to anything but web pages.
    bool hasReferences() const;
    /// Whether there are links to web pages.
    bool hasLinks() const;
    /// The text without pictures, style sheets and backgrounds, and with other links as plain text.
    /// May be called once.
    QString takeSafeHtml();

protected:
    QVariant loadResource(int type, const QUrl &name) override;

private:
    bool m_wasAsked = false;
};

} // namespace Kavo::Ui
