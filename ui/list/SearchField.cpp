#include "ui/list/SearchField.h"

#include <QKeyEvent>

namespace Kavo::Ui {

namespace {

/// The maximum length in characters; a longer search only takes more time.
constexpr int LongestSearch = 200;

} // namespace

SearchField::SearchField(QWidget *parent) : QLineEdit(parent)
{
    setObjectName(QStringLiteral("SearchField"));
    setMaxLength(LongestSearch);
}

void SearchField::write(const QString &text)
{
    end(false);
    insert(text);
}

void SearchField::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        emit cancelled();
    else
        QLineEdit::keyPressEvent(event);
}

} // namespace Kavo::Ui
