#pragma once

#include "packages/model/Package.h"

#include <QCoreApplication>
#include <QString>

namespace Kavo::Ui {

/// How a package looks in one state: on its card, on the detail page and in the box that tells of
/// failed work. `of` is the only place that lists the states; a new one does not compile without
/// its look.
class StateLook final
{
    Q_DECLARE_TR_FUNCTIONS(Kavo::Ui::StateLook)

public:
    static StateLook of(Models::Package::State state, bool updateAvailable);

    QString text;             ///< on the action button, and the title of the box; empty for no look
    QString objectName;       ///< of the action button, for the style sheet
    int glyph = 0;            ///< on the action button
    bool isEnabled = false;   ///< whether the action button does something
    bool isOnPage = false;    ///< whether the detail page shows the action button
    bool isRemovable = false; ///< whether the detail page shows the button that removes
    bool hasProgress = false; ///< whether the card shows its progress bar
    bool isUnmeasured = false; ///< whether nobody knows how long this takes
    bool hasIndicator = false; ///< whether the detail page shows its animation and progress
    QString hint;              ///< what the user can do, where the action button does nothing
    QString failure;           ///< what the box says before the name, empty for no box
    bool isAlwaysTold = false; ///< whether the box comes up even when the package is not shown

private:
    static StateLook action(const QString &text, const QString &objectName);
    static StateLook installed();
    static StateLook busy(const QString &text);
    static StateLook failed(const QString &text, const QString &failure);
};

} // namespace Kavo::Ui
