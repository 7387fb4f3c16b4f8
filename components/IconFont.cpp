#include "components/IconFont.h"

#include <QApplication>
#include <QColor>
#include <QPointer>

namespace Kavo::Components {

QtAwesome *iconFont()
{
    static QPointer<QtAwesome> font;
    if (!font) {
        const QColor white(255, 255, 255, 255);
        font = new QtAwesome(qApp);
        font->setDefaultOption(QStringLiteral("color"), white);
        font->setDefaultOption(QStringLiteral("color-disabled"), QColor(255, 255, 255, 60));
        font->setDefaultOption(QStringLiteral("color-active"), white);
        font->setDefaultOption(QStringLiteral("color-selected"), white);
    }
    return font;
}

QVariantMap darkIconOptions()
{
    const QColor black(0, 0, 0, 255);
    return {{QStringLiteral("color"), black},
            {QStringLiteral("color-disabled"), black},
            {QStringLiteral("color-active"), black},
            {QStringLiteral("color-selected"), black}};
}

} // namespace Kavo::Components
