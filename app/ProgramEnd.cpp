#include "app/ProgramEnd.h"

#include "packages/PackageController.h"

#include <QApplication>
#include <QDialog>
#include <QEventLoop>
#include <QPointer>
#include <QTimer>
#include <QVector>

namespace Kavo {

using Controllers::PackageController;
using Models::Installer;

namespace {

/// The caller of the dialog continues as if the user had answered No.
void denyQuestions()
{
    if (QWidget *menu = QApplication::activePopupWidget())
        menu->close();
    QVector<QPointer<QDialog>> dialogs;
    const QWidgetList widgets = QApplication::topLevelWidgets();
    for (QWidget *widget : widgets) {
        auto *dialog = qobject_cast<QDialog *>(widget);
        if (dialog && dialog->isVisible())
            dialogs.append(dialog);
    }
    for (const QPointer<QDialog> &dialog : qAsConst(dialogs)) {
        if (dialog)
            dialog->reject();
    }
}

} // namespace

ProgramEnd::ProgramEnd(QWidget &window, PackageController &packages,
                       std::chrono::milliseconds farewell)
    : m_window(window)
    , m_packages(packages)
    , m_farewell(farewell)
{
    // Qt's default is to close the window, which refuses during an installation and so cancels the
    // end of the session.
    QGuiApplication::setFallbackSessionManagementEnabled(false);
    connect(qApp, &QGuiApplication::commitDataRequest, this, &ProgramEnd::prepareForSessionEnd,
            Qt::DirectConnection);
    connect(&m_packages.installer(), &Installer::taskEnded, this, &ProgramEnd::endIfIdle);
}

void ProgramEnd::request()
{
    m_isRequested = true;
    m_packages.holdInstallations(true);
    // No further actions can be started while the window waits.
    m_window.setEnabled(false);
    denyQuestions();
    endIfIdle();
}

void ProgramEnd::endIfIdle()
{
    if (m_isRequested && !m_packages.isBusy())
        QCoreApplication::exit(0);
}

void ProgramEnd::prepareForSessionEnd()
{
    if (!m_packages.isBusy())
        return;
    m_packages.holdInstallations(true);
    QEventLoop loop;
    connect(&m_packages.installer(), &Installer::taskEnded, &loop, &QEventLoop::quit);
    loop.exec(QEventLoop::ExcludeUserInputEvents);
    QTimer::singleShot(m_farewell, this, [this] {
        if (!m_isRequested)
            m_packages.holdInstallations(false);
    });
}

} // namespace Kavo
