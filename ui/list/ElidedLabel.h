#pragma once

#include <QLabel>

namespace Kavo::Ui {

/// A plain text on one line, cut at the right with an ellipsis to the label's width less a margin
/// in pixels, again at every change of the width. The text never widens the label.
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
