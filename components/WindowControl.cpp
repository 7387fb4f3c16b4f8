#include "components/WindowControl.h"

#include "components/ButtonKeys.h"
#include "components/Buttons.h"
#include "components/Glyphs.h"
#include "components/IconFont.h"

#include <QHBoxLayout>
#include <QPushButton>

namespace Kavo::Components {

namespace {

constexpr int ButtonWidth = 32;

// Fixed, see docs/compatibility.md.
bool maximized = false;

QIcon darkIcon(int glyph)
{
    return iconFont()->icon(glyph, darkIconOptions());
}

} // namespace

WindowControl::WindowControl(QWidget *parent)
    : StyledWidget(QStringLiteral("WindowControl"), parent)
{
    auto *minimizeButton =
        makeWindowButton(QStringLiteral("WindowMinimize"), Glyph::MinimizeWindow, tr("Minimize"));
    m_toggle =
        makeWindowButton(QStringLiteral("WindowMaximize"), Glyph::MaximizeWindow, tr("Maximize"));
    auto *closeButton = makeWindowButton(QStringLiteral("WindowClose"), Glyph::Cross, tr("Close"));
    connect(minimizeButton, &QPushButton::clicked, this, &WindowControl::minimize);
    connect(m_toggle, &QPushButton::clicked, this, &WindowControl::toggle);
    connect(closeButton, &QPushButton::clicked, this, &WindowControl::close);
    giveKeys(*closeButton, {int(Qt::CTRL) + Qt::Key_Q});

    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(minimizeButton);
    layout->addWidget(m_toggle);
    layout->addWidget(closeButton);
}

QPushButton *WindowControl::makeWindowButton(const QString &objectName, int glyph,
                                             const QString &description)
{
    QPushButton *button = makeIconButton(objectName, description, darkIcon(glyph), this);
    if (!button->icon().isNull())
        button->setFixedWidth(ButtonWidth);
    return button;
}

void WindowControl::toggle()
{
    maximized = !maximized;
    setIconAndName(*m_toggle, darkIcon(maximized ? Glyph::RestoreWindow : Glyph::MaximizeWindow),
                   maximized ? tr("Restore") : tr("Maximize"));
    if (maximized)
        emit maximize();
    else
        emit restore();
}

} // namespace Kavo::Components
