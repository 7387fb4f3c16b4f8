#include "components/ButtonKeys.h"

#include <QAction>
#include <QHelpEvent>
#include <QPushButton>
#include <QToolTip>

namespace Kavo::Components {

namespace {

/// Builds the tool tip with the keys when it is requested, because the button's text and name may
/// change.
class KeyTip final : public QObject
{
public:
    KeyTip(QPushButton &button, const QString &keys)
        : QObject(&button)
        , m_button(button)
        , m_keys(keys)
    {
        button.installEventFilter(this);
    }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() != QEvent::ToolTip)
            return QObject::eventFilter(watched, event);
        const QString text =
            m_button.toolTip().isEmpty() ? m_button.accessibleName() : m_button.toolTip();
        QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(),
                           QStringLiteral("%1 (%2)").arg(text, m_keys), &m_button);
        return true;
    }

private:
    QPushButton &m_button;
    QString m_keys;
};

} // namespace

void giveKeys(QPushButton &button, const QList<QKeySequence> &keys)
{
    auto *action = new QAction(&button);
    action->setShortcuts(keys);
    action->setAutoRepeat(false);
    QObject::connect(action, &QAction::triggered, &button, &QPushButton::click);
    button.addAction(action);
    nameKeys(button, keys);
}

void nameKeys(QPushButton &button, const QList<QKeySequence> &keys)
{
    QStringList names;
    for (const QKeySequence &key : keys)
        names.append(key.toString(QKeySequence::NativeText));
    const QString text = names.join(QStringLiteral(", "));
    new KeyTip(button, text);
    button.setAccessibleDescription(text);
}

} // namespace Kavo::Components
