#include "components/FocusScrolling.h"

#include "components/WidgetList.h"

#include <QApplication>
#include <QScrollArea>

namespace Kavo::Components {

namespace {

void scrollTo(QWidget &widget, const QWidget &root)
{
    for (QWidget *part = &widget; part != &root; part = part->parentWidget()) {
        QWidget *around = part->parentWidget();
        if (auto *area = qobject_cast<QScrollArea *>(around))
            area->ensureWidgetVisible(&widget);
        else if (auto *list = qobject_cast<WidgetList *>(around->parentWidget()))
            list->showRow(part);
    }
}

} // namespace

void scrollToFocus(QWidget &root)
{
    QObject::connect(
        qApp, &QApplication::focusChanged, &root, [&root](const QWidget *before, QWidget *now) {
            Q_UNUSED(before)
            if (now && root.isAncestorOf(now) && QGuiApplication::mouseButtons() == Qt::NoButton)
                scrollTo(*now, root);
        });
}

} // namespace Kavo::Components
