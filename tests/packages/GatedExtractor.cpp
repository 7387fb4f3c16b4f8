#include "tests/packages/GatedExtractor.h"

#include "tests/support/Files.h"
#include "tests/support/RunUntil.h"

#include <QFile>

#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Kavo::Testing {

namespace {

constexpr int Patience = 30000; ///< in milliseconds

} // namespace

GatedExtractor::GatedExtractor(Engine &engine) : GatedExtractor(engine.profile().folder("tools"_s))
{
    engine.setExtractor(program());
}

GatedExtractor::GatedExtractor(const QString &folder) : m_folder(folder)
{
    const QByteArray script = "#!/bin/sh\n[ \"$1\" = x ] || exec /usr/bin/7z \"$@\"\n"
                              "folder=${0%/*}\ntouch \"$folder/reached\"\n"
                              "read -r answer < \"$folder/gate\"\nexec /usr/bin/7z \"$@\"\n";
    if (!writeFile(program(), script) ||
        ::mkfifo(QFile::encodeName(folder + "gate"_s).constData(), 0600) != 0)
        qFatal("The gated extractor cannot be made");
    QFile::setPermissions(program(), QFile::ReadOwner | QFile::ExeOwner);
}

GatedExtractor::~GatedExtractor()
{
    open();
}

bool GatedExtractor::waitUntilReached() const
{
    return runUntil([this] { return QFile::exists(m_folder + "reached"_s); }, Patience);
}

void GatedExtractor::open() const
{
    const QByteArray gate = QFile::encodeName(m_folder + "gate"_s);
    // Opening a pipe for both reading and writing never blocks. A waiting extraction reads the line
    // from the pipe. A later one reads it from the regular file that replaces the pipe.
    const int waiting = ::open(gate.constData(), O_RDWR | O_CLOEXEC);
    const QByteArray file = gate + ".open";
    if (writeFile(QFile::decodeName(file), "go\n"))
        std::rename(file.constData(), gate.constData());
    if (waiting < 0)
        return;
    const bool told = ::write(waiting, "go\n", 3) == 3;
    Q_UNUSED(told)
    ::close(waiting);
}

} // namespace Kavo::Testing
