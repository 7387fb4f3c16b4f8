// Runs the trials of ServerTrial on a running web server.
//
//     server_trial SERVER FOLDER [PUBLISHER]
//
// SERVER is the address of a server for FOLDER and ends in a slash. PUBLISHER is run with the
// folder as its argument after each change. Prints three results: of an undisturbed installation,
// of a download that is cut, and of an archive that is replaced after a cut. Exits with status 1 if
// the add-on is missing or damaged after one of them.

#include "tests/integration/ServerTrial.h"

#include <QCoreApplication>
#include <QTextStream>

using Kavo::Testing::ScratchProfile;
using Kavo::Testing::ServerTrial;

namespace {

using Outcome = ServerTrial::Outcome;

bool isGood(Outcome outcome)
{
    return outcome != Outcome::Failed && outcome != Outcome::Mixed;
}

} // namespace

int main(int argc, char **argv)
{
    const ScratchProfile profile;
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 3)
        return 2;
    bool areGood = true;
    for (const auto trial :
         {&ServerTrial::mainJob, &ServerTrial::resume, &ServerTrial::replacement}) {
        ServerTrial one(QUrl(arguments.at(1)), arguments.at(2), arguments.value(3));
        const Outcome outcome = (one.*trial)();
        QTextStream(stdout) << ServerTrial::nameOf(outcome) << Qt::endl;
        areGood = areGood && isGood(outcome);
    }
    return areGood ? 0 : 1;
}
