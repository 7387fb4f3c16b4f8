#pragma once

#include <QLabel>

namespace Kavo::Ui {

/// A plain text on one line that never widens what is around it: what has no room is elided when it
/// is drawn, while text() stays whole.
class NameLabel final : public QLabel
{
    Q_OBJECT

public:
    explicit NameLabel(const QString &name, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace Kavo::Ui
