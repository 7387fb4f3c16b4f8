#include "app/ProgramEnd.h"

#include "packages/PackageController.h"

#include <QApplication>
#include <QDialog>
#include <QEventLoop>
#include <QPointer>
#include <QTimer>
#include <QVector>

#include <chrono>

namespace Kavo {

using Controllers::PackageController;
using Models::Installer;

namespace {

/// A session that has not ended by then goes on; nobody tells of that.
constexpr std::chrono::seconds LongestFarewell{30};

/// Whoever has asked goes on as if the user had said No.
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

ProgramEnd::ProgramEnd(QWidget &window, PackageController &packages)
    : m_window(window)
    , m_packages(packages)
{
    // Qt's own way is to close the window, which refuses that while something is being installed,
    // and so refuses the end of the session.
    QGuiApplication::setFallbackSessionManagementEnabled(false);
    connect(qApp, &QGuiApplication::commitDataRequest, this, &ProgramEnd::endSession,
            Qt::DirectConnection);
    connect(&m_packages.installer(), &Installer::taskEnded, this, &ProgramEnd::endIfIdle);
}

void ProgramEnd::request()
{
    m_isRequested = true;
    m_packages.holdInstallations(true);
    // Nothing else is to be ordered while the window waits.
    m_window.setEnabled(false);
    denyQuestions();
    endIfIdle();
}

void ProgramEnd::endIfIdle()
{
    if (m_isRequested && !m_packages.isBusy())
        QCoreApplication::exit(0);
}

/// The desktop waits until this returns. It ends the program afterwards, unless somebody else
/// prevents the end of the session.
void ProgramEnd::endSession(QSessionManager &)
{
    if (!m_packages.isBusy())
        return;
    m_packages.holdInstallations(true);
    QEventLoop loop;
    connect(&m_packages.installer(), &Installer::taskEnded, &loop, &QEventLoop::quit);
    loop.exec(QEventLoop::ExcludeUserInputEvents);
    QTimer::singleShot(LongestFarewell, this, [this] {
        if (!m_isRequested)
            m_packages.holdInstallations(false);
    });
}

} // namespace Kavo
