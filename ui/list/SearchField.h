#pragma once

#include <QLineEdit>

namespace Kavo::Ui {

/// The field for what is searched for.
class SearchField final : public QLineEdit
{
    Q_OBJECT

public:
    explicit SearchField(QWidget *parent = nullptr);

    /// Writes behind what stands there.
    void write(const QString &text);

signals:
    /// Escape was pressed.
    void cancelled();

protected:
    void keyPressEvent(QKeyEvent *event) override;
};

} // namespace Kavo::Ui
