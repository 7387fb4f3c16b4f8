// Parses an empty dependency entry, which ends the process. Run by DependencyEntryTest.

#include "core/Log.h"
#include "packages/model/DependencyEntry.h"

#include <QCoreApplication>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Quarnell"));
    QCoreApplication::setApplicationName(QStringLiteral("Kavo Suite"));
    qInstallMessageHandler(Kavo::logMessage);
    Kavo::Models::DependencyEntry::parse(QString());
    return 0;
}
