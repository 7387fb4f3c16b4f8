#include "components/ProgressBar.h"

#include "components/PlainToolTip.h"

#include <QAccessibleWidget>

namespace Kavo::Components {

namespace {

/// Qt reports only the number of a progress bar.
class Description final : public QAccessibleWidget, public QAccessibleValueInterface
{
public:
    explicit Description(ProgressBar *bar) : QAccessibleWidget(bar, QAccessible::ProgressBar) {}

    QString text(QAccessible::Text kind) const override
    {
        if (kind != QAccessible::Value)
            return QAccessibleWidget::text(kind);
        const QString told = bar().accessibleDescription();
        return told.isEmpty() ? QString::number(bar().value()) : told;
    }

    void *interface_cast(QAccessible::InterfaceType type) override
    {
        if (type == QAccessible::ValueInterface)
            return static_cast<QAccessibleValueInterface *>(this);
        return QAccessibleWidget::interface_cast(type);
    }

    QVariant currentValue() const override { return bar().value(); }
    void setCurrentValue(const QVariant &) override {}
    QVariant maximumValue() const override { return bar().maximum(); }
    QVariant minimumValue() const override { return bar().minimum(); }
    QVariant minimumStepSize() const override { return 1; }

private:
    const ProgressBar &bar() const { return *static_cast<const ProgressBar *>(object()); }
};

QAccessibleInterface *describe(const QString &className, QObject *object)
{
    Q_UNUSED(className)
    auto *bar = qobject_cast<ProgressBar *>(object);
    return bar ? new Description(bar) : nullptr;
}

} // namespace

ProgressBar::ProgressBar(QWidget *parent) : QProgressBar(parent)
{
    QAccessible::installFactory(describe);
}

void ProgressBar::tell(const QString &text)
{
    if (text == accessibleDescription())
        return;
    setAccessibleDescription(text);
    setPlainToolTip(*this, text);
}

} // namespace Kavo::Components
