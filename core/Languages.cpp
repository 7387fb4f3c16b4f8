#include "core/Languages.h"

namespace Kavo {

QStringList languages()
{
    return {QStringLiteral("en"), QStringLiteral("de")};
}

} // namespace Kavo
