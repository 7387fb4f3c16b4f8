#pragma once

#include <QString>

class QWidget;

namespace Kavo::Components {

/// Gives a widget a tool tip that reads letter for letter, whatever Qt would take its text for.
void setPlainToolTip(QWidget &widget, const QString &text);

} // namespace Kavo::Components
