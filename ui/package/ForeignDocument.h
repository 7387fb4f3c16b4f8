#pragma once

#include <QTextDocument>

namespace Kavo::Ui {

/// Rich text as Qt reads it, by which a text is judged before a label may have it. It opens no file
/// whatever it names, as long as it is not laid out: Qt's own painting of pictures reads files past
/// `loadResource`.
class ForeignDocument final : public QTextDocument
{
    Q_OBJECT

public:
    explicit ForeignDocument(const QString &html);

    /// Whether a label would read files for this text, or follow links to anything but web pages.
    bool hasReferences() const;
    /// Whether there are links to web pages.
    bool hasLinks() const;
    /// The text without its pictures, style sheets and backgrounds, other links as plain text.
    /// May be called once.
    QString takeSafeHtml();

protected:
    QVariant loadResource(int type, const QUrl &name) override;

private:
    bool m_wasAsked = false;
};

} // namespace Kavo::Ui
