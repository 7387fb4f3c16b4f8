#pragma once

#include <QString>
#include <QWidget>

namespace Kavo::Components {

/// Changes the object name of a widget and applies the style sheet again, because its rules refer
/// to object names.
void restyle(QWidget &widget, const QString &objectName);

} // namespace Kavo::Components
