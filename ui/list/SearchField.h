#pragma once

#include <QLineEdit>

namespace Kavo::Ui {

/// The search field.
class SearchField final : public QLineEdit
{
    Q_OBJECT

public:
    explicit SearchField(QWidget *parent = nullptr);

    /// Appends to the text.
    void write(const QString &text);

signals:
    /// Escape was pressed.
    void cancelled();

protected:
    void keyPressEvent(QKeyEvent *event) override;
};

} // namespace Kavo::Ui
