// Makes a catalogue with icons in a folder, which a web server at ADDRESS has to serve; or starts
// the program with that server and ends it when each card has its icon.
//
//     bench_visit make FOLDER ADDRESS PACKAGES
//     bench_visit run ADDRESS PACKAGES           uses the settings of the account

#include "app/StartUp.h"
#include "benchmarks/CatalogueMaker.h"
#include "benchmarks/Measure.h"
#include "benchmarks/Random.h"
#include "ui/list/PackageWidget.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QTimer>

#include <algorithm>

using namespace Kavo;
using Benchmarks::require;

namespace {

/// Writes a picture whose file has the size of a typical icon, about 20 KiB.
void makeIcon(const QString &path, int number)
{
    constexpr int Size = 128;
    Benchmarks::Random random(static_cast<std::uint64_t>(number));
    QImage image(Size, Size, QImage::Format_RGB32);
    for (int y = 0; y < Size; ++y) {
        for (int x = 0; x < Size; ++x)
            image.setPixel(x, y, qRgb(2 * x, 2 * y, random.below(64) * 4));
    }
    require(image.save(path, "PNG"), "making an icon");
}

int make(const QString &folder, const QString &address, int packages)
{
    require(QDir().mkpath(folder + QStringLiteral("/icons")), "making a folder");
    for (int number = 1; number <= packages; ++number)
        makeIcon(QStringLiteral("%1/icons/%2.png").arg(folder).arg(number), number);
    QFile catalogue(folder + QStringLiteral("/packages.json"));
    require(catalogue.open(QIODevice::WriteOnly) &&
                catalogue.write(Benchmarks::makeCatalogue(packages, address)) > 0,
            "making the catalogue");
    return 0;
}

int cardsWithIcon()
{
    const QWidgetList widgets = QApplication::allWidgets();
    return static_cast<int>(
        std::count_if(widgets.cbegin(), widgets.cend(), [](const QWidget *widget) {
            const auto *label = qobject_cast<const QLabel *>(widget);
            return label && label->objectName() == QLatin1String("PackageIcon") &&
                   !label->pixmap(Qt::ReturnByValue).isNull() && !label->movie();
        }));
}

int run(QApplication &application, const QString &address, int packages)
{
    constexpr int Pause = 200;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &application, [packages] {
        if (cardsWithIcon() == packages)
            QCoreApplication::quit();
    });
    look.start(Pause);
    return StartUp(application, {address, PackageEnvironment::standard().extractor}).run();
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 5 && arguments.at(1) == QLatin1String("make"))
        return make(arguments.at(2), arguments.at(3), arguments.at(4).toInt());
    if (arguments.size() == 4 && arguments.at(1) == QLatin1String("run"))
        return run(application, arguments.at(2), arguments.at(3).toInt());
    return 2;
}
