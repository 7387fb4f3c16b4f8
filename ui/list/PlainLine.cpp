#include "ui/list/PlainLine.h"

#include <QTextDocument>
#include <QVariant>

namespace Kavo::Ui {

namespace {

/// In characters, markup included: a list of thousands of cards reads thousands of texts.
constexpr int LongestMarkup = 4000;

/// Qt's own reads whatever local path a text names.
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
