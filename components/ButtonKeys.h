#pragma once

#include <QKeySequence>
#include <QList>

class QPushButton;

namespace Kavo::Components {

/// Has keys press a button, wherever in its window the keyboard is, as nameKeys() tells. A key that
/// is held down presses once.
void giveKeys(QPushButton &button, const QList<QKeySequence> &keys);

/// Names the keys behind the button's tool tip, or behind its spoken name where it has no tip, and
/// to screen readers.
void nameKeys(QPushButton &button, const QList<QKeySequence> &keys);

} // namespace Kavo::Components
