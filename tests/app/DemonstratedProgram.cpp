// Runs the program with the demonstration on a scratch account. Scripts control it from outside.
// The first line of its output is the simulator's folder.

#include "app/ScreenScale.h"
#include "app/StartUp.h"
#include "tests/app/Demonstration.h"

#include <QApplication>
#include <QTextStream>

int main(int argc, char **argv)
{
    const auto application = Kavo::makeScaledApplication(argc, argv);
    Kavo::Testing::Demonstration demonstration;
    if (!demonstration.isReady())
        return 2;
    QTextStream(stdout) << demonstration.simulator() << '\n' << Qt::flush;
    const Kavo::PackageEnvironment environment = {demonstration.server().url(QStringLiteral("/")),
                                                  QStringLiteral("/usr/bin/7z")};
    return Kavo::StartUp(*application, environment).run();
}
