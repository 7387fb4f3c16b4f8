#include "tools/Commands.h"

#include <QCoreApplication>

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("kavo-catalogue"));
    QCoreApplication::setApplicationVersion(QStringLiteral(KAVO_VERSION));
    return Kavo::Tools::runCommand(QCoreApplication::arguments().mid(1));
}
