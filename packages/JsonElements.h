#pragma once

#include <QByteArray>
#include <QJsonValue>

#include <functional>

namespace Kavo::Models {

/// Reads a JSON document whose top level is an array and hands its elements on one by one, in
/// order. Returns whether the document is such an array and well formed to its end; elements in
/// front of a fault have been handed on by then.
///
/// What QJsonDocument accepts is accepted here, and the other way round; but never more than one
/// element is held as JSON, which takes a fraction of the memory and of the time to free it.
/// Callable from any thread.
bool readJsonElements(const QByteArray &bytes, const std::function<void(const QJsonValue &)> &take);

} // namespace Kavo::Models
