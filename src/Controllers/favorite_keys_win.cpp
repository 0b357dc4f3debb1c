#include "Controllers/favorite_keys.h"

namespace FavoriteKeys {

// Drive paths (C:/Users/...) come back from QSettings exactly as written.
QString pathFromKey(const QString &key)
{
    return key;
}

} // namespace FavoriteKeys
