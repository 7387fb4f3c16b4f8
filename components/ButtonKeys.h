#pragma once

#include <QKeySequence>
#include <QList>

class QPushButton;

namespace Kavo::Components {

/// Makes keys press a button from anywhere in its window, and names them by nameKeys(). A key that
/// is held down presses once.
void giveKeys(QPushButton &button, const QList<QKeySequence> &keys);

/// Appends the keys to the button's tool tip, or to its accessible name if it has no tool tip, and
/// reports them to screen readers.
void nameKeys(QPushButton &button, const QList<QKeySequence> &keys);

} // namespace Kavo::Components
