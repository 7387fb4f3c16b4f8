#pragma once

#include <QMessageBox>

class QLabel;
class QScrollArea;

namespace Kavo::Dialogs {

/// A message box that fits its screen. Qt's own grows with its text, past the edge of the screen
/// and its buttons with it. This one keeps to a part of the available height: the text of a higher
/// one scrolls above the buttons, with the wheel, its bar and the keyboard. Everything else,
/// `text()` included, is as Qt has it.
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
