#pragma once

#include "packages/model/Package.h"

#include <QCoreApplication>
#include <QString>

namespace Kavo::Ui {

/// How a package in one state is presented: on its card, on the detail view and in the error box.
/// of() lists all states, so a new state does not compile without an entry there.
class StateLook final
{
    Q_DECLARE_TR_FUNCTIONS(Kavo::Ui::StateLook)

public:
    static StateLook of(Models::Package::State state, bool updateAvailable);

    QString text;             ///< text of the action button and title of the box; empty for UNKNOWN
    QString objectName;       ///< object name of the action button, for the style sheet
    int glyph = 0;            ///< icon of the action button
    bool isEnabled = false;   ///< whether the action button is enabled
    bool isOnPage = false;    ///< whether the detail view shows the action button
    bool isRemovable = false; ///< whether the detail view shows the uninstall button
    bool hasProgress = false; ///< whether the card shows its progress bar
    bool isUnmeasured = false; ///< whether the duration is unknown
    bool hasIndicator = false; ///< whether the detail view shows its animation and progress text
    QString hint;              ///< what the user can do if the action button is disabled
    QString failure;           ///< text of the box before the name; empty for no box
    bool isAlwaysTold = false; ///< whether the box is shown even if the package is not visible

private:
    static StateLook action(const QString &text, const QString &objectName);
    static StateLook installed();
    static StateLook busy(const QString &text);
    static StateLook failed(const QString &text, const QString &failure);
};

} // namespace Kavo::Ui
