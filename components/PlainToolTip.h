#pragma once

#include <QString>

class QWidget;

namespace Kavo::Components {

/// Sets a tool tip that is shown as plain text, whatever format Qt would detect.
void setPlainToolTip(QWidget &widget, const QString &text);

} // namespace Kavo::Components
