#include "components/FileSelector.h"
#include "tests/components/Widgets.h"
#include "tests/support/Archives.h"
#include "tests/support/MessageBoxAnswers.h"
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

/// Runs a function on the file dialog that opens next.
template<class Function>
void whenOpened(QObject *context, Function function)
{
    auto *timer = new QTimer(context);
    QObject::connect(timer, &QTimer::timeout, context, [timer, function] {
        auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        timer->stop();
        function(*dialog);
    });
    timer->start(2);
}

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
    void widgetsHaveTheirLook();
    void captionIsHiddenWithoutText();
    void setValueEmitsNothing();
    void toolTipHasAllOfThePath();
    void longPathLosesItsMiddle();
    void folderModeOffersFoldersOnly();
    void fileModeOffersFiles();
    void modeCanBeChanged();
    void cancelledDialogChangesNothing();
};

void FileSelectorTest::widgetsHaveTheirLook()
{
    const FileSelector selector(FileSelector::ChooseFolder);
    QCOMPARE(selector.objectName(), QStringLiteral("FileSelector"));
    QVERIFY(!child<QLineEdit>(selector, "FileSelectorValue")->isEnabled());
    QCOMPARE(browseButton(selector)->text(), QStringLiteral("Browse"));
    QVERIFY(sameIcon(browseButton(selector)->icon(), darkGlyph(0xf07c)));
    QVERIFY(hasHand(*browseButton(selector)));
}

void FileSelectorTest::captionIsHiddenWithoutText()
{
    FileSelector selector(FileSelector::ChooseFolder);
    const auto *caption = child<QLabel>(selector, "FileSelectorCaption");
    selector.setLabel(QStringLiteral("Cache"));
    QCOMPARE(caption->text(), QStringLiteral("Cache"));
    QVERIFY(!caption->isHidden());
    selector.setLabel(QString());
    QVERIFY(caption->isHidden());
    selector.setLabel(QStringLiteral("Backup"));
    QCOMPARE(caption->text(), QStringLiteral("Backup"));
    QVERIFY(!caption->isHidden());
}

void FileSelectorTest::setValueEmitsNothing()
{
    FileSelector selector(FileSelector::ChooseFolder);
    QSignalSpy changed(&selector, &FileSelector::valueChanged);
    selector.setValue(QStringLiteral("/some/folder/"));
    QCOMPARE(valueOf(selector), QStringLiteral("/some/folder/"));
    QCOMPARE(changed.count(), 0);
}

void FileSelectorTest::toolTipHasAllOfThePath()
{
    FileSelector selector(FileSelector::ChooseFolder);
    const auto *field = child<QLineEdit>(selector, "FileSelectorValue");
    selector.setValue(QStringLiteral("/some/folder/"));
    QCOMPARE(field->toolTip(), QStringLiteral("/some/folder/"));
    const QString likeMarkup = QStringLiteral("/some/<b>folder</b>/");
    selector.setValue(likeMarkup);
    QTextDocument tip;
    tip.setHtml(field->toolTip());
    QCOMPARE(tip.toPlainText(), likeMarkup);
}

void FileSelectorTest::longPathLosesItsMiddle()
{
    const auto picture = [](const QString &path) {
        FileSelector selector(FileSelector::ChooseFolder);
        selector.setFixedWidth(400);
        selector.setValue(path);
        selector.show();
        return child<QLineEdit>(selector, "FileSelectorValue")->grab().toImage();
    };
    const QString middle = QStringLiteral("middle/").repeated(40);
    const QImage whole = picture(QStringLiteral("/beginning/") + middle + QStringLiteral("end/"));
    QCOMPARE(picture(QStringLiteral("/other/") + middle + QStringLiteral("end/")) == whole, false);
    QCOMPARE(picture(QStringLiteral("/beginning/") + middle + QStringLiteral("els/")) == whole,
             false);
    // Nobody sees how long it is.
    QCOMPARE(picture(QStringLiteral("/beginning/") + middle + middle + QStringLiteral("end/")),
             whole);
}

// Fixed, see docs/compatibility.md.
void FileSelectorTest::folderModeOffersFoldersOnly()
{
    const QTemporaryDir folder;
    FileSelector selector(FileSelector::ChooseFolder);
    QSignalSpy changed(&selector, &FileSelector::valueChanged);
    QFileDialog::FileMode mode = QFileDialog::AnyFile;
    bool foldersOnly = false;
    whenOpened(&selector, [&](QFileDialog &dialog) {
        mode = dialog.fileMode();
        foldersOnly = dialog.testOption(QFileDialog::ShowDirsOnly);
        dialog.findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(folder.path());
        QMetaObject::invokeMethod(&dialog, "accept");
    });
    browseButton(selector)->click();
    QVERIFY(foldersOnly);
    QVERIFY(mode != QFileDialog::AnyFile && mode != QFileDialog::ExistingFile);
    QCOMPARE(valueOf(selector), folder.path());
    QCOMPARE(changed.count(), 1);
    QCOMPARE(changed.first().first().toString(), folder.path());
}

void FileSelectorTest::fileModeOffersFiles()
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("file.txt"));
    QVERIFY(writeFile(file, "x"));
    FileSelector selector(FileSelector::ChooseFile);
    QSignalSpy changed(&selector, &FileSelector::valueChanged);
    QFileDialog::FileMode mode = QFileDialog::AnyFile;
    whenOpened(&selector, [&](QFileDialog &dialog) {
        mode = dialog.fileMode();
        dialog.findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(file);
        QMetaObject::invokeMethod(&dialog, "accept");
    });
    browseButton(selector)->click();
    QCOMPARE(mode, QFileDialog::ExistingFile);
    QCOMPARE(valueOf(selector), file);
    QCOMPARE(changed.count(), 1);
}

void FileSelectorTest::modeCanBeChanged()
{
    FileSelector selector(FileSelector::ChooseFolder);
    selector.setMode(FileSelector::ChooseFile);
    QFileDialog::FileMode mode = QFileDialog::AnyFile;
    whenOpened(&selector, [&mode](QFileDialog &dialog) {
        mode = dialog.fileMode();
        dialog.reject();
    });
    browseButton(selector)->click();
    QCOMPARE(mode, QFileDialog::ExistingFile);
}

void FileSelectorTest::cancelledDialogChangesNothing()
{
    FileSelector selector(FileSelector::ChooseFolder);
    selector.setValue(QStringLiteral("/before/"));
    QSignalSpy changed(&selector, &FileSelector::valueChanged);
    bool opened = false;
    whenOpened(&selector, [&opened](QFileDialog &dialog) {
        opened = true;
        dialog.reject();
    });
    browseButton(selector)->click();
    QVERIFY(opened);
    QCOMPARE(valueOf(selector), QStringLiteral("/before/"));
    QCOMPARE(changed.count(), 0);
}

KAVO_TEST_MAIN(FileSelectorTest)
#include "FileSelectorTest.moc"
