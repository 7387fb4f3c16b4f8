#pragma once

#include <QLabel>

namespace Kavo::Ui {

/// A plain text on one line, elided at the right to the label's width minus a margin in pixels,
/// again at every resize. The text never widens the label.
class ElidedLabel final : public QLabel
{
    Q_OBJECT

public:
    ElidedLabel(const QString &fullText, int margin, QWidget *parent = nullptr);

protected:
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void elide();

    QString m_fullText;
    int m_margin;
};

} // namespace Kavo::Ui
