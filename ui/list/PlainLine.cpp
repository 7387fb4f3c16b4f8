#include "ui/list/PlainLine.h"

#include <QTextDocument>
#include <QVariant>

namespace Kavo::Ui {

namespace {

/// In characters including markup; a list may have thousands of cards.
constexpr int LongestMarkup = 4000;

/// Qt's implementation reads any local file that a text names.
class ClosedDocument final : public QTextDocument
{
protected:
    QVariant loadResource(int, const QUrl &) override { return QByteArray(); }
};

} // namespace

QString plainLine(const QString &text)
{
    if (!Qt::mightBeRichText(text))
        return text.simplified();
    ClosedDocument document;
    document.setUndoRedoEnabled(false);
    document.setHtml(text.left(LongestMarkup));
    return document.toPlainText().remove(QChar::ObjectReplacementCharacter).simplified();
}

} // namespace Kavo::Ui
