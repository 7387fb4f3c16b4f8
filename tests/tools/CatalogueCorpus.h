#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

namespace Kavo::Testing {

/// A small catalogue that is wrong in one way, or in none.
struct CorpusCatalogue
{
    QString name;
    QByteArray bytes;
    /// What a check is to find, in the order of the document: "rule line:column pointer".
    QStringList findings;
};

/// The catalogues that lie in the folder of these tests, with what stands of them in expected.txt.
QVector<CorpusCatalogue> corpusCatalogues();

/// The folder itself.
QString corpusFolder();

} // namespace Kavo::Testing
