#pragma once

#include <QString>
#include <QWidget>

namespace Kavo::Components {

/// Gives a widget another object name and has the style sheet applied to it anew, because the style
/// sheet chooses its rules by object names.
void restyle(QWidget &widget, const QString &objectName);

} // namespace Kavo::Components
