#include "ui/package/PackageActions.h"

#include "core/OneLine.h"
#include "dialogs/MessageBoxes.h"
#include "packages/PackageController.h"
#include "ui/package/ForeignText.h"
#include "ui/package/WebPage.h"

#include <QApplication>

#include <algorithm>

namespace Kavo::Ui {

using Models::Package;
using Models::PackageList;
using Models::PackagePointer;
using Models::Removal;
using Models::RemovalFaults;

namespace {

/// Shows the wait cursor during its lifetime.
class WaitCursor final
{
public:
    WaitCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~WaitCursor() { QApplication::restoreOverrideCursor(); }
    Q_DISABLE_COPY_MOVE(WaitCursor)
};

} // namespace

PackageActions::PackageActions(const QSharedPointer<Controllers::PackageController> &controller,
                               const PackagePointer &package, QWidget *widget)
    : m_controller(controller)
    , m_package(package)
    , m_widget(widget)
{}

void PackageActions::install()
{
    if (m_package && confirmChangeLog(QString()) && confirmDependencies())
        start(QString());
}

void PackageActions::installVersion(const QString &version)
{
    if (!m_package)
        return;
    const Package::State state = m_package->state();
    const bool confirmed =
        (state == Package::AVAILABLE && confirmDependencies()) ||
        (state == Package::INSTALLED && confirmChangeLog(version) && confirmDependents(version));
    if (confirmed)
        start(version);
}

void PackageActions::uninstall()
{
    if (!m_package)
        return;
    // An installation may end while the box is open; only packages that the box has named are
    // removed.
    PackageList named;
    PackageList others = m_controller->removedAlong(m_package);
    do {
        named = others;
        if (!confirmRemoval(named))
            return;
        others = m_controller->removedAlong(m_package);
    } while (others != named);
    Removal removal;
    {
        const WaitCursor cursor;
        removal = m_controller->uninstall(m_package);
    }
    tellOf(removal);
}

bool PackageActions::confirmRemoval(const PackageList &others)
{
    // Fixed, see docs/compatibility.md.
    QString text = tr("Uninstall") + QLatin1Char(' ') + m_package->name() + QLatin1Char(' ') +
                   tr("from this system");
    if (!others.isEmpty())
        text += QStringLiteral("\n\nFollowing dependent extensions will also be uninstalled\n\n") +
                nameList(others);
    return Dialogs::confirmLoss(m_widget, QMessageBox::Information, tr("Uninstall Package"), text);
}

/// Reports why a removal was refused or incomplete.
void PackageActions::tellOf(const Removal &removal)
{
    QString text;
    if (!removal.blockers.isEmpty())
        text = tr("This package cannot be uninstalled now.\n\nWork on the following packages has "
                  "to end first\n\n") +
               nameList(removal.blockers);
    else if (removal.missingSimulator)
        text = tr("This package cannot be uninstalled now.\n\nThe folder of the simulator is not "
                  "there, or no simulator is in it\n\n") +
               oneLine(*removal.missingSimulator) + QLatin1Char('\n');
    if (!text.isEmpty())
        Dialogs::showMessage(m_widget, QMessageBox::Information, tr("Uninstall Package"), text);
    else
        warnOf(removal.faults);
}

void PackageActions::warnOf(const RemovalFaults &faults)
{
    QStringList texts;
    if (!faults.remaining.isEmpty())
        texts.append(tr("The following files and folders could not be removed\n\n") +
                     pathList(faults.remaining));
    if (!faults.notReturned.isEmpty())
        texts.append(tr("The following originals could not be put back, and stay in the backup "
                        "folder\n\n") +
                     pathList(faults.notReturned));
    if (!texts.isEmpty())
        Dialogs::showMessage(m_widget, QMessageBox::Warning, tr("Uninstall Package"),
                             texts.join(QLatin1Char('\n')));
}

void PackageActions::openHelp()
{
    if (m_package)
        openWebPage(m_package->helpUrl());
}

void PackageActions::openManual()
{
    if (m_package)
        openWebPage(m_package->manualUrl());
}

bool PackageActions::confirmChangeLog(const QString &version)
{
    const QString changes = m_controller->changeLog(m_package, version);
    if (changes.isEmpty())
        return true;
    return Dialogs::confirm(m_widget, QMessageBox::Question, tr("Change Log"),
                            // Fixed, see docs/compatibility.md.
                            QStringLiteral("<strong>Install ?</strong>") + foreignRichText(changes),
                            Qt::RichText);
}

bool PackageActions::confirmDependencies()
{
    // Fixed, see docs/compatibility.md.
    const Models::PackageVersionPointer newest = m_package->versions().value(0);
    if (!newest || newest->depends.isEmpty())
        return true;
    const PackageList dependencies = m_controller->resolvedDependencies(m_package, QString());
    if (dependencies.size() != newest->depends.size()) {
        // Fixed, see docs/compatibility.md.
        Dialogs::showMessage(m_widget, QMessageBox::Critical, tr("Dependencies Error"),
                             tr("This package cannot be installed.\n\nOne or more Dependencies "
                                "for this package are not available to install"));
        return false;
    }
    return ask(tr("Install Package"),
               tr("This package is dependent on following packages and will be installed if not "
                  "already installed or upgraded if outdated along with this package\n\n") +
                   nameList(dependencies) + tr("\nContinue?"));
}

bool PackageActions::confirmDependents(const QString &version)
{
    const PackageList dependents = m_controller->dependents(m_package, version);
    return dependents.isEmpty() ||
           ask(tr("Install Package"),
               QStringLiteral("Install older version?\n\nFollowing extensions depend on newer "
                              "version and may stop working\n\n") +
                   nameList(dependents));
}

bool PackageActions::ask(const QString &title, const QString &text)
{
    return Dialogs::confirm(m_widget, QMessageBox::Information, title, text);
}

void PackageActions::start(const QString &version)
{
    QString started = version;
    m_controller->install(m_package, started);
}

QString PackageActions::pathList(const FailedPaths &failed)
{
    QStringList paths = failed.paths();
    std::sort(paths.begin(), paths.end());
    QString lines;
    // Long paths wrap; the bullet shows where each one begins.
    for (const QString &path : qAsConst(paths))
        lines += QStringLiteral("\u2022 ") + oneLine(path) + QLatin1Char('\n');
    if (failed.notKept() > 0)
        lines += tr("Not listed : %1").arg(failed.notKept()) + QLatin1Char('\n');
    return lines;
}

QString PackageActions::nameList(const PackageList &packages)
{
    QString names;
    for (const PackagePointer &package : packages)
        names += package->name() + QLatin1Char('\n');
    return names;
}

} // namespace Kavo::Ui
