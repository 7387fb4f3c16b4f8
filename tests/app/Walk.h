#pragma once

#include "core/Languages.h"
#include "tests/app/Demonstration.h"
#include "tests/app/StoredSettings.h"
#include "tests/app/WalkPictures.h"
#include "tests/support/MessageBoxAnswers.h"

#include <QMap>
#include <QMessageBox>
#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>
#include <memory>

class QDialog;
class QLabel;
class QPushButton;

namespace Kavo::Ui {
class ApplicationWindow;
class PackageDetailWidget;
class PackageWidget;
} // namespace Kavo::Ui

namespace Kavo::Testing {

/// The ids of the demonstration's packages.
enum DemonstrationPackage {
    Library = 1,
    GroundEquipment = 2,
    HarbourCity = 3,
    HighlandApproach = 5,
    DesertStrip = 6,
    SeaplaneBase = 7,
    NightLighting = 8,
    CloudPainter = 9,
};

/// The values of the column "status" in "packages.db", as other programs read them.
enum RecordedStatus {
    Available = 0,
    Installed = 1,
    Downloading = 3,
    Installing = 4,
    InstallError = 6,
    DownloadError = 7,
};

/// The base of a test that uses the whole program on the demonstration. It starts the program
/// several times on one scratch account, operates the window, answers message boxes and dialogs,
/// takes pictures of them, and checks that the disk, the database and the window agree.
///
/// KAVO_WALK_LANGUAGE sets the initial language; the default is English. Main thread.
class Walk : public QObject
{
    Q_OBJECT

protected:
    using Steps = std::function<void()>;

    /// The status of a program that did not end by itself. The program never returns it.
    static constexpr int StillRunning = 99;
    static constexpr int Patience = 60000; ///< in milliseconds

    Walk();
    ~Walk() override;

    // To be called before and after each function of the test.
    void beginPart();
    void endPart();

    /// Starts the program, runs the steps as soon as the list is shown, and closes the window.
    /// Calls compare() before and after the steps, and compareDisk() after the end of the program.
    void visit(const Steps &steps = [] {});
    /// Like visit(), for steps that end the program. Compares nothing after the steps, because they
    /// may change what is expected.
    void visitToTheEnd(const Steps &steps);
    /// Starts the program, runs the steps as soon as the list is shown, and returns the exit
    /// status, or StillRunning if the steps do not end the program. Checks nothing but the log.
    int start(const Steps &steps);

    /// Checks the disk, the cards, and that the cache contains no archive.
    void compare();
    /// Checks that the simulator's folder and "packages.db" agree with m_installed, and that the
    /// preserve folder contains no file.
    void compareDisk();
    /// Checks that the cards agree with m_installed and m_errors.
    void compareCards();
    void waitForRow(int id, RecordedStatus status, const QString &version) const;
    /// Waits until the version is installed, and adds it to m_installed.
    void waitForInstallation(int id, const QString &version);
    ScratchProfile &profile() const { return m_demonstration->profile(); }
    Nginx &server() const { return m_demonstration->server(); }
    QString simulator() const { return m_demonstration->simulator(); }
    QMap<int, QPair<int, QString>> rows() const { return m_demonstration->rows(); }
    QPair<int, QString> row(int id) const { return rows().value(id); }
    QString stored(const char *key) const { return Testing::stored(profile(), key); }

    bool isListShown() const;
    QList<Ui::PackageWidget *> cards() const;
    Ui::PackageWidget *card(int id) const;
    /// The action button of a card. Its text and object name depend on the package's state.
    QPushButton *action(int id) const;
    static QPushButton *actionOf(const Ui::PackageWidget &card);
    QPushButton *topButton(const char *name) const;
    /// The error text that is shown instead of the list.
    QLabel *listMessage() const;

    void openDetail(int id);
    Ui::PackageDetailWidget &detail() const;
    /// A button of the detail view by its object name; null if there is none.
    QPushButton *detailButton(const char *name) const;
    void showDetailTab(int index);
    QPushButton *oldVersion(const QString &version);
    void closeDetail();
    void uninstall(int id);

    static void press(QWidget *button);
    /// Adds an expected message box, with the button to press and the name of the picture of the
    /// box. Without a name no picture is taken.
    void expect(const QString &title, const QString &text, QMessageBox::StandardButton button,
                const QString &picture = QString());
    /// Presses the button and checks that all expected boxes were shown.
    void pressAndAnswer(QPushButton *button);
    /// Opens the settings dialog and calls the function with it, which must close the dialog.
    void inSettings(const std::function<void(QDialog &)> &change);
    /// Adds an expected folder dialog, with the folder to choose. An empty folder cancels the
    /// dialog.
    void expectFolder(const QString &caption, const QString &folder,
                      const QString &picture = QString());
    /// Presses "Browse" in a row of the settings' folders. Rows count from 0.
    static void browse(QDialog &settings, int row);
    /// Presses "Browse" in a row of the settings' folders and chooses this folder.
    void chooseFolder(QDialog &settings, int row, const QString &folder,
                      const QString &picture = QString());
    void takePicture(const char *name);
    void takePicture(QWidget &widget, const QString &name);

    /// The source text in the language that the program shows. The context is needed only if the
    /// text has different translations.
    QString text(const char *source, const char *context = nullptr) const;
    QString nameOf(int id) const;
    bool isEnglish() const { return m_language == Kavo::languages().constFirst(); }
    /// A language to change to.
    QString otherLanguage() const { return Kavo::languages().at(isEnglish() ? 1 : 0); }
    /// The names of the packages as message boxes list them, one per line.
    QString namesOf(const QList<int> &ids) const;

    std::unique_ptr<Demonstration> m_demonstration;
    std::unique_ptr<MessageBoxAnswers> m_answers;
    /// The versions that must be installed, by package id.
    QMap<int, QString> m_installed;
    /// The error texts that the cards must show, by package id. Cleared by each visit.
    QMap<int, QString> m_errors;
    QString m_language;
    QString m_extractor;
    QPointer<Ui::ApplicationWindow> m_window;

private:
    Ui::ApplicationWindow *findWindow() const;
    void compareCard(const Ui::PackageWidget &card, const Demonstration::Entry &entry) const;

    WalkPictures m_pictures;
    QMap<QString, QString> m_translations; ///< by source text, and by context and source text
    QtMessageHandler m_handlerBefore = nullptr;
    bool m_isTranslated = false;
    bool m_broken = false;
};

} // namespace Kavo::Testing
