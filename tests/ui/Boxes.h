#pragma once

#include "packages/model/Package.h"
#include "tests/support/Literals.h"
#include "tests/support/MessageBoxAnswers.h"

#include <QApplication>

/// Message boxes that the tests of several widgets expect.
namespace Kavo::Testing {

struct BoxText
{
    QString title;
    QString text;
};

/// The box for a package with this name in an error state.
inline BoxText errorBox(const QString &name, Models::Package::State state)
{
    if (state == Models::Package::DEPENDENCY_ERROR)
        return {"Dependency Error"_s,
                "Unable to install one or more dependency for package : "_s + name};
    if (state == Models::Package::DOWNLOAD_ERROR)
        return {"Download Error"_s, "Downloading failed for package : "_s + name};
    return {"Install Error"_s, "Installation failed for package : "_s + name};
}

inline void expectError(MessageBoxAnswers &answers, const QString &name,
                        Models::Package::State state = Models::Package::INSTALL_ERROR)
{
    const BoxText box = errorBox(name, state);
    answers.expect(box.title, box.text, QMessageBox::Ok);
}

/// The same for "package-<id>".
inline void expectError(MessageBoxAnswers &answers, int id,
                        Models::Package::State state = Models::Package::INSTALL_ERROR)
{
    expectError(answers, "package-%1"_s.arg(id), state);
}

/// The question before "package-1" and its dependents are uninstalled.
inline QString uninstallQuestion(const QStringList &dependents = {})
{
    const QString question = "Uninstall package-1 from this system"_s;
    if (dependents.isEmpty())
        return question;
    return question + "\n\nFollowing dependent extensions will also be uninstalled\n\n"_s +
           dependents.join(QLatin1Char('\n')) + QLatin1Char('\n');
}

inline void expectUninstall(MessageBoxAnswers &answers, QMessageBox::StandardButton answer,
                            const QStringList &dependents = {})
{
    answers.expect("Uninstall Package"_s, uninstallQuestion(dependents), answer);
}

/// Whether no modal dialog is open after posted events were sent.
inline bool isQuiet()
{
    QCoreApplication::sendPostedEvents();
    return !QApplication::activeModalWidget();
}

} // namespace Kavo::Testing
