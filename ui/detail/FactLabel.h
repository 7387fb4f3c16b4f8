#pragma once

#include <QLabel>

namespace Kavo::Ui {

/// A caption and a value separated by tabs, plain and on one line. The value is in a column of its
/// own in every font and language, which tabs alone do not achieve.
class FactLabel final : public QLabel
{
    Q_OBJECT

public:
    explicit FactLabel(QWidget *parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString caption() const;
    QString value() const;
    int column() const;
};

} // namespace Kavo::Ui
