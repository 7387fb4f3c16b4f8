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

/// The packages of the demonstration by their ids.
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

/// The numbers by which other programs read the state of a package in "packages.db".
enum RecordedStatus {
    Available = 0,
    Installed = 1,
    Downloading = 3,
    Installing = 4,
    InstallError = 6,
    DownloadError = 7,
};

/// What a walk through the whole program needs, one start after the other on one scratch account:
/// the demonstration, hands for the window, answers for the boxes, pictures of both, and the facts
/// that the disk, the database and the window have to agree on.
///
/// KAVO_WALK_LANGUAGE is the language at the beginning, English without it. Main thread.
class Walk : public QObject
{
    Q_OBJECT

protected:
    using Steps = std::function<void()>;

    /// In the place of a status that no program returns: it did not end by itself.
    static constexpr int StillRunning = 99;
    static constexpr int Patience = 60000;

    Walk();
    ~Walk() override;

    // Each function of the test takes these two about itself.
    void beginPart();
    void endPart();

    /// Starts the program, takes the steps as soon as the list is shown, and closes the window.
    /// Before the steps, after them and when the program has ended, everything has to tell what
    /// m_installed tells, and the cards what m_errors tells.
    void visit(const Steps &steps = [] {});
    /// The same for steps that bring the program to its end, after which another state may count.
    void visitToTheEnd(const Steps &steps);
    /// Starts the program and returns its exit status. Nothing is compared.
    int start(const Steps &steps);

    /// The simulator's folder, "packages.db" and the cards tell what m_installed tells.
    void compare();
    void compareDisk();
    void compareCards();
    void waitForRow(int id, RecordedStatus status, const QString &version) const;
    /// Waits for the version and counts on it from then on.
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
    /// The button of the card whose meaning follows the state of the package.
    QPushButton *action(int id) const;
    static QPushButton *actionOf(const Ui::PackageWidget &card);
    QPushButton *topButton(const char *name) const;
    /// The error text in the place of the list.
    QLabel *listMessage() const;

    void openDetail(int id);
    Ui::PackageDetailWidget &detail() const;
    /// A button of the detail view by its object name; null when there is none.
    QPushButton *detailButton(const char *name) const;
    void showDetailTab(int index);
    QPushButton *oldVersion(const QString &version);
    void closeDetail();
    void uninstall(int id);

    static void press(QWidget *button);
    /// A box that comes next, the button to press, and the name of the box's picture.
    void expect(const QString &title, const QString &text, QMessageBox::StandardButton button,
                const QString &picture = QString());
    /// Presses and sees to it that all boxes have come by then.
    void pressAndAnswer(QPushButton *button);
    /// Opens the settings and does this in them; it has to close them.
    void inSettings(const std::function<void(QDialog &)> &change);
    /// A folder dialog that comes next, and the folder to choose; an empty one cancels.
    void expectFolder(const QString &caption, const QString &folder,
                      const QString &picture = QString());
    /// Presses "Browse" in this row of the settings' folders.
    static void browse(QDialog &settings, int row);
    /// The same, and chooses this folder.
    void chooseFolder(QDialog &settings, int row, const QString &folder,
                      const QString &picture = QString());
    void takePicture(const char *name);
    void takePicture(QWidget &widget, const QString &name);

    /// A text of the program in the language that this process shows. The context tells texts apart
    /// that are translated differently.
    QString text(const char *source, const char *context = nullptr) const;
    QString nameOf(int id) const;
    bool isEnglish() const { return m_language == Kavo::languages().constFirst(); }
    /// A language to change to.
    QString otherLanguage() const { return Kavo::languages().at(isEnglish() ? 1 : 0); }
    /// Names as boxes list them, a line each.
    QString namesOf(const QList<int> &ids) const;

    std::unique_ptr<Demonstration> m_demonstration;
    std::unique_ptr<MessageBoxAnswers> m_answers;
    /// The versions that are installed by what the walk has done so far.
    QMap<int, QString> m_installed;
    /// The cards that tell of an error, and how. A start forgets them.
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
