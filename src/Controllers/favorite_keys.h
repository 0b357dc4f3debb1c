#pragma once

#include <QString>

// Keys of the "favorites" group are full file paths. QSettings normalises a key as a path of
// groups, so what comes back from allKeys() is not always what was written.
namespace FavoriteKeys {

// The full file path that a key read back from the group stands for.
QString pathFromKey(const QString &key);

} // namespace FavoriteKeys
