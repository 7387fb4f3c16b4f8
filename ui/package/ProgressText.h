#pragma once

#include "packages/model/Package.h"
#include "packages/model/WorkProgress.h"

#include <QCoreApplication>
#include <QString>

namespace Kavo::Ui {

/// The progress of the work on a package in words, in the language of the interface:
///
///     DOWNLOADING              2.0 of 5.7 MB, 3 minutes left
///     PREPARING, DOWNLOADING   waiting for the server
///     INSTALLING               waits for Kavo Library
///
/// Plain text on one line. Main thread.
class ProgressText final
{
    Q_DECLARE_TR_FUNCTIONS(Kavo::Ui::ProgressText)

public:
    /// The text, empty if there is nothing to report.
    static QString of(const Models::WorkProgress &progress, Models::Package::State state);

private:
    static QString ofDownload(const Models::WorkProgress &progress);
    static QString sizes(qint64 received, qint64 total);
    static QString timeLeft(qint64 seconds);
};

} // namespace Kavo::Ui
