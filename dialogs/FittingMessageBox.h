#pragma once

#include <QMessageBox>

class QLabel;
class QScrollArea;

namespace Kavo::Dialogs {

/// A message box that fits its screen. QMessageBox grows with its text beyond the edge of the
/// screen, and its buttons with it. This class limits the box to a part of the available height: a
/// longer text scrolls above the buttons by wheel, scroll bar and keyboard. Everything else,
/// including `text()`, works as in QMessageBox.
class FittingMessageBox final : public QMessageBox
{
    Q_OBJECT

public:
    FittingMessageBox(Icon icon, const QString &title, StandardButtons buttons, QWidget *parent);

    bool event(QEvent *event) override;

protected:
    void showEvent(QShowEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void fit();
    QSize available() const;
    int heightLimit() const;
    void makeArea();
    void moveTextIntoArea();

    QLabel *m_label = nullptr;
    QScrollArea *m_area = nullptr;
};

} // namespace Kavo::Dialogs
