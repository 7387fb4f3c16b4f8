#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

namespace Kavo::Testing {

/// A small catalogue with at most one fault, and its expected findings.
struct CorpusCatalogue
{
    QString name;
    QByteArray bytes;
    /// The findings as "rule line:column pointer", in the order of the document.
    QStringList findings;
};

/// The catalogues that expected.txt in corpusFolder() lists, with the findings given there.
QVector<CorpusCatalogue> corpusCatalogues();

/// The folder "catalogues" next to this file.
QString corpusFolder();

} // namespace Kavo::Testing
