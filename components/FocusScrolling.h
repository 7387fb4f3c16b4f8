#pragma once

class QWidget;

namespace Kavo::Components {

/// Scrolls every widget below this one into view when it gets the focus, in all lists and scroll
/// areas around it. Qt does so only for Tab within one scroll area, and not for the row widgets of
/// a list. A widget that is clicked is not moved.
void scrollToFocus(QWidget &root);

} // namespace Kavo::Components
