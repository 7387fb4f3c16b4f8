#pragma once

#include <QLabel>

namespace Kavo::Ui {

/// A plain text on one line that never widens its parent: it is elided when it is painted, while
/// text() stays complete.
class NameLabel final : public QLabel
{
    Q_OBJECT

public:
    explicit NameLabel(const QString &name, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace Kavo::Ui
