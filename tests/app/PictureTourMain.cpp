// Keeps pictures of everything that can be seen of the program, in one language:
//
//     KAVO_WALK_PICTURES=FOLDER picture_tour LANGUAGE
//
// QT_SCALE_FACTOR enlarges them. Ends with status 0 when the whole tour was taken.

#include "app/ScreenScale.h"
#include "tests/app/PictureTour.h"

#include <QApplication>

int main(int argc, char **argv)
{
    // The scratch account comes first: the application object looks for things in the home folder.
    const Kavo::Testing::ScratchProfile profile;
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    const auto application = Kavo::makeScaledApplication(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 2)
        return 2;
    return Kavo::Testing::PictureTour(arguments.at(1)).take() ? 0 : 1;
}
