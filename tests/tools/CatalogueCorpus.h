#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

namespace Kavo::Testing {

/// A small catalogue with one fault or none.
struct CorpusCatalogue
{
    QString name;
    QByteArray bytes;
    /// The expected findings in the order of the document: "rule line:column pointer".
    QStringList findings;
};

/// The catalogues in the folder of these tests, with their findings from expected.txt.
QVector<CorpusCatalogue> corpusCatalogues();

/// The folder itself.
QString corpusFolder();

} // namespace Kavo::Testing
