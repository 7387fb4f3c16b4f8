#include "app/Environment.h"

#include "core/Paths.h"

#include <QApplication>
#include <QDir>
#include <QFont>
#include <QFontDatabase>
#include <QLibraryInfo>
#include <QTranslator>

namespace Kavo {

void prepareEnvironment()
{
    QDir::setCurrent(applicationDirectory());
    QGuiApplication::setQuitOnLastWindowClosed(true);
}

void installTranslation(const QString &language)
{
    if (language == QLatin1String("en"))
        return;
    static QTranslator translator;
    // Fixed, see docs/compatibility.md.
    if (!translator.load(QStringLiteral("qt_") + language, QStringLiteral("translations"),
                         QString()))
        return;
    // The translator that is installed last has priority: the program's texts come before Qt's.
    static QTranslator translatorOfQt;
    if (translatorOfQt.load(QStringLiteral("qtbase_") + language,
                            QLibraryInfo::location(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(&translatorOfQt);
    QCoreApplication::installTranslator(&translator);
}

void loadFonts()
{
    const int regular = QFontDatabase::addApplicationFont(
        QStringLiteral(":/resources/font/ProximaNova-Regular.otf"));
    QFontDatabase::addApplicationFont(QStringLiteral(":/resources/font/Proxima_Nova_Bold.otf"));

    // The compiled-in font is a free one with a name of its own. The substitution lets the rest of
    // the program ask for the family. A build may leave the font to the system. Fixed, see
    // docs/compatibility.md.
    const QString family = QStringLiteral("Proxima Nova Rg");
    const QStringList loaded = QFontDatabase::applicationFontFamilies(regular);
    QFont::insertSubstitution(
        family, loaded.isEmpty() ? QFontDatabase::systemFont(QFontDatabase::GeneralFont).family()
                                 : loaded.first());
    QApplication::setFont(QFont(family, 10));
}

} // namespace Kavo
