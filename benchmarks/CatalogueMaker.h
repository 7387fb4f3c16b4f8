#pragma once

#include <QByteArray>
#include <QString>

namespace Kavo::Benchmarks {

/// A catalogue with packages of the ids 1 to `packages`, the same bytes in every run.
///
/// Its numbers follow a large public catalogue: half of the packages have three versions or fewer,
/// a few have several hundred, and the average is about eight. A package depends on two others on
/// average; package 1 is a library that 60 % need. Texts are in English and German. The URLs of
/// archives and pictures begin with `server`. Each package installs and removes its own folder.
QByteArray makeCatalogue(int packages, const QString &server);

/// The newest version of every package in makeCatalogue().
QString newestVersion();

} // namespace Kavo::Benchmarks
