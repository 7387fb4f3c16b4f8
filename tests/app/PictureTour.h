#pragma once

#include "tests/app/Demonstration.h"
#include "tests/app/WalkPictures.h"

#include <QMessageBox>
#include <QObject>
#include <QQueue>
#include <QString>

#include <functional>

class QDialog;
class QPushButton;

namespace Kavo::Ui {
class ApplicationWindow;
class PackageWidget;
} // namespace Kavo::Ui

namespace Kavo::Testing {

/// A tour through everything that can be seen, to be looked at: it starts the program on the
/// demonstration, opens every screen and every kind of box, and keeps pictures of them (see
/// WalkPictures). It knows no text, only object names, so that it can be taken in every language.
/// What the program does on the way is not judged. Main thread.
class PictureTour final : public QObject
{
    Q_OBJECT

public:
    explicit PictureTour(const QString &language);

    /// Returns whether every stop was reached.
    bool take();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    struct Answer
    {
        QString box;
        QMessageBox::StandardButton button = QMessageBox::NoButton;
    };

    using Stop = void (PictureTour::*)();

    void visitWithoutSimulator();
    void visitList();
    void visitDownload();
    void visitChangedCatalogue();
    void visitErrors();
    void visitFailedRemovals();
    void visitSettings();
    void visitFilter();

    void showUpdates();
    void showDetail();
    void showRemoval();
    void showFailedDownload();
    void showSilentServer();

    /// Starts the program, does this as soon as its list is shown, and closes the window.
    void visit(const std::function<void()> &look);
    int start();
    bool waitFor(const QString &what, const std::function<bool()> &condition);
    void waitForError(int id);
    void fail(const QString &what);

    /// What a further box is about, and how it is answered.
    void answerNext(const QString &name, QMessageBox::StandardButton button);
    void press(QPushButton *button);
    /// Presses and waits until the box that this opens has been answered.
    void pressAndAnswer(QPushButton *button, const QString &name,
                        QMessageBox::StandardButton answer);
    /// Removes the package that is shown in detail and looks at the box that this ends with.
    void removeInVain(const QString &name);
    void openSettings(const std::function<void(QDialog &)> &look);

    Ui::PackageWidget *card(int id);
    QPushButton *actionOf(int id);
    void openDetail(int id);
    void closeDetail();
    void showTab(int index);
    QPushButton *oldVersion(int row);
    /// Installs the newest version, or the one in this row of the old ones, and waits for the end.
    void install(int id, int oldVersionRow = -1);
    void store(const QString &key, const QString &value);

    Demonstration m_demonstration;
    WalkPictures m_pictures;
    QString m_language;
    QString m_extractor;
    Ui::ApplicationWindow *m_window = nullptr;
    QQueue<Answer> m_answers;
    bool m_started = false;
    bool m_complete = true;
};

} // namespace Kavo::Testing
