#include "components/iconfont/QtAwesome.h"

#include "components/iconfont/GlyphIconEngine.h"
#include "core/Log.h"

#include <QColor>
#include <QFontDatabase>

QtAwesome::QtAwesome(QObject *parent)
    : QObject(parent)
    , m_defaults{{QStringLiteral("color"), QColor(Qt::black)},
                 {QStringLiteral("color-disabled"), QColor(0, 0, 0, 60)},
                 {QStringLiteral("scale-factor"), 0.9}}
{}

bool QtAwesome::initFontAwesome()
{
    if (!m_family.isEmpty())
        return true;
    const QString path = QStringLiteral(":/resources/font/FontAwesome.otf");
    QStringList families =
        QFontDatabase::applicationFontFamilies(QFontDatabase::addApplicationFont(path));
    const QString installed = QStringLiteral("FontAwesome");
    if (families.isEmpty() && QFontDatabase().hasFamily(installed))
        families.append(installed);
    m_isMissing = families.isEmpty();
    if (m_isMissing) {
        Kavo::logLine(QStringLiteral("Icon font cannot be loaded : ") + path);
        return false;
    }
    m_family = families.first();
    return true;
}

void QtAwesome::setDefaultOption(const QString &name, const QVariant &value)
{
    m_defaults.insert(name, value);
}

QIcon QtAwesome::icon(int character, const QVariantMap &options) const
{
    if (m_isMissing)
        return {};
    QVariantMap merged = m_defaults;
    for (auto option = options.cbegin(); option != options.cend(); ++option)
        merged.insert(option.key(), option.value());
    // The icon owns its engine.
    return QIcon(new Kavo::Components::GlyphIconEngine(m_family, character, merged));
}

QFont QtAwesome::font(int size) const
{
    QFont font(m_family);
    font.setPixelSize(size);
    return font;
}
