#pragma once

#include "packages/model/Package.h"

#include <QMetaEnum>
#include <QVector>

namespace Kavo::Testing {

/// All package states, ordered by value.
inline QVector<Models::Package::State> packageStates()
{
    const QMetaEnum states = QMetaEnum::fromType<Models::Package::State>();
    QVector<Models::Package::State> all;
    for (int index = 0; index < states.keyCount(); ++index)
        all.append(static_cast<Models::Package::State>(states.value(index)));
    return all;
}

} // namespace Kavo::Testing
