#include "Controllers/label_tree_walker.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>

namespace LabelTreeWalker {

QString cleanRoot(const QString &root)
{
    return QDir::cleanPath(QFileInfo(root).absoluteFilePath());
}

QString childPath(const QString &dir, const QString &name)
{
    return dir.endsWith(QLatin1Char('/')) ? dir + name : dir + QLatin1Char('/') + name;
}

void walkWithIterator(const QString &root, const Visitor &visit)
{
    // QDirIterator builds its paths from the root as given: "labels/" would yield
    // "labels//sub".
    QDirIterator it(cleanRoot(root), QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        const QFileInfo info = it.fileInfo();
        if (!info.isDir())
            visit(info.absolutePath(), info.fileName());
    }
}

} // namespace LabelTreeWalker
