#include "ui/package/ProgressFollower.h"

#include "packages/PackageController.h"
#include "ui/package/ProgressText.h"

namespace Kavo::Ui {

using Controllers::PackageController;
using Models::Package;
using Models::PackagePointer;
using Models::WorkProgress;

namespace {

/// The time between two texts in milliseconds; faster changes could not be read.
constexpr int TickLength = 500;

} // namespace

ProgressFollower::ProgressFollower(const QSharedPointer<PackageController> &controller,
                                   const PackagePointer &package)
    : m_controller(controller)
    , m_package(package)
{
    // Earlier signals were missed, so the present state is read.
    const WorkProgress progress = m_controller->progress(m_package);
    m_received = progress.received;
    m_total = progress.total;
    followSizes();
    connect(m_package.data(), &Package::stateChanged, this, &ProgressFollower::refresh);
    connect(&m_ticks, &QTimer::timeout, this, &ProgressFollower::refresh);
    m_ticks.start(TickLength);
    refresh();
}

void ProgressFollower::followSizes()
{
    connect(m_package.data(), &Package::totalSize, this, [this](qint64 size) {
        m_total = size;
        refresh();
    });
    // Emitted many times a second.
    connect(m_package.data(), &Package::downloadedSize, this,
            [this](qint64 size) { m_received = size; });
}

void ProgressFollower::refresh()
{
    WorkProgress progress = m_controller->progress(m_package);
    progress.received = m_received;
    progress.total = m_total;
    const QString text = ProgressText::of(progress, m_package->state());
    if (text == m_text)
        return;
    m_text = text;
    emit textChanged(text);
}

} // namespace Kavo::Ui
