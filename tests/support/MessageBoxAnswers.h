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

/// Answers the modal boxes that the code under test opens in event loops of its own, in the order
/// in which the test expects them.
///
///     MessageBoxAnswers answers;
///     answers.expect("Uninstall", "Are you sure?", QMessageBox::Yes);
///     card->uninstallButton()->click();
///     QVERIFY(answers.allShown());
///
/// A box that was not expected, or one with another title or text, fails the test and is closed. So
/// does, at the end of the object's life, a box that never came. Main thread.
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
        QMessageBox::StandardButton defaultButton; ///< NoButton when there is none
        QWidget *parent;                           ///< to be compared only
        QString informativeText;
        bool isDestroying; ///< Yes is marked as the end of something
        Qt::TextFormat textFormat;
    };

    MessageBoxAnswers();
    ~MessageBoxAnswers() override;

    /// A message box, and the button to press.
    void expect(const QString &title, const QString &text, QMessageBox::StandardButton button);
    /// A message box that the function looks at. It runs once and has to see to it that the box
    /// closes or goes with its parent.
    void expect(const QString &title, const QString &text,
                const std::function<void(QMessageBox &)> &handle);
    /// A folder dialog with this caption, and the folder to choose; an empty one cancels.
    void expectFolder(const QString &caption, const QString &folder);
    /// Any other modal dialog, by object name. The function runs once while it is shown and has to
    /// see to it that the dialog closes.
    void expectDialog(const QString &objectName, const std::function<void(QDialog &)> &handle);

    /// The message boxes so far, answered or not.
    const QList<Shown> &shown() const { return m_shown; }
    bool allShown() const { return m_expected.isEmpty(); }
    /// Runs the event loop until allShown(); false when that takes longer.
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
        QString title; ///< of dialogs the object name
        QString text;
        QMessageBox::StandardButton button;
        std::function<void(QDialog &)> handle; ///< in the place of the button
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
