#include "components/FileSelector.h"
#include "tests/components/Widgets.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/TestMain.h"

#include <QFileDialog>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTextDocument>
#include <QTimer>

using namespace Kavo::Testing;
using Kavo::Components::FileSelector;

namespace {

/// The properties of the file dialog that was shown.
struct Offered
{
    QFileDialog::FileMode mode = QFileDialog::AnyFile;
    bool foldersOnly = false;
};

QString valueOf(const FileSelector &selector)
{
    return child<QLineEdit>(selector, "FileSelectorValue")->text();
}

QPushButton *browseButton(const FileSelector &selector)
{
    return child<QPushButton>(selector, "FileSelectorBrowse");
}

} // namespace

class FileSelectorTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { Kavo::Components::iconFont()->initFontAwesome(); }

    void widgetsHaveTheirLook()
    {
        const FileSelector selector(FileSelector::ChooseFolder);
        QCOMPARE(selector.objectName(), "FileSelector"_s);
        QVERIFY(!child<QLineEdit>(selector, "FileSelectorValue")->isEnabled());
        QCOMPARE(browseButton(selector)->text(), "Browse"_s);
        QVERIFY(sameIcon(browseButton(selector)->icon(), darkGlyph(0xf07c)));
        QVERIFY(hasHand(*browseButton(selector)));
    }

    void captionIsHiddenWithoutText()
    {
        FileSelector selector(FileSelector::ChooseFolder);
        const auto *caption = child<QLabel>(selector, "FileSelectorCaption");
        selector.setLabel("Cache"_s);
        QCOMPARE(caption->text(), "Cache"_s);
        QVERIFY(!caption->isHidden());
        selector.setLabel(QString());
        QVERIFY(caption->isHidden());
        selector.setLabel("Backup"_s);
        QCOMPARE(caption->text(), "Backup"_s);
        QVERIFY(!caption->isHidden());
    }

    void setValueEmitsNothing()
    {
        FileSelector selector(FileSelector::ChooseFolder);
        QSignalSpy changed(&selector, &FileSelector::valueChanged);
        selector.setValue("/some/folder/"_s);
        QCOMPARE(valueOf(selector), "/some/folder/"_s);
        QCOMPARE(changed.count(), 0);
    }

    void toolTipIsTheWholePath()
    {
        FileSelector selector(FileSelector::ChooseFolder);
        const auto *field = child<QLineEdit>(selector, "FileSelectorValue");
        selector.setValue("/some/folder/"_s);
        QCOMPARE(field->toolTip(), "/some/folder/"_s);
        const QString likeMarkup = "/some/<b>folder</b>/"_s;
        selector.setValue(likeMarkup);
        QTextDocument tip;
        tip.setHtml(field->toolTip());
        QCOMPARE(tip.toPlainText(), likeMarkup);
    }

    void longPathIsElidedInTheMiddle()
    {
        const auto picture = [](const QString &path) {
            FileSelector selector(FileSelector::ChooseFolder);
            selector.setFixedWidth(400);
            selector.setValue(path);
            selector.show();
            return child<QLineEdit>(selector, "FileSelectorValue")->grab().toImage();
        };
        const QString middle = "middle/"_s.repeated(40);
        const QImage whole = picture("/beginning/"_s + middle + "end/"_s);
        QCOMPARE(picture("/other/"_s + middle + "end/"_s) == whole, false);
        QCOMPARE(picture("/beginning/"_s + middle + "els/"_s) == whole, false);
        // The elided part does not influence the picture.
        QCOMPARE(picture("/beginning/"_s + middle + middle + "end/"_s), whole);
    }

    // Fixed, see docs/compatibility.md.
    void folderModeOffersFoldersOnly()
    {
        const QTemporaryDir folder;
        FileSelector selector(FileSelector::ChooseFolder);
        QSignalSpy changed(&selector, &FileSelector::valueChanged);
        const auto [mode, foldersOnly] = browse(selector, folder.path());
        QVERIFY(foldersOnly);
        QVERIFY(mode != QFileDialog::AnyFile && mode != QFileDialog::ExistingFile);
        QCOMPARE(valueOf(selector), folder.path());
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changed.first().first().toString(), folder.path());
    }

    void fileModeOffersFiles()
    {
        const QTemporaryDir folder;
        const QString file = folder.filePath("file.txt"_s);
        QVERIFY(writeFile(file, "x"));
        FileSelector selector(FileSelector::ChooseFolder);
        selector.setMode(FileSelector::ChooseFile);
        QSignalSpy changed(&selector, &FileSelector::valueChanged);
        QCOMPARE(browse(selector, file).mode, QFileDialog::ExistingFile);
        QCOMPARE(valueOf(selector), file);
        QCOMPARE(changed.count(), 1);
        FileSelector ofFiles(FileSelector::ChooseFile);
        QCOMPARE(browse(ofFiles, QString()).mode, QFileDialog::ExistingFile);
    }

    void cancelledDialogChangesNothing()
    {
        FileSelector selector(FileSelector::ChooseFile);
        selector.setValue("/before/"_s);
        QSignalSpy changed(&selector, &FileSelector::valueChanged);
        QCOMPARE(browse(selector, QString()).mode, QFileDialog::ExistingFile);
        QCOMPARE(valueOf(selector), "/before/"_s);
        QCOMPARE(changed.count(), 0);
    }

private:
    /// Opens the dialog and chooses a path. An empty path cancels the dialog.
    static Offered browse(const FileSelector &selector, const QString &path)
    {
        Offered offered;
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
            auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
            if (!dialog)
                return;
            timer.stop();
            offered = {dialog->fileMode(), dialog->testOption(QFileDialog::ShowDirsOnly)};
            if (path.isEmpty())
                return dialog->reject();
            dialog->findChild<QLineEdit *>("fileNameEdit"_s)->setText(path);
            QMetaObject::invokeMethod(dialog, "accept");
        });
        timer.start(2);
        browseButton(selector)->click();
        return offered;
    }
};

KAVO_TEST_MAIN(FileSelectorTest)
#include "FileSelectorTest.moc"
