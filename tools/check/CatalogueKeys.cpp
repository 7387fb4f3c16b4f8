#include "tools/check/CatalogueKeys.h"

namespace Kavo::Tools {

const std::vector<CatalogueKey> &packageKeys()
{
    static const std::vector<CatalogueKey> keys{
        // For editors; clients ignore it.
        {QLatin1String("$schema"), ValueType::TEXT},
        {QLatin1String("id"), ValueType::INTEGER},
        {QLatin1String("product_id"), ValueType::INTEGER},
        {QLatin1String("name"), ValueType::TRANSLATIONS},
        {QLatin1String("description"), ValueType::TRANSLATIONS},
        {QLatin1String("short_description"), ValueType::TRANSLATIONS},
        {QLatin1String("icon"), ValueType::TEXT},
        {QLatin1String("banner"), ValueType::TEXTS},
        {QLatin1String("type"), ValueType::TEXT},
        {QLatin1String("manual_url"), ValueType::TEXT},
        {QLatin1String("help_url"), ValueType::TEXT},
        {QLatin1String("versions"), ValueType::VERSIONS},
    };
    return keys;
}

const std::vector<CatalogueKey> &versionKeys()
{
    static const std::vector<CatalogueKey> keys{
        {QLatin1String("version"), ValueType::TEXT},
        {QLatin1String("link"), ValueType::TEXT},
        {QLatin1String("size"), ValueType::BYTE_COUNT},
        {QLatin1String("sha256"), ValueType::TEXT},
        {QLatin1String("depends"), ValueType::TEXTS},
        {QLatin1String("log"), ValueType::TEXTS},
        {QLatin1String("install"), ValueType::INSTALL},
        {QLatin1String("uninstall"), ValueType::UNINSTALL},
    };
    return keys;
}

const std::vector<CatalogueKey> &installKeys()
{
    static const std::vector<CatalogueKey> keys{
        {QLatin1String("extract"), ValueType::TEXT},
        {QLatin1String("preserve"), ValueType::TEXTS},
        {QLatin1String("backup"), ValueType::TEXTS},
    };
    return keys;
}

const std::vector<CatalogueKey> &uninstallKeys()
{
    static const std::vector<CatalogueKey> keys{
        {QLatin1String("remove"), ValueType::TEXTS},
    };
    return keys;
}

} // namespace Kavo::Tools
