#include "Controllers/favorite_keys.h"

namespace FavoriteKeys {

// QSettings strips the leading "/" of a key, so /home/u/a.kxld is stored and listed as
// home/u/a.kxld. Local favourites are always absolute paths, so the "/" is put back.
// Writing and removing need nothing: QSettings strips the "/" from those keys the same way.
QString pathFromKey(const QString &key)
{
    if (key.startsWith(QLatin1Char('/')))
        return key;
    return QLatin1Char('/') + key;
}

} // namespace FavoriteKeys
