#include "tests/integration/PhaseReport.h"
#include "tests/support/Literals.h"

#include "packages/PackageController.h"

#include <QFileInfo>
#include <QMutexLocker>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <utility>

namespace Kavo::Testing {

using Models::Package;
using Models::PackagePointer;

namespace {

constexpr std::chrono::milliseconds LookInterval{1};

} // namespace

PhaseReport::PhaseReport(Controllers::PackageController &controller, Models::PackageFolders folders)
    : m_controller(controller)
    , m_folders(std::move(folders))
{
    auto *timer = new QTimer(this);
    timer->setTimerType(Qt::PreciseTimer);
    connect(timer, &QTimer::timeout, this, &PhaseReport::look);
    timer->start(LookInterval);
}

void PhaseReport::followAll()
{
    for (const PackagePointer &package : m_controller.packages()) {
        const int id = package->id();
        // Called on the thread that sets the state, so that the phase is announced at its
        // beginning.
        connect(
            package.data(), &Package::stateChanged, this,
            [this, id](Package::State state) { onState(id, state); }, Qt::DirectConnection);
        connect(package.data(), &Package::downloadFinished, this, [this, id](const QString &path) {
            m_archives.insert(id, QFileInfo(path).absoluteFilePath());
            m_waiting.append(id);
        });
        if (!m_expected.contains(id))
            m_expected.insert(id, package->versions().first());
    }
}

void PhaseReport::expect(const PackagePointer &package,
                         const Models::PackageVersionPointer &version)
{
    m_expected.insert(package->id(), version);
}

void PhaseReport::announce(const QString &phase)
{
    const QMutexLocker locker(&m_mutex);
    if (phase.isEmpty() || phase == m_phase)
        return;
    m_phase = phase;
    std::printf("phase %s\n", qPrintable(phase));
    std::fflush(stdout);
}

void PhaseReport::readLog(const QString &line)
{
    if (!line.startsWith("Extract paramenter"_s))
        return;
    announce("extracting"_s);
    const QMutexLocker locker(&m_mutex);
    m_unpacking = line;
}

void PhaseReport::onState(int id, Package::State state)
{
    switch (state) {
    case Package::PREPARING:
        announce("header"_s);
        break;
    case Package::DOWNLOADING:
        announce("downloading"_s);
        break;
    case Package::INSTALLING:
        // Waiting for another task is not a phase.
        if (!m_controller.isBusy())
            announce("queued"_s);
        break;
    case Package::UNINSTALLING:
        announce("uninstalling"_s);
        break;
    case Package::INSTALLED:
    case Package::AVAILABLE:
        announce("recording"_s);
        break;
    case Package::INSTALL_ERROR:
    case Package::DOWNLOAD_ERROR:
    case Package::DEPENDENCY_ERROR:
    case Package::UNKNOWN:
        announce("error of package %1"_s.arg(id));
        break;
    }
}

void PhaseReport::look()
{
    QString unpacking;
    {
        const QMutexLocker locker(&m_mutex);
        unpacking = m_unpacking;
    }
    const auto belongs = [this, &unpacking](int id) {
        return unpacking.contains(m_archives.value(id));
    };
    const auto unpacked = std::find_if(m_waiting.begin(), m_waiting.end(), belongs);
    if (unpacked != m_waiting.end()) {
        // The archive is deleted as soon as it is unpacked.
        if (QFileInfo::exists(m_archives.value(*unpacked)))
            return;
        m_waiting.erase(unpacked);
        announce("restoring"_s);
    } else if (m_controller.isBusy() && !m_waiting.isEmpty()) {
        announce(phaseBeforeExtraction());
    }
}

/// The phase of the running task, judged by the copied files. Only one of the waiting packages has
/// begun its work.
QString PhaseReport::phaseBeforeExtraction() const
{
    QString phase = "preserving"_s;
    for (const int id : m_waiting) {
        const Models::PackageVersionPointer version = m_expected.value(id);
        if (!areCopied(version->install->preserve, m_folders.preserve))
            continue;
        phase =
            areCopied(version->install->backup, m_folders.backup) ? "removing"_s : "backing up"_s;
        break;
    }
    return phase;
}

bool PhaseReport::areCopied(const QStringList &entries, const QString &folder) const
{
    return std::all_of(entries.cbegin(), entries.cend(), [this, &folder](const QString &entry) {
        return !QFileInfo::exists(m_folders.installation + entry) ||
               QFileInfo::exists(folder + entry);
    });
}

} // namespace Kavo::Testing
