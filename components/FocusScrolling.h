#pragma once

class QWidget;

namespace Kavo::Components {

/// Whatever gets the keyboard under this widget is from now on scrolled into view, in all lists and
/// scroll areas around it. Qt does so only for steps within one scroll area, and not at all for the
/// widgets of a list. What is clicked stays where the pointer is.
void scrollToFocus(QWidget &root);

} // namespace Kavo::Components
