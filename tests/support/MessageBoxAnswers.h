#pragma once

#include <QList>
#include <QMessageBox>
#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>

class QDialog;
class QFileDialog;
class QWidget;

namespace Kavo::Testing {

/// Answers the modal dialogs that the code under test opens in nested event loops, in the order in
/// which the test expects them.
///
///     MessageBoxAnswers answers;
///     answers.expect("Uninstall", "Are you sure?", QMessageBox::Yes);
///     card->uninstallButton()->click();
///     QVERIFY(answers.allShown());
///
/// A dialog that was not expected, or that has another title or text, fails the test and is closed.
/// The destructor fails the test if an expected dialog was not shown. Main thread.
class MessageBoxAnswers final : public QObject
{
    Q_OBJECT

public:
    struct Shown
    {
        QMessageBox::Icon icon;
        QString title;
        QString text;
        QMessageBox::StandardButtons buttons;
        QMessageBox::StandardButton defaultButton; ///< NoButton if there is none
        QWidget *parent;                           ///< only to be compared; may be dangling
        QString informativeText;
        bool isDestroying; ///< whether Yes has the style of a destroying button
        Qt::TextFormat textFormat;
    };

    MessageBoxAnswers();
    ~MessageBoxAnswers() override;

    /// Expects a message box and presses this button.
    void expect(const QString &title, const QString &text, QMessageBox::StandardButton button);
    /// Expects a message box and calls the function once with it. The function must close the box
    /// or delete its parent.
    void expect(const QString &title, const QString &text,
                const std::function<void(QMessageBox &)> &handle);
    /// Expects a folder dialog with this caption and chooses the folder. An empty path cancels the
    /// dialog.
    void expectFolder(const QString &caption, const QString &folder);
    /// Expects any other modal dialog with this object name and calls the function once while it is
    /// shown. The function must close the dialog.
    void expectDialog(const QString &objectName, const std::function<void(QDialog &)> &handle);

    /// The message boxes shown so far, expected or not.
    const QList<Shown> &shown() const { return m_shown; }
    bool allShown() const { return m_expected.isEmpty(); }
    /// Runs the event loop until allShown(). Returns false on timeout.
    bool waitForAll(int milliseconds = 5000) const;

private:
    enum class Kind {
        MESSAGE,
        FOLDER,
        DIALOG,
    };
    struct Expected
    {
        Kind kind;
        QString title; ///< the object name for Kind::DIALOG
        QString text;
        QMessageBox::StandardButton button;
        std::function<void(QDialog &)> handle; ///< instead of the button
    };

    void look();
    void answer(QDialog &dialog);
    void answerMessage(QMessageBox &box);
    void answerFolder(QFileDialog &dialog);
    void answerDialog(QDialog &dialog);
    bool takeExpected(Kind kind, const QString &title, const QString &text, Expected &expected);

    QList<Expected> m_expected;
    QList<Shown> m_shown;
    QTimer m_timer;
};

} // namespace Kavo::Testing
